// The network test: address conversions, status texts, and echoes on the loopback only.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "service/NetworkTest.h"

namespace kirva {
namespace {

TEST(NetworkTest, StatusTextIsTheCodeThenItsTextInBrackets) {
    const std::vector<std::pair<std::uint32_t, std::string>> cases{
        {0, "0   [ ip success ]"},
        {200, "200   [ ping timeout ]"},
        {11001, "11001   [ ip buf too_small ]"},
        {11010, "11010   [ ip req timed out ]"},
        {11018, "11018   [ ip bad destination ]"},
        {11023, "11023   [ ip addr added ]"},
        {11050, "11050   [ ip general failure ]"},
        {11255, "11255   [ ip pending ]"},
        {11024, "11024   [ unknown  msg returned ]"},
        {1, "1   [ unknown  msg returned ]"}};
    for (const auto& [code, text] : cases) EXPECT_EQ(TK_PING::GetStatusCode(code), text);
}

TEST(NetworkTest, DottedAddressBecomesBytesInMemoryOrder) {
    using Bytes = std::array<std::uint8_t, 4>;
    const std::vector<std::pair<std::string, Bytes>> cases{{"10.0.0.1", {0x0A, 0x00, 0x00, 0x01}},
                                                           {"192.168.1.5", {0xC0, 0xA8, 0x01, 0x05}},
                                                           {"255.255.255.255", {0xFF, 0xFF, 0xFF, 0xFF}},
                                                           {"256.1.2.3", {0x00, 0x01, 0x02, 0x03}},
                                                           {"1.2", {0x01, 0x02, 0x00, 0x00}},
                                                           {"", {0, 0, 0, 0}},
                                                           {"a.b.c.d", {0, 0, 0, 0}},
                                                           {" 10 .0.0.1x", {0x0A, 0x00, 0x00, 0x01}}};
    for (const auto& [dotted, bytes] : cases)
        EXPECT_EQ(TK_PING::AddressBytes(TK_PING::AddressStringToLong(dotted)), bytes) << dotted;
}

TEST(NetworkTest, LocalAddressIsDottedOrEmptyWithAnError) {
    std::string error;
    const std::string address = TK_PING::GetIPAddress(error);
    EXPECT_NE(address.empty(), error.empty());
    if (!address.empty()) {
        EXPECT_EQ(std::count(address.begin(), address.end(), '.'), 3) << address;
        EXPECT_EQ(address.find_first_not_of("0123456789."), std::string::npos) << address;
    }
}

// Only texts that resolve without a name server: no packet leaves the computer.
TEST(NetworkTest, ResolvesDottedTextAndReportsFailures) {
    std::string error;
    EXPECT_EQ(TK_PING::GetIPFromHostName("  127.0.0.1 ", error), "127.0.0.1");
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(TK_PING::GetIPFromHostName("   ", error), "");
    EXPECT_EQ(error, "Windows Sockets are not responding. Unable to successfully get Host Name.");
}

TEST(NetworkTest, EchoToTheLoopbackSucceeds) {
    platform::EchoReply reply;
    std::string error;
    const std::int64_t result = TK_PING::Ping("127.0.0.1", reply, error);
    EXPECT_EQ(reply.Status, 0u) << error;
    EXPECT_EQ(result, static_cast<std::int64_t>(reply.RoundTripTime));
    EXPECT_EQ(reply.DataSize, 9u);                       // "Echo This"
    EXPECT_EQ(TK_PING::Ping(" ", reply, error), -11018); // no address: nothing is sent
    EXPECT_EQ(reply.Status, 11018u);
}

} // namespace
} // namespace kirva
