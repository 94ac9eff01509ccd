// The stand-in programs of the Windows platform tests (built beside the test program), and
// bounded waits for what they do: every wait ends when its condition holds, when the program it
// watches ends, or at its time limit. Also what several of these tests ask of the system.
#pragma once

#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kirva::test {

// Full path of the running test program.
inline std::wstring TestProgram() {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

// Full path of a program built beside the running test program.
inline std::wstring BesideTestProgram(const char* name) {
    const std::wstring self = TestProgram();
    return self.substr(0, self.find_last_of(L"\\/") + 1) + platform::win32::Widen(name);
}

inline bool RunningUnderWine() {
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

// The handle of the top-level window with this title (UTF-8), if one is listed.
inline std::optional<std::int64_t> ListedWindow(const std::string& title) {
    std::vector<platform::TopLevelWindow> windows;
    std::string error;
    if (!platform::ListTopLevelWindows(windows, error)) return std::nullopt;
    for (const platform::TopLevelWindow& window : windows)
        if (window.Title == title) return window.Handle;
    return std::nullopt;
}

// A stand-in program started by the test. It is ended (TerminateProcess) when the object goes
// while it still runs, so that a failed test leaves nothing behind.
class StandIn {
  public:
    // Starts `program` (a full path) with the arguments (each quoted) in `workFolder` (empty: the
    // test's own). Check Started() afterwards.
    StandIn(const std::wstring& program, const std::vector<std::wstring>& arguments,
            const std::wstring& workFolder = L"") {
        std::wstring line = L"\"" + program + L"\"";
        for (const std::wstring& argument : arguments) line += L" \"" + argument + L"\"";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             workFolder.empty() ? nullptr : workFolder.c_str(), &startup, &started)) {
            ::CloseHandle(started.hThread);
            process_.Reset(started.hProcess);
        }
    }
    ~StandIn() {
        if (Running() && ::TerminateProcess(process_.get(), 99)) ::WaitForSingleObject(process_.get(), 5000);
    }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    bool Started() const { return process_.valid(); }
    HANDLE get() const { return process_.get(); }
    bool Running() const { return Started() && ::WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT; }
    // Waits at most `timeoutMs` for the program to end; true with its exit code when it did.
    bool WaitForExit(DWORD timeoutMs, DWORD& exitCode) const {
        return Started() && ::WaitForSingleObject(process_.get(), timeoutMs) == WAIT_OBJECT_0 &&
               ::GetExitCodeProcess(process_.get(), &exitCode);
    }

  private:
    platform::win32::Handle process_;
};

// Checks `condition` until it holds, at most `timeoutMs`. Between checks it waits for the
// program to end (at most a few milliseconds): once it has ended, one last check decides.
inline bool WaitWhileRunning(const StandIn& program, DWORD timeoutMs,
                             const std::function<bool()>& condition) {
    const ULONGLONG deadline = ::GetTickCount64() + timeoutMs;
    while (!condition()) {
        if (::GetTickCount64() >= deadline) return false;
        if (::WaitForSingleObject(program.get(), 20) != WAIT_TIMEOUT) return condition();
    }
    return true;
}

// Checks `condition` each time something changes in `folder` (a file created, written or
// renamed), at most `timeoutMs`.
inline bool WaitForFolderChange(const std::wstring& folder, DWORD timeoutMs,
                                const std::function<bool()>& condition) {
    const HANDLE change = ::FindFirstChangeNotificationW(
        folder.c_str(), FALSE,
        FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_SIZE);
    const ULONGLONG deadline = ::GetTickCount64() + timeoutMs;
    bool holds = condition();
    // A change can come between the check and the wait: the notification stays signalled until it
    // is asked for again, so none is missed. The short wait only bounds how late a change is seen
    // that the system does not report (a write still in its cache).
    while (!holds && change != INVALID_HANDLE_VALUE && ::GetTickCount64() < deadline) {
        const DWORD waited = ::WaitForSingleObject(change, 100);
        if (waited == WAIT_FAILED) break;
        if (waited == WAIT_OBJECT_0) ::FindNextChangeNotification(change);
        holds = condition();
    }
    if (change != INVALID_HANDLE_VALUE) ::FindCloseChangeNotification(change);
    return holds;
}

} // namespace kirva::test
