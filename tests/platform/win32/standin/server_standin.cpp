// A stand-in communication server: one window titled like a server, in the title given on the
// command line or, without one, "Telvar " and the RefMO of section [DNC] of the Telvar.ini in its
// current folder (as a server started in its own folder finds it). It writes a report to
// "standin.txt" in its current folder: "show=<how it was asked to open>" when it starts and
// "closed" when its window is asked to close (then it ends, exit code 0). It ends by itself after
// 60 seconds (exit code 2), so that a failed test leaves nothing running.
//
//   kirva_server_standin.exe [<title>]
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <shellapi.h>
#include <string>

namespace {

constexpr UINT_PTR kGiveUpTimer = 1;
constexpr UINT kGiveUpMs = 60000;
int gExitCode = 0;

bool AppendReport(const std::string& line) {
    HANDLE file = ::CreateFileW(L"standin.txt", FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
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
    case WM_CLOSE:
        if (!AppendReport("closed\r\n")) gExitCode = 3;
        ::DestroyWindow(window);
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

std::wstring TitleFromSettings() {
    wchar_t reference[256] = {};
    ::GetPrivateProfileStringW(L"DNC", L"RefMO", L"", reference, 256, L".\\Telvar.ini");
    return std::wstring(L"Telvar ") + reference;
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
    int count = 0;
    wchar_t** arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (arguments == nullptr) return 1;
    const std::wstring title = count > 1 ? std::wstring(arguments[1]) : TitleFromSettings();
    ::LocalFree(arguments);

    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = L"KirvaServerStandIn";
    if (::RegisterClassW(&windowClass) == 0) return 1;
    HWND window =
        ::CreateWindowExW(0, windowClass.lpszClassName, title.c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                          CW_USEDEFAULT, 300, 120, nullptr, nullptr, instance, nullptr);
    if (window == nullptr) return 1;
    ::ShowWindow(window, show);
    ::SetTimer(window, kGiveUpTimer, kGiveUpMs, nullptr);
    if (!AppendReport("show=" + std::to_string(show) + "\r\n")) return 1;

    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}
