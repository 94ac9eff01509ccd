// What the core tests need of Windows itself: a registry of their own, and a calling program's
// window that receives the editor's notification. No Windows header here: the macros of
// <windows.h> would rename the platform calls (RegDeleteValue, ...) in the tests that include this.
#pragma once
#ifdef _WIN32

#include <cstdint>
#include <string>

namespace kirva::test {

// For its lifetime, HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER of this process lead to two fresh,
// empty keys (below HKEY_CURRENT_USER\Software\Kirva tests), removed afterwards: a test sees
// neither the machine's values nor those an earlier test wrote.
class ScratchRegistry {
  public:
    ScratchRegistry();
    ~ScratchRegistry();
    ScratchRegistry(const ScratchRegistry&) = delete;
    ScratchRegistry& operator=(const ScratchRegistry&) = delete;
    bool Ready() const { return ready_; }

  private:
    std::wstring base_;
    void* machine_ = nullptr; // HKEY
    void* user_ = nullptr;    // HKEY
    bool ready_ = false;
};

// A calling program's main window, owned by this thread: it keeps the last window message 28679
// it received.
class CallerWindow {
  public:
    CallerWindow();
    ~CallerWindow();
    CallerWindow(const CallerWindow&) = delete;
    CallerWindow& operator=(const CallerWindow&) = delete;
    bool Ready() const { return window_ != nullptr; }
    // The window's handle as a calling program publishes it ("AppHwnd").
    std::int64_t Handle() const;
    // "28679 <wParam> <lParam>" of the message received since the last call; "" when none. Handles
    // the messages waiting in this thread's queue first.
    std::string Received();

  private:
    void* window_ = nullptr; // HWND
    std::string received_;
};

} // namespace kirva::test

#endif // _WIN32
