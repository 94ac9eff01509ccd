// The window message to the calling program, received on its datagram socket.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>

namespace kirva::platform {
namespace {

using namespace test;

// The calling program's side: a datagram socket bound at hwnd-<pid>.sock.
struct Listener {
    int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    bool bound = false;

    Listener(const std::string& runtime, pid_t pid) {
        std::filesystem::create_directories(runtime + "/marovex");
        const std::string path = runtime + "/marovex/hwnd-" + std::to_string(pid) + ".sock";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~Listener() { ::close(fd); }
    // The next datagram, or "" when none is waiting.
    std::string Receive() const {
        char buffer[128];
        const ssize_t size = ::recv(fd, buffer, sizeof buffer, MSG_DONTWAIT);
        return size > 0 ? std::string(buffer, static_cast<std::size_t>(size)) : std::string();
    }
};

class PlatformNotify : public ::testing::Test {
  protected:
    TempDir dir;
    ScopedEnv runtime{"XDG_RUNTIME_DIR", dir.path().string()};
};

// A caller that listens receives the message and its code: the apply's tests, on this same socket.
TEST_F(PlatformNotify, SkippedWhenNobodyListensOrTheCallerIsGone) {
    // No socket at all.
    EXPECT_FALSE(WindowExists(::getpid()));
    EXPECT_FALSE(PostWindowMessage(::getpid(), 28679, 711, 0));
    // A socket left behind by a program that no longer reads it.
    ASSERT_TRUE(Listener(dir.path().string(), ::getpid()).bound);
    EXPECT_FALSE(PostWindowMessage(::getpid(), 28679, 711, 0));
    // No handle.
    EXPECT_FALSE(WindowExists(0));
    EXPECT_FALSE(PostWindowMessage(0, 28679, 711, 0));
    EXPECT_FALSE(PostWindowMessage(-1, 28679, 711, 0));
    // A caller that is gone, whose socket still reads.
    const pid_t gone = ::fork();
    if (gone == 0) ::_exit(0);
    ASSERT_EQ(::waitpid(gone, nullptr, 0), gone);
    const Listener socketOfGone(dir.path().string(), gone);
    ASSERT_TRUE(socketOfGone.bound);
    EXPECT_FALSE(WindowExists(gone));
    EXPECT_FALSE(PostWindowMessage(gone, 28679, 710, 0));
    EXPECT_EQ(socketOfGone.Receive(), "");
}

} // namespace
} // namespace kirva::platform
