// The registry on Windows: the W functions of the registry API, with the UTF-8 key paths, names
// and strings of the core converted at this boundary.
//
// Every key is opened in the 32-bit view of the registry (KEY_WOW64_32KEY): the programs of the
// suite are 32-bit programs, and a 32-bit program that writes HKLM\SOFTWARE\MAROVEX\... writes
// it below HKLM\SOFTWARE\WOW6432Node. Kirva reads and writes where they do, whatever its own
// build. Keys that the system shares between the views (the services, HKEY_CURRENT_USER\Control
// Panel) are the same in both, and on 32-bit Windows the flag changes nothing.
#include "platform/platform.h"
#include "platform/registry_number.h"
#include "platform/win32/internal.h"

#include <cstring>

// windows.h names RegDeleteValueA or RegDeleteValueW "RegDeleteValue": the interface's function
// of that name is meant below.
#undef RegDeleteValue

namespace kirva::platform {

namespace {

constexpr REGSAM kSuiteView = KEY_WOW64_32KEY;

HKEY RootKey(RegRoot root) {
    return root == RegRoot::LocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

// The key path as the registry API takes it: the core may write it with a leading backslash
// ("\SYSTEM\CurrentControlSet\Services\..."), which RegCreateKeyExW refuses.
std::wstring KeyPath(const std::string& keyPath) {
    std::size_t start = 0;
    while (start < keyPath.size() && keyPath[start] == '\\') ++start;
    return win32::Widen(keyPath.substr(start));
}

// An open registry key, closed when the object goes.
class Key {
  public:
    Key() = default;
    ~Key() {
        if (key_ != nullptr) ::RegCloseKey(key_);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    HKEY* out() { return &key_; }
    HKEY get() const { return key_; }

  private:
    HKEY key_ = nullptr;
};

// Opens an existing key. ERROR_SUCCESS, ERROR_FILE_NOT_FOUND, or why it could not be opened.
LSTATUS OpenKey(RegRoot root, const std::string& keyPath, REGSAM access, Key& key) {
    return ::RegOpenKeyExW(RootKey(root), KeyPath(keyPath).c_str(), 0, access | kSuiteView, key.out());
}

// A value as the registry holds it: its type and its bytes.
struct RawValue {
    DWORD type = REG_NONE;
    std::vector<std::uint8_t> bytes;
};

std::optional<RawValue> ReadRaw(RegRoot root, const std::string& keyPath, const std::string& name) {
    Key key;
    if (OpenKey(root, keyPath, KEY_QUERY_VALUE, key) != ERROR_SUCCESS) return std::nullopt;
    const std::wstring valueName = win32::Widen(name);
    RawValue value;
    DWORD size = 0;
    LSTATUS status = ::RegQueryValueExW(key.get(), valueName.c_str(), nullptr, &value.type, nullptr, &size);
    // Another program may make the value longer between the two calls: ask again with its new size.
    for (int attempt = 0; status == ERROR_SUCCESS || status == ERROR_MORE_DATA; ++attempt) {
        if (attempt == 8) return std::nullopt;
        value.bytes.resize(size);
        status = ::RegQueryValueExW(key.get(), valueName.c_str(), nullptr, &value.type,
                                    value.bytes.empty() ? nullptr : value.bytes.data(), &size);
        if (status == ERROR_SUCCESS) {
            value.bytes.resize(size);
            return value;
        }
    }
    return std::nullopt;
}

// The text of a REG_SZ or REG_EXPAND_SZ value (as stored: environment variables stay unexpanded),
// without its terminating null. The registry does not enforce one; an odd last byte is dropped.
std::string StringOf(const RawValue& value) {
    std::wstring text(value.bytes.size() / sizeof(wchar_t), L'\0');
    if (!text.empty()) std::memcpy(text.data(), value.bytes.data(), text.size() * sizeof(wchar_t));
    const std::size_t end = text.find(L'\0');
    if (end != std::wstring::npos) text.resize(end);
    return win32::Narrow(text);
}

std::uint32_t DwordOf(const RawValue& value) {
    std::uint32_t number = 0;
    std::memcpy(&number, value.bytes.data(), sizeof number);
    return number;
}

bool IsString(const RawValue& value) {
    return value.type == REG_SZ || value.type == REG_EXPAND_SZ;
}

bool IsDword(const RawValue& value) {
    return value.type == REG_DWORD && value.bytes.size() >= sizeof(std::uint32_t);
}

// Opens the key for writing, creating it (and the keys above it) when missing, and sets the value.
bool WriteRaw(RegRoot root, const std::string& keyPath, const std::string& name, DWORD type, const void* data,
              std::size_t size) {
    if (size > 0xFFFFFFFFu) return false;
    Key key;
    if (::RegCreateKeyExW(RootKey(root), KeyPath(keyPath).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                          KEY_SET_VALUE | kSuiteView, nullptr, key.out(), nullptr) != ERROR_SUCCESS)
        return false;
    const std::wstring valueName = win32::Widen(name);
    return ::RegSetValueExW(key.get(), valueName.c_str(), 0, type, static_cast<const BYTE*>(data),
                            static_cast<DWORD>(size)) == ERROR_SUCCESS;
}

} // namespace

std::optional<std::string> RegReadString(RegRoot root, const std::string& keyPath, const std::string& name) {
    try {
        const auto value = ReadRaw(root, keyPath, name);
        if (!value) return std::nullopt;
        if (IsString(*value)) return StringOf(*value);
        if (IsDword(*value)) return std::to_string(DwordOf(*value));
        return std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<std::uint32_t> RegReadDword(RegRoot root, const std::string& keyPath, const std::string& name) {
    try {
        const auto value = ReadRaw(root, keyPath, name);
        if (!value) return std::nullopt;
        if (IsDword(*value)) return DwordOf(*value);
        if (IsString(*value)) return RegistryNumberFromText(StringOf(*value));
        return std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<std::vector<std::uint8_t>> RegReadBinary(RegRoot root, const std::string& keyPath,
                                                       const std::string& name) {
    try {
        auto value = ReadRaw(root, keyPath, name);
        if (!value || value->type != REG_BINARY) return std::nullopt;
        return std::move(value->bytes);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

bool RegWriteString(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::string& value, bool expand) {
    try {
        // A string value ends with its null; the stored size counts it.
        const std::wstring text = win32::Widen(value);
        return WriteRaw(root, keyPath, name, expand ? REG_EXPAND_SZ : REG_SZ, text.c_str(),
                        (text.size() + 1) * sizeof(wchar_t));
    } catch (const std::exception&) {
        return false;
    }
}

bool RegWriteDword(RegRoot root, const std::string& keyPath, const std::string& name, std::uint32_t value) {
    try {
        const DWORD number = value;
        return WriteRaw(root, keyPath, name, REG_DWORD, &number, sizeof number);
    } catch (const std::exception&) {
        return false;
    }
}

bool RegWriteBinary(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::vector<std::uint8_t>& data) {
    try {
        return WriteRaw(root, keyPath, name, REG_BINARY, data.data(), data.size());
    } catch (const std::exception&) {
        return false;
    }
}

bool RegDeleteValue(RegRoot root, const std::string& keyPath, const std::string& name) {
    try {
        Key key;
        const LSTATUS opened = OpenKey(root, keyPath, KEY_SET_VALUE, key);
        if (opened == ERROR_FILE_NOT_FOUND) return true; // no key: no value
        if (opened != ERROR_SUCCESS) return false;
        const LSTATUS deleted = ::RegDeleteValueW(key.get(), win32::Widen(name).c_str());
        return deleted == ERROR_SUCCESS || deleted == ERROR_FILE_NOT_FOUND;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace kirva::platform
