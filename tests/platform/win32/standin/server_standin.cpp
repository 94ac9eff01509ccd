// A stand-in communication server: one window titled like a server, in the title given on the
// command line or, without one, "Telvar " and the RefMO of section [DNC] of the Telvar.ini in its
// current folder (as a server started in its own folder finds it). It writes a report to
// "standin.txt" in its current folder: "show=<how it was asked to open>" when it starts and
// "closed" when its window is asked to close (then it ends, exit code 0). It ends by itself after
// 60 seconds (exit code 2), so that a failed test leaves nothing running.
//
//   kirva_server_standin.exe [<title>]
#include "StandInWindow.h"

#include <shellapi.h>

namespace {

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_CLOSE) return standin::CommonMessages(window, message, wParam, lParam);
    if (!standin::AppendLine(L"standin.txt", "closed\r\n")) standin::gExitCode = 3;
    ::DestroyWindow(window);
    return 0;
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
    return standin::RunWindow(
        instance, L"KirvaServerStandIn", WindowProcedure, title, show, 60000, [show](HWND) {
            return standin::AppendLine(L"standin.txt", "show=" + std::to_string(show) + "\r\n");
        });
}
