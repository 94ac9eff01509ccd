// Host name, address look-up and the ICMP echo through Windows Sockets and the ICMP library, on
// this computer only.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"

#include <iphlpapi.h>

#include <gtest/gtest.h>

#include <string>

namespace kirva::platform {
namespace {

TEST(WinNetwork, TheHostNameOfThisComputer) {
    std::string name, error = "left from before";
    ASSERT_TRUE(LocalHostName(name, error)) << error;
    EXPECT_EQ(error, "");
    char expected[256] = {};
    DWORD size = sizeof expected;
    // The DNS host name as the system gives it to any program.
    ASSERT_TRUE(::GetComputerNameExA(ComputerNameDnsHostname, expected, &size));
    EXPECT_EQ(name, expected);
}

TEST(WinNetwork, AddressesAreFound) {
    std::string dotted, error;
    EXPECT_TRUE(ResolveIPv4("localhost", dotted, error)) << error;
    EXPECT_EQ(dotted, "127.0.0.1");
    EXPECT_EQ(error, "");
    EXPECT_FALSE(ResolveIPv4(" \t", dotted, error));
    EXPECT_EQ(dotted, ""); // not the address found before
    EXPECT_NE(error, "");
}

TEST(WinNetwork, EchoOfThisComputer) {
    const std::uint32_t loopback = ::htonl(INADDR_LOOPBACK);
    EchoReply reply;
    reply.Status = 12345;
    std::string error;
    const bool answered = SendIcmpEcho(loopback, "Echo This", 1000, reply, error);
    // Wine sends the echo through an ICMP socket of Linux, which needs a group of
    // net.ipv4.ping_group_range or CAP_NET_RAW; Windows needs no permission.
    if (!answered && reply.Status == IP_GENERAL_FAILURE && test::RunningUnderWine())
        GTEST_SKIP() << "Wine may not open an ICMP socket for this user: " << error;
    ASSERT_TRUE(answered) << reply.Status << ": " << error;
    EXPECT_EQ(reply.Status, 0u);
    EXPECT_EQ(reply.DataSize, 9u);
    EXPECT_LT(reply.RoundTripTime, 1000u);
    EXPECT_EQ(error, "");
}

} // namespace
} // namespace kirva::platform
