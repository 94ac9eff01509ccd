// Process-wide settings: single instance and decimal separator.
#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace kirva::platform {

namespace {

// One Kirva per session: the mutex lives in the session's own namespace, so that users of the
// same computer (several sessions of a terminal server) each run their own.
constexpr wchar_t kInstanceMutexName[] = L"Local\\Kirva";
// The user's number format, as the regional settings of the control panel write it.
constexpr wchar_t kInternationalKey[] = L"Control Panel\\International";
constexpr wchar_t kDecimalValue[] = L"sDecimal";
// How long the broadcast of the changed setting waits for each window that does not answer.
constexpr UINT kBroadcastTimeoutMs = 1000;

// Held (never closed) for the life of the process; the system releases it when the process ends,
// also after a crash. Not inherited by programs started from here.
HANDLE gInstanceMutex = nullptr;

std::optional<std::wstring> ReadUserDecimal() {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, kInternationalKey, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return std::nullopt;
    wchar_t buffer[16] = {};
    DWORD type = 0;
    DWORD size = sizeof buffer - sizeof(wchar_t);
    const LSTATUS status =
        ::RegQueryValueExW(key, kDecimalValue, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
    ::RegCloseKey(key);
    if (status != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) return std::nullopt;
    std::wstring value(buffer, size / sizeof(wchar_t));
    while (!value.empty() && value.back() == L'\0') value.pop_back();
    return value;
}

} // namespace

bool AcquireSingleInstance() {
    if (gInstanceMutex != nullptr) return true;
    HANDLE mutex = ::CreateMutexW(nullptr, FALSE, kInstanceMutexName);
    const DWORD error = ::GetLastError();
    if (mutex == nullptr) {
        // A mutex of that name made by another user's Kirva in this session cannot be opened:
        // it is held all the same. Any other failure leaves the check undone, and Kirva runs.
        return error != ERROR_ACCESS_DENIED;
    }
    if (error == ERROR_ALREADY_EXISTS) {
        ::CloseHandle(mutex);
        return false;
    }
    gInstanceMutex = mutex;
    return true;
}

std::string UserDecimalSeparator() {
    // The user's own setting first, as the control panel writes it; the locale's default when
    // the user never changed it.
    if (const auto value = ReadUserDecimal(); value && !value->empty()) return win32::Narrow(*value);
    wchar_t buffer[16] = {};
    const int length = ::GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, LOCALE_SDECIMAL, buffer,
                                         static_cast<int>(std::size(buffer)));
    if (length <= 1) return ".";
    return win32::Narrow(buffer, static_cast<std::size_t>(length - 1));
}

bool ForceDecimalPoint() {
    // The user's session: "." in the regional settings, announced to every window so that
    // running programs take it over, as the control panel does.
    HKEY key = nullptr;
    bool written = false;
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, kInternationalKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                          KEY_SET_VALUE, nullptr, &key, nullptr) == ERROR_SUCCESS) {
        static const wchar_t kPoint[] = L".";
        written = ::RegSetValueExW(key, kDecimalValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(kPoint),
                                   sizeof kPoint) == ERROR_SUCCESS;
        ::RegCloseKey(key);
    }
    if (written) {
        DWORD_PTR answer = 0;
        ::SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>(L"intl"),
                              SMTO_ABORTIFHUNG | SMTO_NORMAL, kBroadcastTimeoutMs, &answer);
    }
    // This process: the C runtime formats and reads numbers with ".".
    const bool runtime = std::setlocale(LC_NUMERIC, "C") != nullptr;
    const lconv* conventions = std::localeconv();
    return written && runtime && conventions != nullptr && std::string(conventions->decimal_point) == ".";
}

} // namespace kirva::platform
