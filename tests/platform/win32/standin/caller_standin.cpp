// A stand-in for a calling program of the suite: it opens its main window, publishes the
// window's handle as "AppHwnd" under HKLM\SOFTWARE\MAROVEX\TALM\KALDERON the way a 32-bit
// program of the suite does (a DWORD, in the 32-bit view of the registry), and writes the word
// parameter of each message 28679 it receives as one line of its result file. It ends after the
// number of messages given, or after 30 seconds without them (exit code 2).
//
//   kirva_caller_standin.exe <result file> [<messages to wait for>]
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <algorithm>
#include <shellapi.h>
#include <string>

namespace {

constexpr UINT kMachineChanged = 28679;
constexpr UINT_PTR kGiveUpTimer = 1;
constexpr UINT kGiveUpMs = 30000;

std::wstring gResultFile;
int gExpected = 1;
int gReceived = 0;
int gExitCode = 0;

// Appends one line to the result file and flushes it to disk before the test looks at it.
bool AppendLine(const std::string& line) {
    HANDLE file = ::CreateFileW(gResultFile.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const bool ok = ::WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr) &&
                    written == line.size() && ::FlushFileBuffers(file);
    ::CloseHandle(file);
    return ok;
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case kMachineChanged:
        if (!AppendLine(std::to_string(wParam) + " " + std::to_string(lParam) + "\r\n")) gExitCode = 3;
        if (++gReceived >= gExpected) ::DestroyWindow(window);
        return 0;
    case WM_TIMER:
        gExitCode = 2;
        ::DestroyWindow(window);
        return 0;
    case WM_DESTROY:
        ::PostQuitMessage(gExitCode);
        return 0;
    default:
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
}

bool PublishHandle(HWND window) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\MAROVEX\\TALM\\KALDERON", 0, nullptr, 0,
                          KEY_SET_VALUE | KEY_WOW64_32KEY, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return false;
    const DWORD handle = static_cast<DWORD>(reinterpret_cast<UINT_PTR>(window));
    const bool ok = ::RegSetValueExW(key, L"AppHwnd", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&handle),
                                     sizeof handle) == ERROR_SUCCESS;
    ::RegCloseKey(key);
    return ok;
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
    int count = 0;
    wchar_t** arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (arguments == nullptr || count < 2) return 1;
    gResultFile = arguments[1];
    if (count > 2) gExpected = std::max(1, _wtoi(arguments[2]));
    ::LocalFree(arguments);

    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = L"KirvaCallerStandIn";
    if (::RegisterClassW(&windowClass) == 0) return 1;
    HWND window =
        ::CreateWindowExW(0, windowClass.lpszClassName, L"Kalderon stand-in", WS_OVERLAPPEDWINDOW,
                          CW_USEDEFAULT, CW_USEDEFAULT, 200, 100, nullptr, nullptr, instance, nullptr);
    if (window == nullptr) return 1;
    ::SetTimer(window, kGiveUpTimer, kGiveUpMs, nullptr);
    if (!PublishHandle(window)) return 1;

    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}
