// Host look-up and ICMP echo. Packets go to 127.0.0.1 only, either on this machine's loopback
// or inside a network namespace that the test makes for itself and that has no other interface.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>

namespace kirva::platform {
namespace {

using posix::IcmpOutcome;
using enum posix::IcmpSocketKind;
const std::uint32_t kLoopback = htonl(INADDR_LOOPBACK);
const std::uint32_t kOther = htonl(0x7F000002); // an address of no concern to the request

TEST(PlatformNetwork, SystemErrorsAndIcmpMessagesGiveWindowsStatusCodes) {
    const int errnos[][2] = {{ENETUNREACH, 11002}, {EHOSTUNREACH, 11003}, {ECONNREFUSED, 11005},
                             {EMSGSIZE, 11009},    {ENOBUFS, 11006},      {EINVAL, 11050}};
    for (const auto& e : errnos) EXPECT_EQ(posix::IcmpStatusForErrno(e[0]), std::uint32_t(e[1])) << e[0];
    // type, code, status
    const int messages[][3] = {{3, 0, 11002},  {3, 1, 11003},  {3, 2, 11004},  {3, 3, 11005},
                               {3, 4, 11009},  {3, 13, 11003}, {11, 0, 11013}, {11, 1, 11014},
                               {12, 0, 11015}, {4, 0, 11016},  {5, 1, 0},      {0, 0, 0}};
    for (const auto& m : messages)
        EXPECT_EQ(posix::IcmpStatusForMessage(m[0], m[1]), std::uint32_t(m[2])) << m[0] << "/" << m[1];
}

// An IPv4 packet from `source` to `destination` holding an ICMP message and its payload.
std::vector<std::uint8_t> Packet(std::uint32_t source, std::uint32_t destination, std::uint8_t type,
                                 std::uint8_t code, std::uint16_t id, std::uint16_t seq,
                                 const std::vector<std::uint8_t>& payload = {}) {
    const std::uint8_t icmp[8] = {
        type, code, 0, 0, std::uint8_t(id >> 8), std::uint8_t(id), std::uint8_t(seq >> 8), std::uint8_t(seq)};
    std::vector<std::uint8_t> bytes(28 + payload.size());
    bytes[0] = 0x45;
    bytes[9] = IPPROTO_ICMP;
    std::memcpy(&bytes[12], &source, 4);
    std::memcpy(&bytes[16], &destination, 4);
    std::memcpy(&bytes[20], icmp, 8);
    std::copy(payload.begin(), payload.end(), bytes.begin() + 28);
    return bytes;
}

TEST(PlatformNetwork, RawSocketPicksTheAnswerToItsOwnRequest) {
    const std::vector<std::uint8_t> data(9, 'x');
    const auto ours = Packet(kOther, kLoopback, 8, 0, 77, 5);
    const auto theirs = Packet(kOther, kLoopback, 8, 0, 78, 5);
    const struct {
        const char* what;
        std::vector<std::uint8_t> packet;
        IcmpOutcome::Kind kind = IcmpOutcome::Ignore;
        std::uint32_t status = 0;
        std::uint16_t size = 0;
    } cases[] = {
        {"reply", Packet(kLoopback, kOther, 0, 0, 77, 5, data), IcmpOutcome::Reply, 0, 9},
        {"reply to another program", Packet(kLoopback, kOther, 0, 0, 78, 5, data)},
        {"reply to an older request", Packet(kLoopback, kOther, 0, 0, 77, 4, data)},
        {"reply from another host", Packet(kOther, kOther, 0, 0, 77, 5, data)},
        {"host unreachable", Packet(kOther, kOther, 3, 1, 0, 0, ours), IcmpOutcome::Failure, 11003},
        {"unreachable for another program", Packet(kOther, kOther, 3, 1, 0, 0, theirs)},
        {"redirect", Packet(kOther, kOther, 5, 1, 0, 0, ours)},
        {"truncated", {0x45, 0, 0}},
    };
    for (const auto& c : cases) {
        const auto outcome = posix::ClassifyRawPacket(c.packet.data(), c.packet.size(), kLoopback, 77, 5);
        EXPECT_EQ(outcome.kind, c.kind) << c.what;
        EXPECT_EQ(outcome.status, c.status) << c.what;
        EXPECT_EQ(outcome.dataSize, c.size) << c.what;
    }
}

// ------------------------------------------------------------------ in a private network namespace

bool BringLoopbackUp() {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool ok = ::ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    ok = ok && ::ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    ::close(fd);
    return ok;
}

bool SetNetworkSetting(const std::string& name, const std::string& value) {
    return static_cast<bool>(std::ofstream("/proc/sys/net/ipv4/" + name) << value << std::flush);
}

// Each case in a network namespace of its own, where the loopback interface starts down.
TEST(PlatformNetwork, UnreachableSilentAndRefusedInAPrivateNamespace) {
    const char* const kAll = "0 2147483647"; // net.ipv4.ping_group_range: who may open datagram sockets
    const char* const kNone = "1 0";
    const struct {
        const char* what;
        bool loopbackUp;
        bool ignoreEchoes; // the namespace's stack does not answer echoes: a silent address
        const char* pingGroup;
        bool unprivileged; // the child gives up root (and CAP_NET_RAW) first
        posix::IcmpSocketKind kind;
        std::uint32_t status; // 0: answered with the 9 bytes sent
    } cases[] = {
        {"loopback down", false, false, kNone, false, Automatic, 11002},
        {"datagram socket", true, false, kAll, false, Datagram, 0},
        {"raw socket", true, false, kAll, false, Raw, 0},
        {"silent, raw", true, true, kAll, false, Raw, 11010},
        {"silent, datagram", true, true, kAll, false, Datagram, 11010},
        {"datagram not permitted", true, false, kNone, false, Datagram, 11050},
        {"no socket permitted", true, false, kNone, true, Automatic, 11050},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        // The child's exit code: 0 answered, 1 answered with other bytes, else the status less 11000.
        const int code = test::RunInChild([&] {
            if (::unshare(CLONE_NEWNET) != 0) return 77;
            if ((c.loopbackUp && !BringLoopbackUp()) ||
                !SetNetworkSetting("icmp_echo_ignore_all", c.ignoreEchoes ? "1" : "0") ||
                !SetNetworkSetting("ping_group_range", c.pingGroup) ||
                (c.unprivileged && (::setgid(65534) != 0 || ::setuid(65534) != 0)))
                return 78;
            EchoReply reply;
            std::string error;
            if (posix::SendIcmpEchoWith(c.kind, kLoopback, "Echo This", 50, reply, error))
                return reply.Status == 0 && reply.DataSize == 9 ? 0 : 1;
            return static_cast<int>(reply.Status) - 11000;
        });
        if (code == 77) GTEST_SKIP() << "network namespaces are not permitted here";
        if (code == 78)
            std::cout << "[  NOTE    ] could not set up: " << c.what << "\n";
        else
            EXPECT_EQ(code, c.status == 0 ? 0 : static_cast<int>(c.status) - 11000);
    }
}

} // namespace
} // namespace kirva::platform
