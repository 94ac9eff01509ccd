// Host look-up and ICMP echo. Packets go to 127.0.0.1 only, either on this machine's loopback
// or inside a network namespace that the test makes for itself and that has no other interface.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <gtest/gtest.h>

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

using posix::IcmpSocketKind;
const std::uint32_t kLoopback = htonl(INADDR_LOOPBACK);
const std::uint32_t kOther = htonl(0x7F000002); // an address of no concern to the request

TEST(PlatformNetwork, ResolvesLocalNames) {
    for (const std::string host : {"localhost", "127.0.0.1", "  127.0.0.1 "}) {
        std::string dotted, error;
        EXPECT_TRUE(ResolveIPv4(host, dotted, error)) << host << ": " << error;
        EXPECT_EQ(dotted, "127.0.0.1");
    }
    std::string dotted, error;
    EXPECT_FALSE(ResolveIPv4(" ", dotted, error));
    EXPECT_EQ(dotted, "");
    EXPECT_FALSE(error.empty());
    std::string name;
    EXPECT_TRUE(LocalHostName(name, error));
    EXPECT_FALSE(name.empty());
}

TEST(PlatformNetwork, EchoToLoopbackIsAnswered) {
    EchoReply reply;
    std::string error;
    ASSERT_TRUE(SendIcmpEcho(kLoopback, "Echo This", 200, reply, error)) << error;
    EXPECT_EQ(reply.Status, 0u);
    EXPECT_EQ(reply.DataSize, 9);
    EXPECT_LT(reply.RoundTripTime, 200u);
    // An address that was not found (0.0.0.0) is sent nothing.
    EXPECT_FALSE(SendIcmpEcho(0, "Echo This", 200, reply, error));
    EXPECT_EQ(reply.Status, 11018u);
}

TEST(PlatformNetwork, SystemErrorsAndIcmpMessagesGiveWindowsStatusCodes) {
    const std::pair<int, std::uint32_t> errnos[] = {
        {ENETUNREACH, 11002}, {EHOSTUNREACH, 11003}, {ECONNREFUSED, 11005},
        {EMSGSIZE, 11009},    {ENOBUFS, 11006},      {EINVAL, 11050},
    };
    for (const auto& [err, status] : errnos) EXPECT_EQ(posix::IcmpStatusForErrno(err), status) << err;

    struct Message {
        int type, code;
        std::uint32_t status;
    };
    const Message messages[] = {
        {3, 0, 11002},  {3, 1, 11003},  {3, 2, 11004},  {3, 3, 11005}, {3, 4, 11009}, {3, 13, 11003},
        {11, 0, 11013}, {11, 1, 11014}, {12, 0, 11015}, {4, 0, 11016}, {5, 1, 0},     {0, 0, 0},
    };
    for (const Message& m : messages)
        EXPECT_EQ(posix::IcmpStatusForMessage(m.type, m.code), m.status) << m.type << "/" << m.code;
}

std::vector<std::uint8_t> Icmp(std::uint8_t type, std::uint8_t code, std::uint16_t id, std::uint16_t seq,
                               std::vector<std::uint8_t> payload = {}) {
    std::vector<std::uint8_t> bytes = {
        type, code, 0, 0, std::uint8_t(id >> 8), std::uint8_t(id), std::uint8_t(seq >> 8), std::uint8_t(seq)};
    for (std::uint8_t byte : payload) bytes.push_back(byte);
    return bytes;
}

std::vector<std::uint8_t> Ip(std::uint32_t source, std::uint32_t destination,
                             const std::vector<std::uint8_t>& icmp) {
    std::vector<std::uint8_t> bytes(20, 0);
    bytes[0] = 0x45;
    bytes[8] = 64;
    bytes[9] = IPPROTO_ICMP;
    std::memcpy(&bytes[12], &source, 4);
    std::memcpy(&bytes[16], &destination, 4);
    for (std::uint8_t byte : icmp) bytes.push_back(byte);
    return bytes;
}

TEST(PlatformNetwork, RawSocketPicksTheAnswerToItsOwnRequest) {
    const std::vector<std::uint8_t> data(9, 'x');
    const auto ours = Ip(kOther, kLoopback, Icmp(8, 0, 77, 5));
    const auto theirs = Ip(kOther, kLoopback, Icmp(8, 0, 78, 5));
    struct Case {
        const char* what;
        std::vector<std::uint8_t> packet;
        posix::IcmpOutcome::Kind kind;
        std::uint32_t status;
        std::uint16_t size;
    };
    const Case cases[] = {
        {"reply", Ip(kLoopback, kOther, Icmp(0, 0, 77, 5, data)), posix::IcmpOutcome::Reply, 0, 9},
        {"reply to another program", Ip(kLoopback, kOther, Icmp(0, 0, 78, 5, data)),
         posix::IcmpOutcome::Ignore, 0, 0},
        {"reply to an older request", Ip(kLoopback, kOther, Icmp(0, 0, 77, 4, data)),
         posix::IcmpOutcome::Ignore, 0, 0},
        {"reply from another host", Ip(kOther, kOther, Icmp(0, 0, 77, 5, data)), posix::IcmpOutcome::Ignore,
         0, 0},
        {"own request seen on loopback", ours, posix::IcmpOutcome::Ignore, 0, 0},
        {"host unreachable", Ip(kOther, kOther, Icmp(3, 1, 0, 0, ours)), posix::IcmpOutcome::Failure, 11003,
         0},
        {"ttl exceeded", Ip(kOther, kOther, Icmp(11, 0, 0, 0, ours)), posix::IcmpOutcome::Failure, 11013, 0},
        {"unreachable for another program", Ip(kOther, kOther, Icmp(3, 1, 0, 0, theirs)),
         posix::IcmpOutcome::Ignore, 0, 0},
        {"redirect", Ip(kOther, kOther, Icmp(5, 1, 0, 0, ours)), posix::IcmpOutcome::Ignore, 0, 0},
        {"truncated", {0x45, 0, 0}, posix::IcmpOutcome::Ignore, 0, 0},
    };
    for (const Case& c : cases) {
        const auto outcome = posix::ClassifyRawPacket(c.packet.data(), c.packet.size(), kLoopback, 77, 5);
        EXPECT_EQ(outcome.kind, c.kind) << c.what;
        EXPECT_EQ(outcome.status, c.status) << c.what;
        EXPECT_EQ(outcome.dataSize, c.size) << c.what;
    }
}

// ------------------------------------------------------------------ in a private network namespace

bool SetLoopback(bool up) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool ok = ::ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(up ? (request.ifr_flags | IFF_UP) : (request.ifr_flags & ~IFF_UP));
    ok = ok && ::ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    ::close(fd);
    return ok;
}

bool SetNetworkSetting(const std::string& name, const std::string& value) {
    std::ofstream file("/proc/sys/net/ipv4/" + name);
    file << value;
    file.flush();
    return file.good();
}

struct NamespaceCase {
    const char* what;
    bool loopbackUp;
    bool ignoreEchoes;     // the namespace's stack does not answer echoes: a silent address
    const char* pingGroup; // net.ipv4.ping_group_range of the namespace
    bool unprivileged;     // the child gives up root (and CAP_NET_RAW) first
    IcmpSocketKind kind;
    bool answered;
    std::uint32_t status;
};

struct NamespaceResult {
    bool ran;
    bool answered;
    std::uint32_t status;
    std::uint16_t dataSize;
};

TEST(PlatformNetwork, UnreachableSilentAndRefusedInAPrivateNamespace) {
    const NamespaceCase cases[] = {
        {"loopback down", false, false, "1 0", false, IcmpSocketKind::Automatic, false, 11002},
        {"loopback down, datagram", false, false, "0 2147483647", false, IcmpSocketKind::Datagram, false,
         11002},
        {"datagram socket", true, false, "0 2147483647", false, IcmpSocketKind::Datagram, true, 0},
        {"raw socket", true, false, "0 2147483647", false, IcmpSocketKind::Raw, true, 0},
        {"silent, raw", true, true, "0 2147483647", false, IcmpSocketKind::Raw, false, 11010},
        {"silent, datagram", true, true, "0 2147483647", false, IcmpSocketKind::Datagram, false, 11010},
        {"datagram not permitted", true, false, "1 0", false, IcmpSocketKind::Datagram, false, 11050},
        // Last: the child cannot take root back.
        {"no socket permitted", true, false, "1 0", true, IcmpSocketKind::Automatic, false, 11050},
    };
    constexpr std::size_t kCount = std::size(cases);
    int results[2];
    ASSERT_EQ(::pipe(results), 0);
    const int code = test::RunInChild([&] {
        ::close(results[0]);
        if (::unshare(CLONE_NEWNET) != 0) return 77;
        for (const NamespaceCase& c : cases) {
            NamespaceResult result{};
            result.ran = SetLoopback(c.loopbackUp) &&
                         SetNetworkSetting("icmp_echo_ignore_all", c.ignoreEchoes ? "1" : "0") &&
                         SetNetworkSetting("ping_group_range", c.pingGroup) &&
                         (!c.unprivileged || (::setgid(65534) == 0 && ::setuid(65534) == 0));
            if (result.ran) {
                EchoReply reply;
                std::string error;
                result.answered = posix::SendIcmpEchoWith(c.kind, kLoopback, "Echo This", 50, reply, error);
                result.status = reply.Status;
                result.dataSize = reply.DataSize;
            }
            if (::write(results[1], &result, sizeof result) != static_cast<ssize_t>(sizeof result)) return 1;
        }
        return 0;
    });
    ::close(results[1]);
    NamespaceResult got[kCount] = {};
    std::size_t read = 0;
    for (auto& result : got) read += ::read(results[0], &result, sizeof result) == sizeof result ? 1 : 0;
    ::close(results[0]);
    if (code == 77) GTEST_SKIP() << "network namespaces are not permitted here";
    ASSERT_EQ(code, 0);
    ASSERT_EQ(read, kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        SCOPED_TRACE(cases[i].what);
        if (!got[i].ran) {
            std::cout << "[  NOTE    ] could not set up: " << cases[i].what << "\n";
            continue;
        }
        EXPECT_EQ(got[i].answered, cases[i].answered);
        EXPECT_EQ(got[i].status, cases[i].status);
        if (cases[i].answered) {
            EXPECT_EQ(got[i].dataSize, 9);
        }
    }
}

} // namespace
} // namespace kirva::platform
