// Window messages to the calling program. On POSIX a "window handle" is the process id of the
// calling program, which receives its messages as datagrams on a Unix socket of its own:
// ${XDG_RUNTIME_DIR:-/tmp}/marovex/hwnd-<pid>.sock, one datagram "M W L" per message.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kirva::platform {

namespace {

bool ProcessAlive(std::int64_t handle) {
    if (handle <= 0 || handle > INT_MAX) return false;
    return ::kill(static_cast<pid_t>(handle), 0) == 0 || errno == EPERM;
}

} // namespace

bool WindowExists(std::int64_t handle) {
    if (!ProcessAlive(handle)) return false;
    struct stat info {};
    return ::stat(posix::NotificationSocketPath(handle).c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

bool PostWindowMessage(std::int64_t handle, std::uint32_t message, std::uint32_t wParam,
                       std::int64_t lParam) {
    if (!ProcessAlive(handle)) return false;
    const std::string path = posix::NotificationSocketPath(handle);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);

    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return false;
    const std::string payload =
        std::to_string(message) + " " + std::to_string(wParam) + " " + std::to_string(lParam);
    // Non-blocking: a missing socket (ENOENT), one nobody reads any more (ECONNREFUSED) or a
    // full queue (EAGAIN) skips the message instead of waiting.
    ssize_t sent;
    do {
        sent = ::sendto(fd, payload.data(), payload.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                        reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (sent < 0 && errno == EINTR);
    ::close(fd);
    return sent == static_cast<ssize_t>(payload.size());
}

} // namespace kirva::platform
