// Top-level windows on X11: the list with titles in stacking order and the close request. Each
// test suite runs a private X server (Xvfb, no TCP) and stand-in servers (examples/standin-server)
// in it. (A server program started by path: the process tests.)
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <optional>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kirva::platform {
namespace {

using namespace test;

constexpr int kWaitMs = 10000; // bound of every wait for another process

// Reads one line from fd, waiting at most kWaitMs for it. Nullopt on time-out or end of file.
std::optional<std::string> ReadLine(int fd) {
    std::string line;
    for (;;) {
        pollfd wait{fd, POLLIN, 0};
        if (::poll(&wait, 1, kWaitMs) <= 0) return std::nullopt;
        char c;
        const ssize_t got = ::read(fd, &c, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return std::nullopt;
        if (c == '\n') return line;
        line += c;
    }
}

// Starts a program with its standard output and error going to `log`; `extraFd` (when >= 0)
// becomes descriptor 3 of the program.
pid_t Spawn(const std::vector<std::string>& arguments, const std::string& log, int extraFd = -1) {
    std::vector<char*> argv;
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        const int in = ::open("/dev/null", O_RDONLY);
        const int out = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        ::dup2(in, 0);
        ::dup2(out, 1);
        ::dup2(out, 2);
        if (extraFd == 3)
            ::fcntl(3, F_SETFD, 0);
        else if (extraFd >= 0)
            ::dup2(extraFd, 3);
        ::execvp(argv[0], argv.data());
        ::dprintf(2, "%s cannot be started: %s\n", argv[0], std::strerror(errno));
        ::_exit(127);
    }
    return child;
}

// Waits at most kWaitMs for a child to end; its exit code, or nullopt while it still runs.
std::optional<int> WaitForExit(pid_t pid) {
    const int pidFd = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
    if (pidFd >= 0) {
        pollfd wait{pidFd, POLLIN, 0};
        ::poll(&wait, 1, kWaitMs);
        ::close(pidFd);
    }
    int status = 0;
    if (::waitpid(pid, &status, WNOHANG) != pid) return std::nullopt;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool StillRuns(pid_t pid) {
    return ::waitpid(pid, nullptr, WNOHANG) == 0;
}

void Stop(pid_t pid) {
    if (pid <= 0) return;
    ::kill(pid, SIGTERM);
    ::waitpid(pid, nullptr, 0);
}

// A private X server for the suite: Xvfb on the first free display, told through -displayfd.
class XServer {
  public:
    XServer() : log_(dir_ / "xvfb.log") {
        int report[2];
        if (::pipe2(report, O_CLOEXEC) != 0) return;
        pid_ =
            Spawn({"Xvfb", "-displayfd", "3", "-nolisten", "tcp", "-noreset", "-screen", "0", "640x480x24"},
                  log_, report[1]);
        ::close(report[1]);
        const std::optional<std::string> number = ReadLine(report[0]);
        ::close(report[0]);
        if (number && !number->empty()) display_ = ":" + *number;
    }
    ~XServer() { Stop(pid_); }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    // Empty when the server did not start.
    const std::string& Display() const { return display_; }
    std::string Log() const { return ReadBytes(log_); }

  private:
    TempDir dir_;
    std::string log_;
    pid_t pid_ = -1;
    std::string display_;
};

// One stand-in server started by the test, with its window once it is mapped. It writes its
// progress lines to a FIFO that is held open here for reading and writing, so that opening it
// never blocks the stand-in and a read never sees its end.
class StandIn {
  public:
    StandIn(const TempDir& dir, const std::string& name, std::vector<std::string> arguments)
        : report_(dir / (name + ".fifo")), mark_(dir / (name + ".mark")) {
        if (::mkfifo(report_.c_str(), 0600) == 0) fd_ = ::open(report_.c_str(), O_RDWR | O_CLOEXEC);
        arguments.insert(arguments.begin(), KIRVA_TELVAR_STANDIN);
        for (const std::string& extra : {std::string("--report"), report_, std::string("--mark"), mark_})
            arguments.push_back(extra);
        pid_ = Spawn(arguments, dir / (name + ".log"));
        // The window of its "ready <window>" line.
        const std::optional<std::string> line = ReadLine(fd_);
        if (line && line->starts_with("ready ")) window_ = std::stoll(line->substr(6));
    }
    ~StandIn() {
        if (!ended_) Stop(pid_);
        if (fd_ >= 0) ::close(fd_);
    }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    std::int64_t Window() const { return window_; }
    pid_t Pid() const { return pid_; }
    const std::string& Mark() const { return mark_; }
    bool Raise() const { return ::kill(pid_, SIGUSR1) == 0 && ReadLine(fd_) == "raised"; }
    std::optional<int> AwaitExit() {
        const std::optional<int> code = WaitForExit(pid_);
        ended_ = code.has_value();
        return code;
    }

  private:
    std::string report_, mark_;
    int fd_ = -1;
    pid_t pid_ = -1;
    std::int64_t window_ = 0;
    bool ended_ = false;
};

// The listed windows among `ours`, in list order, as (window, title).
std::vector<TopLevelWindow> ListedAmong(const std::vector<std::int64_t>& ours) {
    std::vector<TopLevelWindow> all, found;
    std::string error;
    EXPECT_TRUE(ListTopLevelWindows(all, error)) << error;
    for (const TopLevelWindow& window : all)
        if (std::find(ours.begin(), ours.end(), window.Handle) != ours.end()) found.push_back(window);
    return found;
}

class PlatformWindows : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { server_ = new XServer; }
    static void TearDownTestSuite() {
        delete server_;
        server_ = nullptr;
    }
    void SetUp() override {
        // Setup installs Xvfb: a machine without it fails here, loudly.
        ASSERT_FALSE(server_->Display().empty()) << "Xvfb could not be started: " << server_->Log();
        display_.emplace("DISPLAY", server_->Display());
    }

    static XServer* server_;
    std::optional<ScopedEnv> display_;
    TempDir dir_;
};

XServer* PlatformWindows::server_ = nullptr;

// The list with titles, from the top of the stacking order; then the close request, which ends
// one server and leaves the others.
TEST_F(PlatformWindows, ListsTitlesFromTheTopAndClosesOneServer) {
    struct Case {
        std::vector<std::string> arguments;
        std::string title; // as listed, UTF-8
    };
    const Case cases[] = {
        {{"--net-name", "Telvar FRAISE"}, "Telvar FRAISE"},
        // WM_NAME alone, in Latin-1; and as UTF-8 when Latin-1 cannot hold it
        {{"--wm-name", "Telvar TOUR à Écrou"}, "Telvar TOUR à Écrou"},
        {{"--wm-name", "Telvar € 5"}, "Telvar € 5"},
        // _NET_WM_NAME wins over WM_NAME
        {{"--net-name", "Telvar PERÇAGE", "--wm-name", "old name"}, "Telvar PERÇAGE"},
        // inside a frame, as a reparenting window manager shows it: the client is listed
        {{"--net-name", "Telvar CADRE", "--framed"}, "Telvar CADRE"},
        // a window that does not take the close request
        {{"--net-name", "", "--no-delete"}, ""},
    };
    std::vector<std::unique_ptr<StandIn>> servers;
    std::vector<std::int64_t> windows;
    for (const Case& c : cases) {
        servers.push_back(std::make_unique<StandIn>(dir_, "s" + std::to_string(servers.size()), c.arguments));
        ASSERT_NE(servers.back()->Window(), 0) << c.title;
        windows.push_back(servers.back()->Window());
    }
    // The window mapped last is on top: the list runs in the reverse order of the starts.
    std::vector<TopLevelWindow> listed = ListedAmong(windows);
    ASSERT_EQ(listed.size(), std::size(cases));
    for (std::size_t i = 0; i < listed.size(); ++i) {
        const std::size_t started = std::size(cases) - 1 - i;
        EXPECT_EQ(listed[i].Handle, windows[started]) << i;
        EXPECT_EQ(listed[i].Title, cases[started].title) << i;
    }
    // Raising a window puts it first.
    ASSERT_TRUE(servers[0]->Raise());
    listed = ListedAmong(windows);
    ASSERT_EQ(listed.size(), std::size(cases));
    EXPECT_EQ(listed[0].Title, "Telvar FRAISE");
    EXPECT_EQ(listed[1].Title, "");

    StandIn &plain = *servers[0], &framed = *servers[4], &deaf = *servers[5];
    EXPECT_TRUE(CloseTopLevelWindow(plain.Window()));
    EXPECT_EQ(ReadBytes(plain.Mark()), "closed\n");
    EXPECT_EQ(plain.AwaitExit(), 0);
    for (std::size_t i = 1; i < servers.size(); ++i) EXPECT_TRUE(StillRuns(servers[i]->Pid())) << i;
    EXPECT_FALSE(std::filesystem::exists(framed.Mark()));
    // A window that does not take the close request is left alone; so is one already gone.
    EXPECT_FALSE(CloseTopLevelWindow(deaf.Window()));
    EXPECT_FALSE(CloseTopLevelWindow(plain.Window()));
    EXPECT_FALSE(CloseTopLevelWindow(0));
    EXPECT_TRUE(StillRuns(deaf.Pid()));
    EXPECT_FALSE(std::filesystem::exists(deaf.Mark()));
    // The client inside a frame closes the same way.
    EXPECT_TRUE(CloseTopLevelWindow(framed.Window()));
    EXPECT_EQ(framed.AwaitExit(), 0);
    EXPECT_EQ(ReadBytes(framed.Mark()), "closed\n");
    listed = ListedAmong(windows);
    ASSERT_EQ(listed.size(), std::size(cases) - 2);
    EXPECT_EQ(listed[0].Handle, deaf.Window());
}

TEST(PlatformWindowsWithoutDisplay, ListAndCloseFailWithAReason) {
    // A display number that no server of this machine holds.
    int unused = 999;
    while (std::filesystem::exists("/tmp/.X11-unix/X" + std::to_string(unused))) ++unused;
    const std::string unreachable = ":" + std::to_string(unused);
    const std::pair<const char*, std::string> cases[] = {
        {nullptr, "no X display: DISPLAY is not set"},
        {"", "no X display: DISPLAY is not set"},
        {unreachable.c_str(), "the X display \"" + unreachable + "\" cannot be reached"},
    };
    for (const auto& [display, reason] : cases) {
        const ScopedEnv env("DISPLAY", display);
        std::vector<TopLevelWindow> windows{{1, "left over"}};
        std::string error;
        EXPECT_FALSE(ListTopLevelWindows(windows, error)) << reason;
        EXPECT_EQ(error, reason);
        EXPECT_TRUE(windows.empty()) << reason;
        EXPECT_FALSE(CloseTopLevelWindow(1)) << reason;
    }
}

} // namespace
} // namespace kirva::platform
