// Shell commands and programs, started with CreateProcessW in a minimised window.
//
// Shell commands run as `cmd.exe /s /c "<command>"`: with /s, cmd takes away exactly the outer
// pair of quotes and runs the text inside as typed, so a command that begins with a quoted
// program path and holds more quoted arguments reaches cmd unchanged (plain `cmd /c` would take
// away its first and last quote instead). cmd.exe is the one %ComSpec% names, else the one of
// the system folder.
#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <vector>

namespace kirva::platform {

namespace {

// The full path of the command interpreter.
std::wstring CommandInterpreter() {
    std::wstring path = win32::Widen(win32::EnvOr("ComSpec", ""));
    if (!path.empty()) return path;
    wchar_t folder[MAX_PATH] = {};
    const UINT length = ::GetSystemDirectoryW(folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return L"cmd.exe";
    return std::wstring(folder, length) + L"\\cmd.exe";
}

// Starts a program. `commandLine` is the whole command line, the program's own name first.
// `showWindow` is how its first window opens; `workFolder` (may be empty) its current folder.
// Returns the process handle, invalid when the program could not be started.
win32::Handle Start(const std::wstring& program, const std::wstring& commandLine, WORD showWindow,
                    const std::wstring& workFolder, DWORD flags) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = showWindow;
    PROCESS_INFORMATION started{};
    // CreateProcessW may write into the command line: it gets a copy of its own.
    std::vector<wchar_t> line(commandLine.begin(), commandLine.end());
    line.push_back(L'\0');
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE,
                          flags | CREATE_UNICODE_ENVIRONMENT, nullptr,
                          workFolder.empty() ? nullptr : workFolder.c_str(), &startup, &started))
        return win32::Handle();
    ::CloseHandle(started.hThread);
    return win32::Handle(started.hProcess);
}

win32::Handle StartShell(const std::string& command, DWORD flags) {
    const std::wstring interpreter = CommandInterpreter();
    const std::wstring line = L"\"" + interpreter + L"\" /s /c \"" + win32::Widen(command) + L"\"";
    return Start(interpreter, line, SW_SHOWMINNOACTIVE, L"", flags);
}

} // namespace

int RunShellCommandAndWait(const std::string& commandLine) {
    try {
        const win32::Handle process = StartShell(commandLine, 0);
        if (!process.valid()) return -1;
        // The command runs as long as it needs: the caller blocks until it has ended.
        if (::WaitForSingleObject(process.get(), INFINITE) != WAIT_OBJECT_0) return -1;
        DWORD code = 0;
        if (!::GetExitCodeProcess(process.get(), &code)) return -1;
        return static_cast<int>(code);
    } catch (const std::exception&) {
        return -1;
    }
}

bool StartShellCommand(const std::string& commandLine) {
    try {
        // A process group of its own: a Ctrl+C in Kirva's console does not reach the command.
        return StartShell(commandLine, CREATE_NEW_PROCESS_GROUP).valid();
    } catch (const std::exception&) {
        return false;
    }
}

bool StartProgram(const std::string& path) {
    try {
        if (path.empty()) return false;
        const std::wstring given = win32::Widen(path);
        const DWORD needed = ::GetFullPathNameW(given.c_str(), 0, nullptr, nullptr);
        if (needed == 0) return false;
        std::wstring program(needed, L'\0');
        const DWORD length = ::GetFullPathNameW(given.c_str(), needed, program.data(), nullptr);
        if (length == 0 || length >= needed) return false;
        program.resize(length);
        // The program runs in its own folder, where a server finds its files.
        const std::size_t separator = program.find_last_of(L"\\/");
        std::wstring folder = separator == std::wstring::npos ? L"" : program.substr(0, separator);
        if (folder.size() == 2 && folder[1] == L':') folder += L'\\'; // "C:" alone is C:'s current folder
        // Minimised, and active: the server takes the focus as it starts.
        return Start(program, L"\"" + program + L"\"", SW_SHOWMINIMIZED, folder, CREATE_NEW_PROCESS_GROUP)
            .valid();
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace kirva::platform
