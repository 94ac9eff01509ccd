// Shell commands and programs. Commands run through /bin/sh -c with the same text the suite
// gives cmd /c on Windows. Programs started without waiting are detached (own session, parent
// reaped at once by a double fork), so they leave no zombie and do not depend on this program.
// A Windows program (a file that begins with "MZ") is started through wine when it is on PATH.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/close_range.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kirva::platform {

namespace {

// The argument vector of a child, built before fork: after fork only async-signal-safe calls.
class Arguments {
  public:
    explicit Arguments(std::vector<std::string> values) : values_(std::move(values)) {
        for (std::string& value : values_) pointers_.push_back(value.data());
        pointers_.push_back(nullptr);
    }
    const char* file() const { return values_.front().c_str(); }
    char* const* argv() { return pointers_.data(); }

  private:
    std::vector<std::string> values_;
    std::vector<char*> pointers_;
};

void WriteErrno(int fd, int err) {
    while (::write(fd, &err, sizeof err) < 0 && errno == EINTR) {
    }
}

// In the child, just before exec: default signal handling, no input from the terminal, and
// no descriptor of this program (the report pipe closes itself on exec).
void PrepareChild(const char* workFolder, int reportFd) {
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    for (int signal : {SIGPIPE, SIGCHLD, SIGINT, SIGQUIT, SIGTERM, SIGHUP})
        ::sigaction(signal, &standard, nullptr);
    const int nullFd = ::open("/dev/null", O_RDONLY);
    if (nullFd >= 0 && nullFd != 0) {
        ::dup2(nullFd, 0);
        ::close(nullFd);
    }
    ::syscall(SYS_close_range, 3U, ~0U, CLOSE_RANGE_CLOEXEC);
    if (workFolder != nullptr && ::chdir(workFolder) != 0) {
        WriteErrno(reportFd, errno);
        ::_exit(127);
    }
}

// Reads what the child reported: nothing (the pipe closed on exec) means it started.
int ReadReport(int fd) {
    int err = 0;
    ssize_t got;
    do got = ::read(fd, &err, sizeof err);
    while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof err) ? err : 0;
}

int WaitFor(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

// Starts the program and returns its exit code, or -1 when it could not be started.
int RunAndWait(Arguments& arguments) {
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) return -1;
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(report[0]);
        ::close(report[1]);
        return -1;
    }
    if (child == 0) {
        ::close(report[0]);
        PrepareChild(nullptr, report[1]);
        ::execv(arguments.file(), arguments.argv());
        WriteErrno(report[1], errno);
        ::_exit(127);
    }
    ::close(report[1]);
    const int startError = ReadReport(report[0]);
    ::close(report[0]);
    const int code = WaitFor(child);
    return startError != 0 ? -1 : code;
}

// Starts the program in a session of its own without waiting for it.
bool StartDetached(Arguments& arguments, const char* workFolder) {
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) return false;
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(report[0]);
        ::close(report[1]);
        return false;
    }
    if (child == 0) {
        ::close(report[0]);
        ::setsid();
        const pid_t grandchild = ::fork();
        if (grandchild < 0) {
            WriteErrno(report[1], errno);
            ::_exit(1);
        }
        if (grandchild > 0) ::_exit(0); // the program is adopted by init (or the session's reaper)
        PrepareChild(workFolder, report[1]);
        ::execv(arguments.file(), arguments.argv());
        WriteErrno(report[1], errno);
        ::_exit(127);
    }
    ::close(report[1]);
    WaitFor(child);
    const int startError = ReadReport(report[0]);
    ::close(report[0]);
    return startError == 0;
}

// Whether the file begins with the "MZ" mark of a Windows program.
bool IsWindowsProgram(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    char mark[2] = {};
    ssize_t got;
    do got = ::read(fd, mark, sizeof mark);
    while (got < 0 && errno == EINTR);
    ::close(fd);
    return got == 2 && mark[0] == 'M' && mark[1] == 'Z';
}

// The first executable file named `name` in the folders of PATH, or empty.
std::string FindOnPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "";
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = folders.find(':', start);
        // An empty entry means the current folder.
        std::string candidate = end == start || start == folders.size()
                                    ? std::string(".")
                                    : folders.substr(start, end == std::string::npos ? end : end - start);
        candidate += '/';
        candidate += name;
        struct stat info {};
        if (::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0)
            return std::filesystem::absolute(candidate).string();
        if (end == std::string::npos) return {};
        start = end + 1;
    }
}

} // namespace

int RunShellCommandAndWait(const std::string& commandLine) {
    try {
        Arguments arguments({"/bin/sh", "-c", commandLine});
        return RunAndWait(arguments);
    } catch (const std::exception&) {
        return -1;
    }
}

bool StartShellCommand(const std::string& commandLine) {
    try {
        Arguments arguments({"/bin/sh", "-c", commandLine});
        return StartDetached(arguments, nullptr);
    } catch (const std::exception&) {
        return false;
    }
}

bool StartProgram(const std::string& path) {
    try {
        if (path.empty()) return false;
        // The program runs in its own folder, where a server finds its files.
        const std::string program = std::filesystem::absolute(path).string();
        const std::size_t slash = program.rfind('/');
        const std::string folder = slash == 0 ? std::string("/") : program.substr(0, slash);
        if (IsWindowsProgram(program)) {
            const std::string wine = FindOnPath("wine");
            if (wine.empty()) return false;
            Arguments arguments({wine, program});
            return StartDetached(arguments, folder.c_str());
        }
        Arguments arguments({program});
        return StartDetached(arguments, folder.c_str());
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace kirva::platform
