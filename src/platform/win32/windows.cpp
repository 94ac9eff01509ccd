// Top-level windows of the user's desktop: the list with titles (EnumWindows, in the system's
// window order, hidden windows included) and the close request (WM_CLOSE, what a close box sends).
#include "platform/platform.h"
#include "platform/win32/internal.h"
#include "platform/win32/window_handle.h"

namespace kirva::platform {

namespace {

// How long a close request is waited for. A server that asks its user before ending is not waited
// for longer; its request still stands.
constexpr UINT kCloseWaitMs = 3000;

std::string TitleOf(HWND window) {
    const int length = ::GetWindowTextLengthW(window);
    if (length <= 0) return {};
    // The length may be larger than the text (it can count a conversion); never smaller unless
    // the title changes between the two calls, which only shortens what is read.
    std::wstring title(static_cast<std::size_t>(length) + 1, L'\0');
    const int got = ::GetWindowTextW(window, title.data(), length + 1);
    title.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return win32::Narrow(title);
}

struct Walk {
    std::vector<TopLevelWindow> windows;
    bool failed = false;
};

BOOL CALLBACK Visit(HWND window, LPARAM walk) {
    auto& state = *reinterpret_cast<Walk*>(walk);
    try {
        state.windows.push_back(TopLevelWindow{win32::NumberOfWindow(window), TitleOf(window)});
        return TRUE;
    } catch (const std::exception&) {
        state.failed = true;
        return FALSE;
    }
}

} // namespace

bool ListTopLevelWindows(std::vector<TopLevelWindow>& windows, std::string& error) {
    windows.clear();
    Walk walk;
    ::SetLastError(ERROR_SUCCESS);
    if (!::EnumWindows(Visit, reinterpret_cast<LPARAM>(&walk)) || walk.failed) {
        const DWORD code = ::GetLastError();
        error = walk.failed ? std::string("not enough memory for the list of windows")
                            : "the windows of the desktop cannot be listed: " + win32::LastErrorText(code);
        return false;
    }
    windows = std::move(walk.windows);
    error.clear();
    return true;
}

bool CloseTopLevelWindow(std::int64_t handle) {
    const HWND window = win32::WindowOfNumber(handle);
    if (window == nullptr || ::IsWindow(window) == FALSE) return false;
    DWORD_PTR result = 0;
    ::SetLastError(ERROR_SUCCESS);
    if (::SendMessageTimeoutW(window, WM_CLOSE, 0, 0, SMTO_NORMAL, kCloseWaitMs, &result) != 0) return true;
    // Still being handled when the time was up (the server asks its user, or is busy): the request
    // was delivered and stands. Any other failure (the window went away, the system refused the
    // message to a program of higher rights) means it was not delivered.
    return ::GetLastError() == ERROR_TIMEOUT && ::IsWindow(window) != FALSE;
}

} // namespace kirva::platform
