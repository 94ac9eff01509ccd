// Window messages to the calling program: its main window's handle, as it published it in the
// registry, receives the message through SendNotifyMessageA.
//
// SendNotifyMessageA and not PostMessageA: the window belongs to another program, so the call
// returns at once either way, but a sent message reaches the window procedure directly instead of
// going through the caller's message queue. It is handled while the caller shows a modal box or
// pumps its queue with a filter, it cannot be lost to a full queue, and it is the delivery the
// callers of the suite were written for. The A form, because the callers' windows are ANSI
// windows; message 28679 carries numbers only, so nothing is converted either way.
#include "platform/platform.h"
#include "platform/win32/internal.h"
#include "platform/win32/window_handle.h"

namespace kirva::platform {

bool WindowExists(std::int64_t handle) {
    const HWND window = win32::WindowOfNumber(handle);
    return window != nullptr && ::IsWindow(window) != FALSE;
}

bool PostWindowMessage(std::int64_t handle, std::uint32_t message, std::uint32_t wParam,
                       std::int64_t lParam) {
    const HWND window = win32::WindowOfNumber(handle);
    if (window == nullptr || ::IsWindow(window) == FALSE) return false;
    return ::SendNotifyMessageA(window, message, static_cast<WPARAM>(wParam), static_cast<LPARAM>(lParam)) !=
           FALSE;
}

} // namespace kirva::platform
