// One ICMP echo request and its answer, reported with the status codes of the Windows ICMP
// library so that the window shows the same texts on every system.
//
// The unprivileged ICMP datagram socket is used when the system allows it
// (net.ipv4.ping_group_range holds one of the user's groups); otherwise a raw ICMP socket,
// which needs CAP_NET_RAW. On a raw socket every ICMP packet of the host arrives: the answer is
// picked out by the request's identifier and sequence number.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <linux/errqueue.h>
#include <linux/icmp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kirva::platform::posix {

namespace {

struct ErrnoStatus {
    int err;
    std::uint32_t status;
};

// Failures of the system calls themselves.
constexpr ErrnoStatus kErrnoStatus[] = {
    {ENETUNREACH, kIpDestNetUnreachable},
    {ENETDOWN, kIpDestNetUnreachable},
    {EHOSTUNREACH, kIpDestHostUnreachable},
    {EHOSTDOWN, kIpDestHostUnreachable},
    {ENOPROTOOPT, kIpDestProtUnreachable},
    {ECONNREFUSED, kIpDestPortUnreachable},
    {EMSGSIZE, kIpPacketTooBig},
    {ENOBUFS, kIpNoResources},
    {ENOMEM, kIpNoResources},
    {EAGAIN, kIpNoResources},
    {ETIMEDOUT, kIpReqTimedOut},
};

struct MessageStatus {
    int type;
    int code; // -1: any other code of the type
    std::uint32_t status;
};

// ICMP error messages about the request (type 3 destination unreachable, 4 source quench,
// 11 time exceeded, 12 parameter problem).
constexpr MessageStatus kMessageStatus[] = {
    {ICMP_DEST_UNREACH, ICMP_NET_UNREACH, kIpDestNetUnreachable},
    {ICMP_DEST_UNREACH, ICMP_HOST_UNREACH, kIpDestHostUnreachable},
    {ICMP_DEST_UNREACH, ICMP_PROT_UNREACH, kIpDestProtUnreachable},
    {ICMP_DEST_UNREACH, ICMP_PORT_UNREACH, kIpDestPortUnreachable},
    {ICMP_DEST_UNREACH, ICMP_FRAG_NEEDED, kIpPacketTooBig},
    {ICMP_DEST_UNREACH, ICMP_SR_FAILED, kIpBadRoute},
    {ICMP_DEST_UNREACH, ICMP_NET_UNKNOWN, kIpDestNetUnreachable},
    {ICMP_DEST_UNREACH, ICMP_NET_ANO, kIpDestNetUnreachable},
    {ICMP_DEST_UNREACH, ICMP_NET_UNR_TOS, kIpDestNetUnreachable},
    {ICMP_DEST_UNREACH, -1, kIpDestHostUnreachable},
    {ICMP_SOURCE_QUENCH, -1, kIpSourceQuench},
    {ICMP_TIME_EXCEEDED, ICMP_EXC_FRAGTIME, kIpTtlExpiredReassem},
    {ICMP_TIME_EXCEEDED, -1, kIpTtlExpiredTransit},
    {ICMP_PARAMETERPROB, -1, kIpParamProblem},
};

std::uint16_t ReadBigEndian16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>((bytes[0] << 8) | bytes[1]);
}

std::uint16_t InternetChecksum(const std::vector<std::uint8_t>& bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) sum += ReadBigEndian16(&bytes[i]);
    if (bytes.size() % 2 != 0) sum += static_cast<std::uint32_t>(bytes.back()) << 8;
    while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

std::string Dotted(std::uint32_t addressNetworkOrder) {
    in_addr address{};
    address.s_addr = addressNetworkOrder;
    char text[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

std::string MessageText(int type, int code) {
    const char* what = type == ICMP_DEST_UNREACH    ? "destination unreachable"
                       : type == ICMP_TIME_EXCEEDED ? "time exceeded"
                       : type == ICMP_PARAMETERPROB ? "parameter problem"
                       : type == ICMP_SOURCE_QUENCH ? "source quench"
                                                    : "ICMP message";
    return std::string(what) + " (ICMP type " + std::to_string(type) + ", code " + std::to_string(code) + ")";
}

// Reads one entry of a datagram socket's error queue. Returns the status it means for the
// request, or 0 when the entry is about something else.
std::uint32_t ReadErrorQueue(int fd, std::uint16_t sequence, std::string& text) {
    std::uint8_t payload[576];
    std::uint8_t control[512];
    iovec part{payload, sizeof payload};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = ::recvmsg(fd, &message, MSG_ERRQUEUE | MSG_DONTWAIT);
    if (size < 0) return 0;
    // The entry carries the request it answers: an echo request with our sequence number.
    if (size >= 8 && ReadBigEndian16(payload + 6) != sequence) return 0;
    for (cmsghdr* item = CMSG_FIRSTHDR(&message); item != nullptr; item = CMSG_NXTHDR(&message, item)) {
        if (item->cmsg_level != SOL_IP || item->cmsg_type != IP_RECVERR) continue;
        sock_extended_err failure{};
        std::memcpy(&failure, CMSG_DATA(item), sizeof failure);
        if (failure.ee_origin == SO_EE_ORIGIN_ICMP) {
            text = MessageText(failure.ee_type, failure.ee_code);
            return IcmpStatusForMessage(failure.ee_type, failure.ee_code);
        }
        text = ErrnoText(static_cast<int>(failure.ee_errno));
        return IcmpStatusForErrno(static_cast<int>(failure.ee_errno));
    }
    return 0;
}

} // namespace

std::uint32_t IcmpStatusForErrno(int err) {
    for (const ErrnoStatus& entry : kErrnoStatus)
        if (entry.err == err) return entry.status;
    return kIpGeneralFailure;
}

std::uint32_t IcmpStatusForMessage(int type, int code) {
    for (const MessageStatus& entry : kMessageStatus)
        if (entry.type == type && (entry.code == code || entry.code == -1)) return entry.status;
    return 0;
}

IcmpOutcome ClassifyRawPacket(const std::uint8_t* packet, std::size_t size, std::uint32_t destination,
                              std::uint16_t identifier, std::uint16_t sequence) {
    IcmpOutcome outcome;
    if (size < 20 || (packet[0] >> 4) != 4) return outcome;
    const std::size_t headerSize = static_cast<std::size_t>(packet[0] & 0x0F) * 4;
    if (headerSize < 20 || size < headerSize + 8) return outcome;
    const std::uint8_t* icmp = packet + headerSize;
    const int type = icmp[0];
    if (type == ICMP_ECHOREPLY) {
        std::uint32_t source = 0;
        std::memcpy(&source, packet + 12, 4);
        if (source != destination || ReadBigEndian16(icmp + 4) != identifier ||
            ReadBigEndian16(icmp + 6) != sequence)
            return outcome;
        outcome.kind = IcmpOutcome::Reply;
        outcome.dataSize = static_cast<std::uint16_t>(size - headerSize - 8);
        return outcome;
    }
    // An error message quotes the IP header and the first 8 bytes of the packet it is about.
    const std::uint32_t status = IcmpStatusForMessage(type, icmp[1]);
    if (status == 0) return outcome;
    const std::uint8_t* quoted = icmp + 8;
    const std::size_t quotedSize = size - headerSize - 8;
    if (quotedSize < 20 || (quoted[0] >> 4) != 4) return outcome;
    const std::size_t quotedHeaderSize = static_cast<std::size_t>(quoted[0] & 0x0F) * 4;
    if (quotedHeaderSize < 20 || quotedSize < quotedHeaderSize + 8 || quoted[9] != IPPROTO_ICMP)
        return outcome;
    std::uint32_t quotedDestination = 0;
    std::memcpy(&quotedDestination, quoted + 16, 4);
    const std::uint8_t* request = quoted + quotedHeaderSize;
    if (quotedDestination != destination || request[0] != ICMP_ECHO ||
        ReadBigEndian16(request + 4) != identifier || ReadBigEndian16(request + 6) != sequence)
        return outcome;
    outcome.kind = IcmpOutcome::Failure;
    outcome.status = status;
    return outcome;
}

IcmpOutcome ClassifyDatagramPacket(const std::uint8_t* packet, std::size_t size, std::uint16_t sequence) {
    IcmpOutcome outcome;
    if (size < 8 || packet[0] != ICMP_ECHOREPLY || ReadBigEndian16(packet + 6) != sequence) return outcome;
    outcome.kind = IcmpOutcome::Reply;
    outcome.dataSize = static_cast<std::uint16_t>(size - 8);
    return outcome;
}

bool SendIcmpEchoWith(IcmpSocketKind kind, std::uint32_t addressNetworkOrder, const std::string& data,
                      std::uint32_t timeoutMs, EchoReply& reply, std::string& error) {
    using Clock = std::chrono::steady_clock;
    reply = EchoReply{};
    error.clear();
    const std::string target = Dotted(addressNetworkOrder);
    const auto fail = [&](std::uint32_t status, const std::string& text) {
        reply.Status = status;
        error = text;
        return false;
    };

    // 0.0.0.0 would reach this computer itself: an address that was not found is no destination.
    if (addressNetworkOrder == 0) return fail(kIpBadDestination, "No address to send the echo request to.");

    int fd = -1;
    int openError = 0;
    bool raw = false;
    if (kind != IcmpSocketKind::Raw) {
        fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_ICMP);
        if (fd < 0) openError = errno;
    }
    if (fd < 0 && kind != IcmpSocketKind::Datagram) {
        fd = ::socket(AF_INET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_ICMP);
        if (fd < 0) openError = errno;
        raw = fd >= 0;
    }
    if (fd < 0) {
        if (openError == EACCES || openError == EPERM)
            return fail(kIpGeneralFailure,
                        "ICMP sockets are not permitted for this user. Allow them with "
                        "sysctl -w net.ipv4.ping_group_range=\"0 2147483647\" (or give the program the "
                        "CAP_NET_RAW capability).");
        return fail(IcmpStatusForErrno(openError), "Cannot open an ICMP socket: " + ErrnoText(openError));
    }
    const Descriptor socket(fd);
    if (raw) {
        // Only the answers that can concern a request: echo reply and the error messages.
        icmp_filter filter{};
        filter.data = ~((1U << ICMP_ECHOREPLY) | (1U << ICMP_DEST_UNREACH) | (1U << ICMP_SOURCE_QUENCH) |
                        (1U << ICMP_TIME_EXCEEDED) | (1U << ICMP_PARAMETERPROB));
        ::setsockopt(fd, SOL_RAW, ICMP_FILTER, &filter, sizeof filter);
    } else {
        // ICMP errors about the request arrive on the error queue with their type and code.
        const int on = 1;
        ::setsockopt(fd, SOL_IP, IP_RECVERR, &on, sizeof on);
    }

    // The system puts its own identifier on a datagram socket's requests and passes it only
    // the answers that carry it.
    static std::atomic<std::uint16_t> nextSequence{static_cast<std::uint16_t>(::getpid() * 7919)};
    const std::uint16_t identifier = raw ? static_cast<std::uint16_t>(::getpid() & 0xFFFF) : 0;
    const std::uint16_t sequence = nextSequence++;
    std::vector<std::uint8_t> request(8 + data.size(), 0);
    request[0] = ICMP_ECHO;
    request[4] = static_cast<std::uint8_t>(identifier >> 8);
    request[5] = static_cast<std::uint8_t>(identifier & 0xFF);
    request[6] = static_cast<std::uint8_t>(sequence >> 8);
    request[7] = static_cast<std::uint8_t>(sequence & 0xFF);
    std::memcpy(request.data() + 8, data.data(), data.size());
    const std::uint16_t checksum = InternetChecksum(request);
    request[2] = static_cast<std::uint8_t>(checksum >> 8);
    request[3] = static_cast<std::uint8_t>(checksum & 0xFF);

    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = addressNetworkOrder;
    const auto start = Clock::now();
    ssize_t sent;
    do
        sent = ::sendto(fd, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                        sizeof to);
    while (sent < 0 && errno == EINTR);
    if (sent < 0) {
        const int err = errno;
        return fail(IcmpStatusForErrno(err),
                    "Cannot send the echo request to " + target + ": " + ErrnoText(err));
    }

    const auto deadline = start + std::chrono::milliseconds(timeoutMs);
    std::vector<std::uint8_t> buffer(65536);
    for (;;) {
        const auto now = Clock::now();
        if (now >= deadline)
            return fail(kIpReqTimedOut,
                        "No answer from " + target + " within " + std::to_string(timeoutMs) + " ms.");
        const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - now).count();
        pollfd watch{fd, POLLIN, 0};
        const int ready = ::poll(&watch, 1, static_cast<int>(remaining));
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0)
            return fail(kIpGeneralFailure, "Waiting for the echo reply failed: " + ErrnoText(errno));
        if (ready == 0) continue;

        std::string text;
        if (!raw && (watch.revents & POLLERR) != 0) {
            if (const std::uint32_t status = ReadErrorQueue(fd, sequence, text); status != 0)
                return fail(status, target + ": " + text);
            // Not about this request: clear the pending error so that waiting goes on.
            int pending = 0;
            socklen_t length = sizeof pending;
            ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &pending, &length);
            continue;
        }
        const ssize_t size = ::recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (size < 0) {
            const int err = errno;
            if (err == EAGAIN || err == EWOULDBLOCK || err == EINTR) continue;
            if (!raw) {
                if (const std::uint32_t status = ReadErrorQueue(fd, sequence, text); status != 0)
                    return fail(status, target + ": " + text);
            }
            return fail(IcmpStatusForErrno(err),
                        "Receiving the echo reply from " + target + " failed: " + ErrnoText(err));
        }
        const IcmpOutcome outcome =
            raw ? ClassifyRawPacket(buffer.data(), static_cast<std::size_t>(size), addressNetworkOrder,
                                    identifier, sequence)
                : ClassifyDatagramPacket(buffer.data(), static_cast<std::size_t>(size), sequence);
        if (outcome.kind == IcmpOutcome::Reply) {
            reply.Status = kIpSuccess;
            reply.RoundTripTime = static_cast<std::uint32_t>(
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
            reply.DataSize = outcome.dataSize;
            return true;
        }
        if (outcome.kind == IcmpOutcome::Failure) {
            const std::uint8_t* icmp = buffer.data() + static_cast<std::size_t>(buffer[0] & 0x0F) * 4;
            return fail(outcome.status, target + ": " + MessageText(icmp[0], icmp[1]));
        }
    }
}

} // namespace kirva::platform::posix
