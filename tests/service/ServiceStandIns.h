// Stand-ins for `sc` (first on PATH) and instsrv.exe (in a program folder) that print what they
// received, one argument per line between brackets, and note each call in a calls file.
//
// On POSIX they are shell scripts and the commands run through /bin/sh, which reads "\\CN12" as
// "\CN12": the stand-in of `sc \\CN12 query "Srv A"` receives \CN12, query, Srv A and the stray
// "-" of " -> ". On Windows they are copies of one program (tests/service/standin/service_standin.cpp)
// and the commands run through cmd, which keeps "\\CN12": the C run-time of the stand-in splits
// the rest (\\CN12, query, Srv A, -), and its text-mode output ends each line with CR LF.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#undef StartService // <windows.h> would rename TK_SERVICE::StartService in the tests
#endif

#include "support/ScopedEnv.h"
#include "support/TempDir.h"

namespace kirva::test {

// With SC_STARTED set, the start and stop calls (which run without being waited for) append their
// arguments to that file instead of printing them.
inline constexpr const char* kScStandIn = R"(#!/bin/sh
printf 'sc %s\n' "$*" >> "$KIRVA_TEST_CALLS"
if [ -n "$SC_STARTED" ] && { [ "$2" = start ] || [ "$2" = stop ]; }; then
    printf '%s\n' "$*" >> "$SC_STARTED"
    exit 0
fi
printf '[SC] stand-in\n'
for arg in "$@"; do printf '[%s]\n' "$arg"; done
exit "${SC_EXIT:-0}"
)";

inline constexpr const char* kInstsrvStandIn = R"(#!/bin/sh
printf 'instsrv %s\n' "$*" >> "$KIRVA_TEST_CALLS"
printf 'The service was successfully added!\n'
for arg in "$@"; do printf '[%s]\n' "$arg"; done
)";

class ServiceStandIns {
  public:
    static constexpr char kSeparator = static_cast<char>(std::filesystem::path::preferred_separator);
    static constexpr char kPathListSeparator = kSeparator == '/' ? ':' : ';';

    explicit ServiceStandIns(const std::filesystem::path& root)
        : bin_(root / "bin"), programFolder_((root / "exe").string() + kSeparator),
          calls_((root / "calls.txt").string()),
          path_("PATH", bin_.string() + kPathListSeparator + CurrentPath()),
          callsEnv_("KIRVA_TEST_CALLS", calls_) {
#ifdef _WIN32
        // cmd looks in the current folder, then along PATH in order: bin's sc.exe comes first.
        CopyStandIn(bin_ / "sc.exe");
        CopyStandIn(programFolder_ + "instsrv.exe");
#else
        WriteScript((bin_ / "sc").string(), kScStandIn);
        WriteScript(programFolder_ + "instsrv.exe", kInstsrvStandIn);
#endif
    }

    // Holds instsrv.exe; ends with the separator.
    const std::string& ProgramFolder() const {
        return programFolder_;
    }
    // One line per call of a stand-in ("sc \CN12 query Srv A -"); "" when none ran.
    std::string Calls() const {
        return ReadBytes(calls_);
    }
    std::string CaptureFile() const {
        return programFolder_ + "Sortie.txt";
    }

  private:
    static std::string CurrentPath() {
        const char* path = std::getenv("PATH");
        return path != nullptr ? path : "/usr/bin:/bin";
    }
#ifdef _WIN32
    // The stand-in program is built beside the test program.
    static void CopyStandIn(const std::filesystem::path& to) {
        wchar_t self[MAX_PATH] = {};
        const DWORD length = ::GetModuleFileNameW(nullptr, self, MAX_PATH);
        if (length == 0 || length >= MAX_PATH) return; // the tests then see no stand-in
        std::filesystem::create_directories(to.parent_path());
        std::filesystem::copy_file(std::filesystem::path(self).parent_path() / KIRVA_SERVICE_STANDIN, to,
                                   std::filesystem::copy_options::overwrite_existing);
    }
#endif
    static void WriteScript(const std::string& path, const char* text) {
        WriteBytes(path, text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    std::filesystem::path bin_;
    std::string programFolder_;
    std::string calls_;
    ScopedEnv path_;
    ScopedEnv callsEnv_;
};

// The arguments of the sc calls that run without being waited for (start, stop), one line per
// call, appended by the stand-in to a file that SC_STARTED names (after it noted the call in the
// calls file). No handle of such a process is at hand: Next() looks at the file until the line
// is complete, for 20 s at most.
class StartedCommands {
  public:
    explicit StartedCommands(const std::filesystem::path& root)
        : file_((root / "sc-started.txt").string()), env_("SC_STARTED", file_) {}

    // The next call's line (with its line end); what came so far when none completes in 20 s.
    std::string Next() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        std::string text = ReadBytes(file_);
        while (text.find('\n', read_) == std::string::npos && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
            text = ReadBytes(file_);
        }
        const std::size_t end = std::min(text.find('\n', read_), text.size() - 1) + 1;
        std::string line = end > read_ ? text.substr(read_, end - read_) : std::string();
        read_ = std::max(read_, end);
        return line;
    }

  private:
    std::string file_;
    ScopedEnv env_;
    std::size_t read_ = 0;
};

} // namespace kirva::test
