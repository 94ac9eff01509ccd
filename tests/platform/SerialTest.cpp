// Serial ports: COM n mapping and the port test, with a pseudo-terminal standing as COM1.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "platform/posix/internal.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>

namespace kirva::platform {
namespace {

using namespace test;

class PlatformSerial : public ::testing::Test {
  protected:
    void SetUp() override {
        master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(master, 0);
        ASSERT_EQ(::grantpt(master), 0);
        ASSERT_EQ(::unlockpt(master), 0);
        device = ::ptsname(master);
    }
    void TearDown() override { ::close(master); }
    int master = -1;
    std::string device;
};

TEST_F(PlatformSerial, FreePortOpensAndOneHeldByAnotherProgramIsOccupied) {
    ScopedEnv ports("KIRVA_SERIAL_PORTS", device);
    EXPECT_EQ(SerialDeviceForPort(1), device);
    EXPECT_TRUE(TestSerialPort(1));
    const int holder = ::open(device.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(::flock(holder, LOCK_EX | LOCK_NB), 0); // the test left the port free
    EXPECT_FALSE(TestSerialPort(1));
    ::close(holder);
    EXPECT_TRUE(TestSerialPort(1));
}

TEST_F(PlatformSerial, MissingOrUnfitPortsFail) {
    TempDir dir;
    WriteBytes(dir / "plain", "");
    ScopedEnv ports("KIRVA_SERIAL_PORTS", device + "::" + (dir / "plain") + ":" + (dir / "gone"));
    EXPECT_EQ(SerialDeviceForPort(2), "");
    EXPECT_EQ(SerialDeviceForPort(0), "");
    for (int port : {0, 2, 3, 4, 9}) EXPECT_FALSE(TestSerialPort(port)) << "COM" << port;
}

TEST(PlatformSerialDevices, ComOrderIsUartsThenUsbThenAcmByNumber) {
    TempDir dir;
    for (const char* name :
         {"ttyS10", "ttyS2", "ttyS3", "ttyUSB0", "ttyACM1", "ttyACM0", "tty1", "ttySx", "null"})
        WriteBytes(dir / ("dev/" + std::string(name)), "");
    WriteBytes(dir / "sys/ttyS2/type", "4\n");
    WriteBytes(dir / "sys/ttyS3/type", "0\n"); // no UART behind it
    EXPECT_EQ(posix::ListSerialDevices(dir / "dev", dir / "sys"),
              (std::vector<std::string>{dir / "dev/ttyS2", dir / "dev/ttyS10", dir / "dev/ttyUSB0",
                                        dir / "dev/ttyACM0", dir / "dev/ttyACM1"}));
}

TEST(PlatformSerialDevices, LockFileOfALiveProgramHoldsThePort) {
    TempDir dir;
    const pid_t gone = ::fork();
    if (gone == 0) ::_exit(0);
    ::waitpid(gone, nullptr, 0);
    const std::int32_t self = ::getpid();
    const std::pair<std::string, bool> cases[] = {
        {"", false},
        {"      " + std::to_string(::getpid()) + "\n", true},
        {std::string(reinterpret_cast<const char*>(&self), 4), true},
        {"      " + std::to_string(gone) + "\n", false},
    };
    for (const auto& [content, held] : cases) {
        if (!content.empty()) WriteBytes(dir / "LCK..ttyS0", content);
        EXPECT_EQ(posix::UucpLockHeld(dir.path().string(), "/dev/ttyS0"), held) << content;
    }
}

} // namespace
} // namespace kirva::platform
