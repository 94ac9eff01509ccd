// A stand-in for a calling program of the suite: it opens its main window, publishes the
// window's handle as "AppHwnd" under HKLM\SOFTWARE\MAROVEX\TALM\KALDERON the way a 32-bit
// program of the suite does (a DWORD, in the 32-bit view of the registry), and writes the word
// parameter of each message 28679 it receives as one line of its result file. It ends after the
// number of messages given, or after 30 seconds without them (exit code 2).
//
//   kirva_caller_standin.exe <result file> <messages to wait for>
#include "StandInWindow.h"

#include <shellapi.h>

namespace {

constexpr UINT kMachineChanged = 28679;
std::wstring gResultFile;
int gExpected = 1;
int gReceived = 0;

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != kMachineChanged) return standin::CommonMessages(window, message, wParam, lParam);
    if (!standin::AppendLine(gResultFile.c_str(),
                             std::to_string(wParam) + " " + std::to_string(lParam) + "\r\n"))
        standin::gExitCode = 3;
    if (++gReceived >= gExpected) ::DestroyWindow(window);
    return 0;
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
    if (arguments == nullptr || count < 3) return 1;
    gResultFile = arguments[1];
    gExpected = _wtoi(arguments[2]);
    ::LocalFree(arguments);
    return standin::RunWindow(instance, L"KirvaCallerStandIn", WindowProcedure, L"Kalderon stand-in", SW_HIDE,
                              30000, PublishHandle);
}
