// What the stand-in programs share: a line appended to a report file, and one window of their
// own whose messages they handle until it is destroyed. Each window gives up by itself after a
// time (exit code 2), so that a failed test leaves nothing running.
#pragma once
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <functional>
#include <string>

namespace standin {

inline int gExitCode = 0;

// Appends one line to the file and flushes it to disk before the test looks at it.
inline bool AppendLine(const wchar_t* path, const std::string& line) {
    HANDLE file = ::CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const bool ok = ::WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr) &&
                    written == line.size() && ::FlushFileBuffers(file);
    ::CloseHandle(file);
    return ok;
}

// The messages every stand-in window handles alike: giving up, and ending with its window.
inline LRESULT CommonMessages(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
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

// Opens the window, shown as `show`, and runs its messages until it is destroyed: the exit code
// of the program, or 1 when the window cannot open or `ready` fails.
inline int RunWindow(HINSTANCE instance, const wchar_t* className, WNDPROC procedure,
                     const std::wstring& title, int show, UINT giveUpMs,
                     const std::function<bool(HWND)>& ready) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = className;
    if (::RegisterClassW(&windowClass) == 0) return 1;
    HWND window = ::CreateWindowExW(0, className, title.c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                                    CW_USEDEFAULT, 300, 120, nullptr, nullptr, instance, nullptr);
    if (window == nullptr) return 1;
    ::ShowWindow(window, show);
    ::SetTimer(window, 1, giveUpMs, nullptr);
    if (!ready(window)) return 1;
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

} // namespace standin
