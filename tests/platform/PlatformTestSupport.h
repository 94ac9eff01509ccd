// Environment (support/ScopedEnv.h) and child-process helpers for the platform tests.
#pragma once

#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/ScopedEnv.h"

namespace kirva::test {

// Runs `body` in a forked child and returns its result (0..255), or -1 when the child failed.
inline int RunInChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body());
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

// Runs body(0) .. body(count - 1) in as many children at once; true when every one returned true.
inline bool RunInChildrenAtOnce(int count, const std::function<bool(int)>& body) {
    std::vector<pid_t> children;
    for (int i = 0; i < count; ++i) {
        children.push_back(::fork());
        if (children.back() == 0) ::_exit(body(i) ? 0 : 1);
    }
    bool ok = true;
    for (const pid_t child : children) {
        int status = 0;
        ok = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
             WEXITSTATUS(status) == 0 && ok;
    }
    return ok;
}

// Sets the umask for the life of the object and puts the old one back.
class ScopedUmask {
  public:
    explicit ScopedUmask(mode_t mask) : old_(::umask(mask)) {}
    ~ScopedUmask() { ::umask(old_); }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

  private:
    mode_t old_;
};

// Permission bits of a file (0 when it is missing).
inline mode_t ModeOf(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

} // namespace kirva::test
