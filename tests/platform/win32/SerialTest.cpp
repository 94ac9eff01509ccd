// Serial ports by their Windows device names.
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <string>

namespace kirva::platform {
namespace {

TEST(WinSerial, DevicesOfThePorts) {
    const struct {
        int port;
        std::string device;
    } cases[] = {{1, "\\\\.\\COM1"},
                 {9, "\\\\.\\COM9"},
                 {10, "\\\\.\\COM10"},
                 {255, "\\\\.\\COM255"},
                 {0, ""},
                 {-3, ""}};
    for (const auto& c : cases) EXPECT_EQ(SerialDeviceForPort(c.port), c.device) << c.port;
}

TEST(WinSerial, PortsWithoutADeviceFailTheTest) {
    // No computer has these: the open fails and the port is reported as not usable.
    for (const int port : {0, -1, 255}) EXPECT_FALSE(TestSerialPort(port)) << port;
}

} // namespace
} // namespace kirva::platform
