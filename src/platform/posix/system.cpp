// Process-wide settings: single instance, decimal separator, executable folder, command line.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <sys/file.h>
#include <unistd.h>

namespace kirva::platform {

namespace {

// The lock stays open for the life of the process; its descriptor is closed on exec so that
// programs started from here do not hold it.
int gInstanceLockFd = -1;
pid_t gInstanceLockOwner = 0;

} // namespace

bool AcquireSingleInstance() {
    // A child made by fork shares the parent's open lock; it is not the instance that took it.
    if (gInstanceLockFd >= 0 && gInstanceLockOwner == ::getpid()) return true;
    // Without a folder for the lock file the check cannot be made; the program then runs.
    if (!posix::EnsureRuntimeFolder()) return true;
    const std::string path = posix::RuntimeFolder() + "/kirva.lock";
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0 && errno == EACCES) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC); // another user's file
    if (fd < 0) return true;
    int result;
    do result = ::flock(fd, LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    if (result != 0) {
        const bool held = errno == EWOULDBLOCK;
        ::close(fd);
        return !held;
    }
    gInstanceLockFd = fd;
    gInstanceLockOwner = ::getpid();
    return true;
}

std::string UserDecimalSeparator() {
    // The user's locale as the environment names it (LC_ALL, LC_NUMERIC, LANG), read without
    // changing the locale of the process.
    locale_t user = ::newlocale(LC_NUMERIC_MASK, "", static_cast<locale_t>(nullptr));
    if (user == static_cast<locale_t>(nullptr)) return ".";
    const char* point = ::nl_langinfo_l(RADIXCHAR, user);
    std::string separator = (point != nullptr && *point != '\0') ? point : ".";
    ::freelocale(user);
    return separator;
}

bool ForceDecimalPoint() {
    if (std::setlocale(LC_NUMERIC, "C") == nullptr) return false;
    const lconv* conventions = std::localeconv();
    return conventions != nullptr && std::string(conventions->decimal_point) == ".";
}

std::string ExecutableFolder() {
    std::string path(4096, '\0');
    const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
    if (size <= 0 || static_cast<std::size_t>(size) >= path.size()) {
        char* current = ::getcwd(nullptr, 0);
        std::string folder = current != nullptr ? current : ".";
        std::free(current);
        return folder;
    }
    path.resize(static_cast<std::size_t>(size));
    const std::size_t slash = path.rfind('/');
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::vector<std::string> ProgramArguments(int argc, char** argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc && argv != nullptr && argv[i] != nullptr; ++i) arguments.emplace_back(argv[i]);
    return arguments;
}

std::string CommandLine(int argc, char** argv) {
    // The arguments after the program's own path, as the suite passes them ("/MRV").
    std::string line;
    for (const std::string& argument : ProgramArguments(argc, argv)) {
        if (!line.empty()) line += ' ';
        line += argument;
    }
    return line;
}

bool PrepareConsoleOutput() {
    return ::isatty(STDOUT_FILENO) != 0;
}

} // namespace kirva::platform
