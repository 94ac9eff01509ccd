// File look-up with the spelling found on disk, the executable folder and the command line.
#include "platform/name_rules.h"
#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <shellapi.h>

#include <cstdlib>

namespace kirva::platform {

namespace {

std::wstring Join(const std::wstring& folder, const std::wstring& name) {
    if (folder.empty()) return name;
    const wchar_t last = folder.back();
    return (last == L'\\' || last == L'/' || last == L':') ? folder + name : folder + L"\\" + name;
}

// The name of a folder entry as it is spelled on disk, when the entry exists and is of the
// wanted type (a folder, or a file that is not a folder).
std::optional<std::wstring> EntryOnDisk(const std::wstring& folder, const std::wstring& part,
                                        bool wantFolder) {
    if (part.find_first_of(L"*?") != std::wstring::npos) return std::nullopt;
    WIN32_FIND_DATAW entry{};
    const HANDLE search = ::FindFirstFileW(Join(folder, part).c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) return std::nullopt;
    ::FindClose(search);
    const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isFolder != wantFolder) return std::nullopt;
    return std::wstring(entry.cFileName);
}

} // namespace

std::optional<std::string> FindFileNoCase(const std::string& folder, const std::string& name) {
    try {
        // File names compare without regard to case here: each part of the name ("Lng\FR.lng")
        // is looked up in turn and named as it is spelled on disk.
        const std::vector<std::string> parts = NameParts(name, "\\/");
        std::wstring current = win32::Widen(folder);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            // Every part but the last is a folder; the last is a file (a folder of that name is
            // not the file looked for).
            const bool wantFolder = i + 1 < parts.size();
            const std::wstring widePart = win32::Widen(parts[i]);
            if (parts[i] == "..") {
                const DWORD attributes = ::GetFileAttributesW(Join(current, widePart).c_str());
                if (!wantFolder || attributes == INVALID_FILE_ATTRIBUTES ||
                    (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
                    return std::nullopt;
                current = Join(current, widePart);
                continue;
            }
            const auto found = EntryOnDisk(current, widePart, wantFolder);
            if (!found) return std::nullopt;
            current = Join(current, *found);
        }
        if (parts.empty()) return std::nullopt;
        return win32::Narrow(current);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::string ExecutableFolder() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) break;
        if (length < path.size()) {
            path.resize(length);
            const std::size_t slash = path.find_last_of(L"\\/");
            if (slash == std::wstring::npos) break;
            // A program at the root of a drive keeps the separator ("C:\"), as "/" stays "/".
            if (slash > 0 && path[slash - 1] == L':') return win32::Narrow(path.substr(0, slash + 1));
            return win32::Narrow(path.substr(0, slash));
        }
        if (path.size() >= 32768) break;
        path.resize(path.size() * 2);
    }
    std::wstring current(MAX_PATH, L'\0');
    const DWORD length = ::GetCurrentDirectoryW(static_cast<DWORD>(current.size()), current.data());
    if (length == 0 || length >= current.size()) return ".";
    current.resize(length);
    return win32::Narrow(current);
}

std::vector<std::string> ProgramArguments(int argc, char** argv) {
    // The C runtime gives main() its arguments in the ANSI code page; for the process's own
    // arguments they are taken from the UTF-16 command line instead, so that no character is lost.
    std::vector<std::string> result;
    if (argv != nullptr && argv == __argv) {
        int count = 0;
        wchar_t** arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
        if (arguments != nullptr) {
            for (int i = 1; i < count; ++i)
                result.push_back(win32::Narrow(arguments[i], std::wcslen(arguments[i])));
            ::LocalFree(arguments);
            return result;
        }
    }
    for (int i = 1; i < argc && argv != nullptr && argv[i] != nullptr; ++i) result.emplace_back(argv[i]);
    return result;
}

std::string CommandLine(int argc, char** argv) {
    // The arguments after the program's own path, joined by blanks.
    std::string line;
    for (const std::string& argument : ProgramArguments(argc, argv)) {
        if (!line.empty()) line += ' ';
        line += argument;
    }
    return line;
}

bool PrepareConsoleOutput() {
    ::SetConsoleOutputCP(CP_UTF8);
    DWORD mode = 0;
    const HANDLE out = ::GetStdHandle(STD_OUTPUT_HANDLE);
    // A console takes colour sequences once asked to; a file or a pipe is no terminal.
    if (out == INVALID_HANDLE_VALUE || !::GetConsoleMode(out, &mode)) return false;
    return ::SetConsoleMode(out, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

} // namespace kirva::platform
