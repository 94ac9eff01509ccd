// The registry through the Windows registry API: every kind of value the suite writes, read back
// through the interface and as another program reads it (its type and bytes), the reading of
// one kind as another, deletion, and the 32-bit view that the programs of the suite share.
#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <random>
#include <string>

#undef RegDeleteValue // the macro of windows.h; the interface's function is meant
#include <vector>

namespace kirva::platform {
namespace {

using Bytes = std::vector<std::uint8_t>;

// UTF-16 LE bytes of a text and its terminating null, as a string value stores them.
Bytes StoredText(std::u16string_view text) {
    Bytes bytes;
    for (const char16_t unit : text) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    bytes.insert(bytes.end(), {0, 0});
    return bytes;
}

// The failure actions of a communication server's service: reset after a day, three restarts
// after a minute.
const Bytes kFailureActions = {128, 81, 1,  0,   0, 0, 0, 0, 0, 0, 0,  0,   3, 0, 0, 0, 20, 0, 0,  0,   1, 0,
                               0,   0,  96, 234, 0, 0, 1, 0, 0, 0, 96, 234, 0, 0, 1, 0, 0,  0, 96, 234, 0, 0};

std::string UniqueName(const std::string& prefix) {
    std::random_device random;
    return prefix + std::to_string(random()) + "-" + std::to_string(::GetCurrentProcessId());
}

HKEY RootKey(RegRoot root) {
    return root == RegRoot::LocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

// A key of the test's own, removed with everything below it when the test ends.
class ScratchKey {
  public:
    ScratchKey(RegRoot root, const std::string& parent)
        : root_(root), parent_(parent), name_(UniqueName("Kirva test ")) {}
    ~ScratchKey() {
        HKEY parent = nullptr;
        if (::RegOpenKeyExW(RootKey(root_), win32::Widen(parent_).c_str(), 0,
                            KEY_ALL_ACCESS | KEY_WOW64_32KEY, &parent) != ERROR_SUCCESS)
            return;
        ::RegDeleteTreeW(parent, win32::Widen(name_).c_str());
        ::RegCloseKey(parent);
    }
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;
    std::string path() const { return parent_ + "\\" + name_; }

  private:
    RegRoot root_;
    std::string parent_;
    std::string name_;
};

struct Stored {
    DWORD type = REG_NONE;
    Bytes bytes;
};

// A value as another program reads it with the registry API, in the given view.
std::optional<Stored> ReadStored(RegRoot root, const std::string& keyPath, const std::string& name,
                                 REGSAM view = KEY_WOW64_32KEY) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(RootKey(root), win32::Widen(keyPath).c_str(), 0, KEY_QUERY_VALUE | view, &key) !=
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

// Writes a value as another program would, with the registry API.
bool WriteStored(RegRoot root, const std::string& keyPath, const std::string& name, DWORD type,
                 const Bytes& bytes) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(RootKey(root), win32::Widen(keyPath).c_str(), 0, nullptr, 0,
                          KEY_SET_VALUE | KEY_WOW64_32KEY, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return false;
    const bool ok = ::RegSetValueExW(key, win32::Widen(name).c_str(), 0, type, bytes.data(),
                                     static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS;
    ::RegCloseKey(key);
    return ok;
}

struct KindCase {
    const char* name;
    std::function<bool(RegRoot, const std::string& key, const std::string& name)> write;
    DWORD type;
    Bytes bytes;
    std::function<bool(RegRoot, const std::string& key, const std::string& name)> readsBack;
};

TEST(WinRegistry, EveryKindIsStoredAsTheSuiteReadsIt) {
    const ScratchKey scratch(RegRoot::CurrentUser, "Software");
    const std::string text = "Fraiseuse \xC3\xA9\xE2\x82\xAC";
    const std::string image = "\"%SystemRoot%\\srvany.exe\"";
    const KindCase cases[] = {
        {"Description", [](auto r, auto& k, auto& n) { return RegWriteString(r, k, n, "Marovex Telvareur"); },
         REG_SZ, StoredText(u"Marovex Telvareur"),
         [](auto r, auto& k, auto& n) { return RegReadString(r, k, n) == "Marovex Telvareur"; }},
        {"R\xC3\xA9"
         "f",
         [&](auto r, auto& k, auto& n) { return RegWriteString(r, k, n, text); }, REG_SZ,
         StoredText(u"Fraiseuse \u00E9\u20AC"),
         [&](auto r, auto& k, auto& n) { return RegReadString(r, k, n) == text; }},
        {"Empty", [](auto r, auto& k, auto& n) { return RegWriteString(r, k, n, ""); }, REG_SZ,
         StoredText(u""), [](auto r, auto& k, auto& n) { return RegReadString(r, k, n) == ""; }},
        // Kept as written: the service manager expands it, not the registry.
        {"ImagePath", [&](auto r, auto& k, auto& n) { return RegWriteString(r, k, n, image, true); },
         REG_EXPAND_SZ, StoredText(u"\"%SystemRoot%\\srvany.exe\""),
         [&](auto r, auto& k, auto& n) { return RegReadString(r, k, n) == image; }},
        {"AppHwnd", [](auto r, auto& k, auto& n) { return RegWriteDword(r, k, n, 86400); }, REG_DWORD,
         Bytes{0x80, 0x51, 0x01, 0x00},
         [](auto r, auto& k, auto& n) { return RegReadDword(r, k, n) == 86400u; }},
        {"FailureActions", [](auto r, auto& k, auto& n) { return RegWriteBinary(r, k, n, kFailureActions); },
         REG_BINARY, kFailureActions,
         [](auto r, auto& k, auto& n) { return RegReadBinary(r, k, n) == kFailureActions; }},
        {"Nothing", [](auto r, auto& k, auto& n) { return RegWriteBinary(r, k, n, {}); }, REG_BINARY, Bytes{},
         [](auto r, auto& k, auto& n) { return RegReadBinary(r, k, n) == Bytes{}; }},
    };
    for (const KindCase& c : cases) {
        SCOPED_TRACE(c.name);
        // Each below a key that does not exist yet: the write creates it.
        const std::string key = scratch.path() + "\\" + c.name;
        ASSERT_TRUE(c.write(RegRoot::CurrentUser, key, c.name));
        const auto stored = ReadStored(RegRoot::CurrentUser, key, c.name);
        ASSERT_TRUE(stored.has_value());
        EXPECT_EQ(stored->type, c.type);
        EXPECT_EQ(stored->bytes, c.bytes);
        EXPECT_TRUE(c.readsBack(RegRoot::CurrentUser, key, c.name));
    }
}

TEST(WinRegistry, TheServiceKeysWithTheirLeadingBackslash) {
    const ScratchKey scratch(RegRoot::LocalMachine, "SYSTEM\\CurrentControlSet\\Services");
    const std::string written = "\\" + scratch.path(); // as the service commands name the key
    ASSERT_TRUE(
        RegWriteString(RegRoot::LocalMachine, written, "ImagePath", "\"C:\\Talm\\Exe\\srvany.exe\"", true));
    ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, written + "\\Parameters", "Application",
                               "\"C:\\Talm\\TOUR1\\telvar.exe\""));
    ASSERT_TRUE(RegWriteBinary(RegRoot::LocalMachine, written, "FailureActions", kFailureActions));

    const auto image = ReadStored(RegRoot::LocalMachine, scratch.path(), "ImagePath");
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->type, static_cast<DWORD>(REG_EXPAND_SZ));
    EXPECT_EQ(image->bytes, StoredText(u"\"C:\\Talm\\Exe\\srvany.exe\""));
    const auto application =
        ReadStored(RegRoot::LocalMachine, scratch.path() + "\\Parameters", "Application");
    ASSERT_TRUE(application.has_value());
    EXPECT_EQ(application->bytes, StoredText(u"\"C:\\Talm\\TOUR1\\telvar.exe\""));
    const auto actions = ReadStored(RegRoot::LocalMachine, scratch.path(), "FailureActions");
    ASSERT_TRUE(actions.has_value());
    EXPECT_EQ(actions->type, static_cast<DWORD>(REG_BINARY));
    EXPECT_EQ(actions->bytes, kFailureActions);
    EXPECT_EQ(RegReadBinary(RegRoot::LocalMachine, written, "FailureActions"), kFailureActions);
}

struct CrossCase {
    const char* label;
    DWORD type;
    Bytes stored;
    std::optional<std::string> asString;
    std::optional<std::uint32_t> asDword;
    std::optional<Bytes> asBinary;
};

TEST(WinRegistry, OneKindReadAsAnother) {
    const ScratchKey scratch(RegRoot::CurrentUser, "Software");
    const auto dword = [](std::uint32_t n) {
        return Bytes{static_cast<std::uint8_t>(n), static_cast<std::uint8_t>(n >> 8),
                     static_cast<std::uint8_t>(n >> 16), static_cast<std::uint8_t>(n >> 24)};
    };
    Bytes unterminated = StoredText(u"4711");
    unterminated.resize(unterminated.size() - 2);
    const CrossCase cases[] = {
        {"DWORD as decimal text", REG_DWORD, dword(12345), "12345", 12345u, std::nullopt},
        {"largest DWORD", REG_DWORD, dword(4294967295u), "4294967295", 4294967295u, std::nullopt},
        {"digits", REG_SZ, StoredText(u"12345"), "12345", 12345u, std::nullopt},
        {"digits between blanks", REG_SZ, StoredText(u" 42\t"), " 42\t", 42u, std::nullopt},
        {"hexadecimal", REG_SZ, StoredText(u"0x1f"), "0x1f", 31u, std::nullopt},
        {"largest hexadecimal", REG_EXPAND_SZ, StoredText(u"0XFFFFFFFF"), "0XFFFFFFFF", 4294967295u,
         std::nullopt},
        {"beyond 32 bits", REG_SZ, StoredText(u"4294967296"), "4294967296", std::nullopt, std::nullopt},
        {"not a number", REG_SZ, StoredText(u"12a"), "12a", std::nullopt, std::nullopt},
        {"negative", REG_SZ, StoredText(u"-1"), "-1", std::nullopt, std::nullopt},
        {"empty", REG_SZ, StoredText(u""), "", std::nullopt, std::nullopt},
        {"string without its null", REG_SZ, unterminated, "4711", 4711u, std::nullopt},
        {"binary", REG_BINARY, Bytes{0x39, 0x30, 0, 0}, std::nullopt, std::nullopt, Bytes{0x39, 0x30, 0, 0}},
        {"list of strings", REG_MULTI_SZ, Bytes{0x31, 0, 0, 0, 0, 0}, std::nullopt, std::nullopt,
         std::nullopt},
    };
    for (const CrossCase& c : cases) {
        SCOPED_TRACE(c.label);
        ASSERT_TRUE(WriteStored(RegRoot::CurrentUser, scratch.path(), c.label, c.type, c.stored));
        EXPECT_EQ(RegReadString(RegRoot::CurrentUser, scratch.path(), c.label), c.asString);
        EXPECT_EQ(RegReadDword(RegRoot::CurrentUser, scratch.path(), c.label), c.asDword);
        EXPECT_EQ(RegReadBinary(RegRoot::CurrentUser, scratch.path(), c.label), c.asBinary);
    }
}

TEST(WinRegistry, DeletedValuesAreGone) {
    const ScratchKey scratch(RegRoot::CurrentUser, "Software");
    const auto reg = RegRoot::CurrentUser;
    ASSERT_TRUE(RegWriteString(reg, scratch.path(), "TOUR1", "\"C:\\Talm\\TOUR1\\telvar.exe\""));
    ASSERT_TRUE(RegWriteString(reg, scratch.path(), "TOUR2", "kept"));

    EXPECT_TRUE(RegDeleteValue(reg, scratch.path(), "tour1")); // names compare without regard to case
    EXPECT_FALSE(ReadStored(reg, scratch.path(), "TOUR1").has_value());
    EXPECT_EQ(RegReadString(reg, scratch.path(), "TOUR1"), std::nullopt);
    EXPECT_EQ(RegReadDword(reg, scratch.path() + "\\Missing", "TOUR1"), std::nullopt);
    EXPECT_EQ(RegReadBinary(reg, scratch.path() + "\\Missing", "TOUR1"), std::nullopt);
    EXPECT_EQ(RegReadString(reg, scratch.path(), "TOUR2"), "kept");
    // Deleting what is not there succeeds and creates nothing.
    EXPECT_TRUE(RegDeleteValue(reg, scratch.path(), "TOUR1"));
    EXPECT_TRUE(RegDeleteValue(reg, scratch.path() + "\\Missing", "TOUR1"));
    HKEY missing = nullptr;
    EXPECT_EQ(::RegOpenKeyExW(HKEY_CURRENT_USER, win32::Widen(scratch.path() + "\\Missing").c_str(), 0,
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
    const ScratchKey scratch(RegRoot::LocalMachine, "SOFTWARE\\MAROVEX");
    ASSERT_TRUE(RegWriteDword(RegRoot::LocalMachine, scratch.path(), "AppHwnd", 4242));
    const std::string redirected =
        "SOFTWARE\\WOW6432Node\\" + scratch.path().substr(std::string("SOFTWARE\\").size());
    const auto stored = ReadStored(RegRoot::LocalMachine, redirected, "AppHwnd", KEY_WOW64_64KEY);
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(stored->bytes, (Bytes{0x92, 0x10, 0, 0}));
    EXPECT_FALSE(ReadStored(RegRoot::LocalMachine, scratch.path(), "AppHwnd", KEY_WOW64_64KEY).has_value());
}

} // namespace
} // namespace kirva::platform
