// Serial ports by their Windows device names.
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <string>

namespace kirva::platform {
namespace {

TEST(WinSerial, DevicesOfThePortsAndPortsWithoutADevice) {
    EXPECT_EQ(SerialDeviceForPort(1), "\\\\.\\COM1");
    EXPECT_EQ(SerialDeviceForPort(10), "\\\\.\\COM10"); // reached only through this form
    EXPECT_EQ(SerialDeviceForPort(0), "");
    // No computer has COM255: the open fails and the port is reported as not usable.
    for (const int port : {0, 255}) EXPECT_FALSE(TestSerialPort(port)) << port;
}

} // namespace
} // namespace kirva::platform
