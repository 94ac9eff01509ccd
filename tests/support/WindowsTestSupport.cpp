// The Windows side of the core tests' helpers (WindowsTestSupport.h). Built only for Windows.
#ifdef _WIN32

#include "support/WindowsTestSupport.h"

#include <utility>

#include <windows.h>

namespace kirva::test {
namespace {

constexpr UINT kCallerMessage = 28679;
constexpr wchar_t kScratchParent[] = L"Software\\Kirva tests";
constexpr wchar_t kCallerClass[] = L"KirvaTestCaller";

HKEY CreateUserKey(const std::wstring& path) {
    HKEY key = nullptr;
    return ::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                             KEY_ALL_ACCESS, nullptr, &key, nullptr) == ERROR_SUCCESS
               ? key
               : nullptr;
}

LRESULT CALLBACK CallerWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* received = reinterpret_cast<std::string*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message != kCallerMessage || received == nullptr)
        return ::DefWindowProcW(window, message, wParam, lParam);
    *received = std::to_string(message) + " " + std::to_string(wParam) + " " + std::to_string(lParam);
    return 0;
}

} // namespace

ScratchRegistry::ScratchRegistry() {
    static unsigned serial = 0;
    base_ = std::wstring(kScratchParent) + L"\\" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
            std::to_wstring(++serial);
    machine_ = CreateUserKey(base_ + L"\\HKLM");
    user_ = CreateUserKey(base_ + L"\\HKCU");
    ready_ = machine_ != nullptr && user_ != nullptr &&
             ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, static_cast<HKEY>(machine_)) == ERROR_SUCCESS &&
             ::RegOverridePredefKey(HKEY_CURRENT_USER, static_cast<HKEY>(user_)) == ERROR_SUCCESS;
}

ScratchRegistry::~ScratchRegistry() {
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    if (machine_ != nullptr) ::RegCloseKey(static_cast<HKEY>(machine_));
    if (user_ != nullptr) ::RegCloseKey(static_cast<HKEY>(user_));
    ::RegDeleteTreeW(HKEY_CURRENT_USER, base_.c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, kScratchParent); // only when no other test's key is left
}

CallerWindow::CallerWindow() {
    static const bool registered = [] {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = CallerWindowProc;
        windowClass.hInstance = ::GetModuleHandleW(nullptr);
        windowClass.lpszClassName = kCallerClass;
        return ::RegisterClassW(&windowClass) != 0;
    }();
    if (registered)
        window_ = ::CreateWindowExW(0, kCallerClass, L"Kirva test caller", WS_OVERLAPPEDWINDOW, 0, 0, 100,
                                    100, nullptr, nullptr, ::GetModuleHandleW(nullptr), nullptr);
    if (window_ != nullptr)
        ::SetWindowLongPtrW(static_cast<HWND>(window_), GWLP_USERDATA,
                            reinterpret_cast<LONG_PTR>(&received_));
}

CallerWindow::~CallerWindow() {
    if (window_ != nullptr) ::DestroyWindow(static_cast<HWND>(window_));
}

std::int64_t CallerWindow::Handle() const {
    // Window handles are 32-bit values in every program (a 64-bit one sign-extends them).
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(window_));
}

std::string CallerWindow::Received() {
    MSG message;
    while (::PeekMessageW(&message, static_cast<HWND>(window_), 0, 0, PM_REMOVE))
        ::DispatchMessageW(&message);
    return std::exchange(received_, std::string());
}

} // namespace kirva::test

#endif // _WIN32
