// Helpers of the start-up and caller tests: a fixture with a machine record and hand-off settings,
// and a child process that reports through its exit code.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <tuple>

#ifndef _WIN32
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "app/CallerSettings.h"
#include "app/Startup.h"
#include "machine/MachineFixture.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"

namespace kirva::test {

namespace fs = std::filesystem;

// The fixture's folder, its machine folder M1 and what the readers and writers fill, open to tables.
class AppFixture : public MachineFixture {
  public:
    using MachineFixture::dir;
    using MachineFixture::MachineDir;
    using MachineFixture::messages;
    // A file in the machine's folder.
    std::string In(const std::string& name) const { return MachineDir() + name; }
    // The hand-off settings as a calling program leaves them.
    ProgramSettings& Calling(int mode, int appCalling, int currentIndex, int nbDevice,
                             const std::string& file) {
        settings = ProgramSettings{};
        settings.Mode = mode;
        settings.AppCalling = appCalling;
        settings.CurrentIndexMO = currentIndex;
        settings.NbDevice = nbDevice;
        settings.PathAppCallingIni = file;
        return settings;
    }
    // A new machine "NEUVE" whose server folder is `folder`.
    MachineConfig& NewMachine(const std::string& folder) {
        machine = MachineConfig{};
        machine.Name = machine.RefMO = "NEUVE";
        machine.PathTelvar = folder;
        return machine;
    }
    MachineConfig machine;
    ProgramSettings settings;
};

#ifndef _WIN32
// Runs body in a forked child (limits and identities it takes stay there); its result is the exit
// code, 100 + the signal when the child was killed.
inline int InChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 100 + WTERMSIG(status);
}

// A calling program listening on its datagram socket, bound at hwnd-<our process id>.sock: the id
// is what the test publishes as its "AppHwnd".
struct CallerListener {
    // What the test publishes as the caller's "AppHwnd".
    std::int64_t Handle() const { return ::getpid(); }
    int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    bool bound = false;
    explicit CallerListener(const std::string& runtimeDir) {
        fs::create_directories(runtimeDir + "/marovex");
        const std::string path = runtimeDir + "/marovex/hwnd-" + std::to_string(::getpid()) + ".sock";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~CallerListener() { ::close(fd); }
    // The datagram waiting, without blocking; "" when none.
    std::string Received() const {
        char buffer[128];
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, MSG_DONTWAIT);
        return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
    }
};
#else
// A calling program's main window in the test's thread: its handle is what the test publishes as
// the caller's "AppHwnd".
struct CallerListener {
    explicit CallerListener(const std::string&) {}
    std::int64_t Handle() const { return window.Handle(); }
    // The message received, as "28679 <wParam> <lParam>"; "" when none.
    std::string Received() const { return window.Received(); }
    mutable CallerWindow window;
    const bool bound = window.Ready();
};
#endif

// Where each calling program publishes its window ("AppHwnd").
inline constexpr const char* kKalderonKey = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
inline constexpr const char* kHarbixKey = "SOFTWARE\\MAROVEX\\TALM\\HARBIX";

// Publishes the listener as both calling programs' window: the program manager's handle as text,
// the transfer program's as a number.
inline bool PublishCaller(const CallerListener& listener) {
    const auto root = platform::RegRoot::LocalMachine;
    return listener.bound &&
           platform::RegWriteString(root, kKalderonKey, "AppHwnd", std::to_string(listener.Handle())) &&
           platform::RegWriteDword(root, kHarbixKey, "AppHwnd",
                                   static_cast<std::uint32_t>(listener.Handle()));
}

} // namespace kirva::test
