// Text conversions and error texts of the Windows backend.
#include "platform/win32/internal.h"

namespace kirva::platform::win32 {

namespace {

std::wstring ToWide(UINT codePage, DWORD flags, const std::string& text) {
    if (text.empty()) return {};
    const int size = static_cast<int>(text.size());
    const int length = ::MultiByteToWideChar(codePage, flags, text.data(), size, nullptr, 0);
    if (length <= 0) return {};
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(codePage, flags, text.data(), size, wide.data(), length);
    return wide;
}

std::string FromWide(UINT codePage, const wchar_t* text, std::size_t length) {
    if (length == 0) return {};
    const int size = static_cast<int>(length);
    const int bytes = ::WideCharToMultiByte(codePage, 0, text, size, nullptr, 0, nullptr, nullptr);
    if (bytes <= 0) return {};
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(codePage, 0, text, size, narrow.data(), bytes, nullptr, nullptr);
    return narrow;
}

} // namespace

std::wstring Widen(const std::string& text) {
    if (text.empty()) return {};
    std::wstring wide = ToWide(CP_UTF8, MB_ERR_INVALID_CHARS, text);
    if (!wide.empty()) return wide;
    return ToWide(CP_ACP, 0, text);
}

std::string Narrow(const wchar_t* text, std::size_t length) {
    return FromWide(CP_UTF8, text, length);
}

std::string Narrow(const std::wstring& text) {
    return Narrow(text.data(), text.size());
}

std::string AnsiToUtf8(const std::string& text) {
    return Narrow(ToWide(CP_ACP, 0, text));
}

std::string Utf8ToAnsi(const std::string& text) {
    const std::wstring wide = Widen(text);
    return FromWide(CP_ACP, wide.data(), wide.size());
}

std::string LastErrorText(DWORD error) {
    wchar_t* buffer = nullptr;
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                              FORMAT_MESSAGE_IGNORE_INSERTS,
                                          nullptr, error, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::string text;
    if (length > 0 && buffer != nullptr) text = Narrow(buffer, length);
    if (buffer != nullptr) ::LocalFree(buffer);
    while (!text.empty() &&
           (text.back() == '\n' || text.back() == '\r' || text.back() == ' ' || text.back() == '.'))
        text.pop_back();
    if (text.empty()) text = "system error";
    return text + " (" + std::to_string(error) + ")";
}

std::string EnvOr(const char* name, const std::string& fallback) {
    const std::wstring wideName = Widen(name);
    const DWORD needed = ::GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
    if (needed <= 1) return fallback;
    std::wstring value(needed, L'\0');
    const DWORD length = ::GetEnvironmentVariableW(wideName.c_str(), value.data(), needed);
    if (length == 0 || length >= needed) return fallback;
    value.resize(length);
    return Narrow(value);
}

void Handle::Reset(HANDLE handle) {
    if (valid()) ::CloseHandle(handle_);
    handle_ = handle;
}

std::int64_t FileTimeToUnixNs(const FILETIME& time) {
    // 100 ns intervals between 1601-01-01 and 1970-01-01.
    constexpr std::int64_t kEpochDifference = 116444736000000000LL;
    const std::int64_t ticks = static_cast<std::int64_t>(
        (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
    return (ticks - kEpochDifference) * 100;
}

} // namespace kirva::platform::win32
