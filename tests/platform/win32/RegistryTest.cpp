// The registry through the Windows registry API: every kind of value the suite writes, read back
// through the interface and as another program reads it (its type and bytes), the reading of
// one kind as another, deletion, and the 32-bit view that the programs of the suite share.
#include "platform/platform.h"
#include "platform/win32/internal.h"
#include "support/WindowsTestSupport.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <variant>

#undef RegDeleteValue // the macro of windows.h; the interface's function is meant
#include <vector>

namespace kirva::platform {
namespace {

using Bytes = std::vector<std::uint8_t>;

// UTF-16 LE bytes of a text and its terminating null, as a string value stores them.
Bytes StoredText(std::u16string_view text) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(text.data()); // Windows is little-endian
    Bytes bytes(first, first + 2 * text.size());
    bytes.insert(bytes.end(), {0, 0});
    return bytes;
}

struct Stored {
    DWORD type = REG_NONE;
    Bytes bytes;
};

// A value as another program reads it with the registry API, in the given view.
std::optional<Stored> ReadStored(HKEY root, const std::string& keyPath, const std::string& name,
                                 REGSAM view = KEY_WOW64_32KEY) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(root, win32::Widen(keyPath).c_str(), 0, KEY_QUERY_VALUE | view, &key) !=
        ERROR_SUCCESS)
        return std::nullopt;
    Stored stored;
    DWORD size = 4096;
    stored.bytes.resize(size);
    const LSTATUS status = ::RegQueryValueExW(key, win32::Widen(name).c_str(), nullptr, &stored.type,
                                              stored.bytes.data(), &size);
    ::RegCloseKey(key);
    if (status != ERROR_SUCCESS) return std::nullopt;
    stored.bytes.resize(size);
    return stored;
}

constexpr RegRoot kCU = RegRoot::CurrentUser;
// Below HKEY_CURRENT_USER of a test::ScratchRegistry.
const std::string kKey = "Software\\Kirva";

TEST(WinRegistry, EveryKindIsStoredAsTheSuiteReadsIt) {
    const test::ScratchRegistry scratch;
    ASSERT_TRUE(scratch.Ready());
    // The failure actions of a communication server's service.
    const Bytes failureActions = {128, 81, 1,  0,   0, 0, 0, 0, 0, 0,  0,   0,   3, 0, 0,
                                  0,   20, 0,  0,   0, 1, 0, 0, 0, 96, 234, 0,   0, 1, 0,
                                  0,   0,  96, 234, 0, 0, 1, 0, 0, 0,  96,  234, 0, 0};
    const struct {
        const char* name;
        std::variant<std::string, std::uint32_t, Bytes> value;
        DWORD type;
        Bytes bytes;
    } cases[] = {
        {"R\xC3\xA9"
         "f",
         std::string("Fraiseuse \xC3\xA9\xE2\x82\xAC"), REG_SZ, StoredText(u"Fraiseuse \u00E9\u20AC")},
        {"Empty", std::string(), REG_SZ, StoredText(u"")},
        // Kept as written: the service manager expands it, not the registry.
        {"ImagePath", std::string("\"%SystemRoot%\\srvany.exe\""), REG_EXPAND_SZ,
         StoredText(u"\"%SystemRoot%\\srvany.exe\"")},
        {"AppHwnd", 86400u, REG_DWORD, Bytes{0x80, 0x51, 0x01, 0x00}},
        {"FailureActions", failureActions, REG_BINARY, failureActions},
        {"Nothing", Bytes{}, REG_BINARY, Bytes{}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // Each below a key that does not exist yet: the write creates it.
        const std::string key = kKey + "\\" + c.name;
        if (const auto* text = std::get_if<std::string>(&c.value)) {
            ASSERT_TRUE(RegWriteString(kCU, key, c.name, *text, c.type == REG_EXPAND_SZ));
            EXPECT_EQ(RegReadString(kCU, key, c.name), *text);
        } else if (const auto* number = std::get_if<std::uint32_t>(&c.value)) {
            ASSERT_TRUE(RegWriteDword(kCU, key, c.name, *number));
            EXPECT_EQ(RegReadDword(kCU, key, c.name), *number);
        } else {
            ASSERT_TRUE(RegWriteBinary(kCU, key, c.name, std::get<Bytes>(c.value)));
            EXPECT_EQ(RegReadBinary(kCU, key, c.name), std::get<Bytes>(c.value));
        }
        const auto stored = ReadStored(HKEY_CURRENT_USER, key, c.name);
        ASSERT_TRUE(stored.has_value());
        EXPECT_EQ(stored->type, c.type);
        EXPECT_EQ(stored->bytes, c.bytes);
    }
}

TEST(WinRegistry, OneKindReadAsAnother) {
    const test::ScratchRegistry scratch;
    ASSERT_TRUE(scratch.Ready());
    Bytes unterminated = StoredText(u"4711");
    unterminated.resize(unterminated.size() - 2);
    const struct {
        const char* label;
        DWORD type;
        Bytes stored;
        std::optional<std::string> asString;
        std::optional<std::uint32_t> asDword;
        std::optional<Bytes> asBinary;
    } cases[] = {
        {"DWORD as decimal text", REG_DWORD, Bytes{0x39, 0x30, 0, 0}, "12345", 12345u, std::nullopt},
        {"largest DWORD", REG_DWORD, Bytes{255, 255, 255, 255}, "4294967295", 4294967295u, std::nullopt},
        {"digits between blanks", REG_SZ, StoredText(u" 42\t"), " 42\t", 42u, std::nullopt},
        {"largest hexadecimal", REG_EXPAND_SZ, StoredText(u"0XFFFFFFFF"), "0XFFFFFFFF", 4294967295u,
         std::nullopt},
        {"beyond 32 bits", REG_SZ, StoredText(u"4294967296"), "4294967296", std::nullopt, std::nullopt},
        {"not a number", REG_SZ, StoredText(u"12a"), "12a", std::nullopt, std::nullopt},
        {"empty", REG_SZ, StoredText(u""), "", std::nullopt, std::nullopt},
        {"string without its null", REG_SZ, unterminated, "4711", 4711u, std::nullopt},
        {"binary", REG_BINARY, Bytes{0x39, 0x30, 0, 0}, std::nullopt, std::nullopt, Bytes{0x39, 0x30, 0, 0}},
        {"list of strings", REG_MULTI_SZ, Bytes{0x31, 0, 0, 0, 0, 0}, std::nullopt, std::nullopt,
         std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        // Written as another program writes it.
        ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, win32::Widen(kKey).c_str(),
                                    win32::Widen(c.label).c_str(), c.type, c.stored.data(),
                                    static_cast<DWORD>(c.stored.size())),
                  ERROR_SUCCESS);
        EXPECT_EQ(RegReadString(kCU, kKey, c.label), c.asString);
        EXPECT_EQ(RegReadDword(kCU, kKey, c.label), c.asDword);
        EXPECT_EQ(RegReadBinary(kCU, kKey, c.label), c.asBinary);
    }
}

TEST(WinRegistry, DeletedValuesAreGone) {
    const test::ScratchRegistry scratch;
    ASSERT_TRUE(scratch.Ready());
    ASSERT_TRUE(RegWriteString(kCU, kKey, "TOUR1", "\"C:\\Talm\\TOUR1\\telvar.exe\""));
    ASSERT_TRUE(RegWriteString(kCU, kKey, "TOUR2", "kept"));
    EXPECT_TRUE(RegDeleteValue(kCU, kKey, "tour1")); // names compare without regard to case
    EXPECT_FALSE(ReadStored(HKEY_CURRENT_USER, kKey, "TOUR1").has_value());
    EXPECT_EQ(RegReadString(kCU, kKey, "TOUR2"), "kept");
    // Deleting below a key that is not there succeeds and creates nothing.
    EXPECT_TRUE(RegDeleteValue(kCU, kKey + "\\Missing", "TOUR1"));
    EXPECT_EQ(RegReadBinary(kCU, kKey + "\\Missing", "TOUR1"), std::nullopt);
    HKEY missing = nullptr;
    EXPECT_EQ(::RegOpenKeyExW(HKEY_CURRENT_USER, win32::Widen(kKey + "\\Missing").c_str(), 0,
                              KEY_READ | KEY_WOW64_32KEY, &missing),
              ERROR_FILE_NOT_FOUND);
}

TEST(WinRegistry, TheSuiteSharesThe32BitView) {
    // A 32-bit program of the suite that writes below HKLM\SOFTWARE writes into WOW6432Node on a
    // 64-bit system; Kirva's values are found there, and a value that such a program published is
    // found by Kirva.
    BOOL wow64 = FALSE;
    ::IsWow64Process(::GetCurrentProcess(), &wow64);
    if (sizeof(void*) == 4 && !wow64) GTEST_SKIP() << "a 32-bit system has one view of the registry";
    const std::string name = "Kirva test " + std::to_string(::GetCurrentProcessId());
    const struct Removed {
        std::wstring key;
        ~Removed() { ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), KEY_WOW64_32KEY, 0); }
    } removed{win32::Widen("SOFTWARE\\MAROVEX\\" + name)};
    ASSERT_TRUE(RegWriteDword(RegRoot::LocalMachine, "SOFTWARE\\MAROVEX\\" + name, "AppHwnd", 4242));
    const auto stored =
        ReadStored(HKEY_LOCAL_MACHINE, "SOFTWARE\\WOW6432Node\\MAROVEX\\" + name, "AppHwnd", KEY_WOW64_64KEY);
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(stored->bytes, (Bytes{0x92, 0x10, 0, 0}));
    EXPECT_FALSE(ReadStored(HKEY_LOCAL_MACHINE, "SOFTWARE\\MAROVEX\\" + name, "AppHwnd", KEY_WOW64_64KEY));
}

} // namespace
} // namespace kirva::platform
