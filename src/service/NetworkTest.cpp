#include "service/NetworkTest.h"

#include <cmath>
#include <cstring>
#include <string_view>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"

namespace kirva::TK_PING {

namespace {

constexpr const char* kLineBreak = "\r\n";

struct StatusEntry {
    std::uint32_t code;
    std::string_view text;
};

constexpr StatusEntry kStatusTexts[] = {
    {0, "ip success"},
    {200, "ping timeout"},
    {11001, "ip buf too_small"},
    {11002, "ip dest net unreachable"},
    {11003, "ip dest host unreachable"},
    {11004, "ip dest prot unreachable"},
    {11005, "ip dest port unreachable"},
    {11006, "ip no resources"},
    {11007, "ip bad option"},
    {11008, "ip hw_error"},
    {11009, "ip packet too_big"},
    {11010, "ip req timed out"},
    {11011, "ip bad req"},
    {11012, "ip bad route"},
    {11013, "ip ttl expired transit"},
    {11014, "ip ttl expired reassem"},
    {11015, "ip param_problem"},
    {11016, "ip source quench"},
    {11017, "ip option too_big"},
    {11018, "ip bad destination"},
    {11019, "ip addr deleted"},
    {11020, "ip spec mtu change"},
    {11021, "ip mtu_change"},
    {11022, "ip unload"},
    {11023, "ip addr added"},
    {11050, "ip general failure"},
    {11255, "ip pending"},
};
constexpr std::uint32_t kStatusBadDestination = 11018;
constexpr std::string_view kUnknownStatus = "unknown  msg returned";

// Low byte of one part of a dotted address (number-prefix rule, nearest integer).
std::uint8_t AddressPart(const std::string& part) {
    const double value = RoundHalfEven(ParseLeadingNumber(part));
    if (!std::isfinite(value) || std::fabs(value) > 9.0e18) return 0;
    return static_cast<std::uint8_t>(static_cast<std::int64_t>(value) & 0xFF);
}

} // namespace

std::string GetIPAddress(std::string& error) {
    error.clear();
    std::string name, platformError;
    if (!platform::LocalHostName(name, platformError)) {
        error = "Windows Sockets error " + platformError + " has occurred." + kLineBreak +
                "Unable to successfully get Host Name.";
        return {};
    }
    std::string dotted;
    if (!platform::ResolveIPv4(Trim(name), dotted, platformError)) {
        error = std::string("Windows Sockets are not responding.") + kLineBreak +
                "Unable to successfully get Host Name.";
        return {};
    }
    return dotted;
}

std::string GetIPFromHostName(const std::string& host, std::string& error) {
    error.clear();
    std::string dotted, platformError;
    const std::string name = Trim(host);
    if (name.empty() || !platform::ResolveIPv4(name, dotted, platformError)) {
        error = "Windows Sockets are not responding. Unable to successfully get Host Name.";
        return {};
    }
    return dotted;
}

std::uint32_t AddressStringToLong(const std::string& dotted) {
    std::uint8_t bytes[4] = {0, 0, 0, 0};
    std::size_t start = 0;
    for (int i = 0; i < 4 && start <= dotted.size(); ++i) {
        const std::size_t dot = dotted.find('.', start);
        const std::size_t end = dot == std::string::npos ? dotted.size() : dot;
        bytes[i] = AddressPart(dotted.substr(start, end - start));
        if (dot == std::string::npos) break;
        start = dot + 1;
    }
    std::uint32_t address = 0;
    std::memcpy(&address, bytes, sizeof address);
    return address;
}

std::array<std::uint8_t, 4> AddressBytes(std::uint32_t address) {
    std::array<std::uint8_t, 4> bytes{};
    std::memcpy(bytes.data(), &address, sizeof address);
    return bytes;
}

std::int64_t Ping(const std::string& dotted, platform::EchoReply& reply, std::string& error) {
    error.clear();
    reply = platform::EchoReply{};
    if (Trim(dotted).empty()) {
        // No address at all: nothing is sent, as the ICMP library refuses such a destination.
        reply.Status = kStatusBadDestination;
        return -static_cast<std::int64_t>(reply.Status);
    }
    const std::uint32_t address = AddressStringToLong(dotted);
    if (platform::SendIcmpEcho(address, kEchoData, kEchoTimeoutMs, reply, error)) {
        return static_cast<std::int64_t>(reply.RoundTripTime);
    }
    return -static_cast<std::int64_t>(reply.Status);
}

std::string GetStatusCode(std::uint32_t status) {
    std::string_view text = kUnknownStatus;
    for (const auto& entry : kStatusTexts) {
        if (entry.code == status) {
            text = entry.text;
            break;
        }
    }
    return std::to_string(status) + "   [ " + std::string(text) + " ]";
}

} // namespace kirva::TK_PING
