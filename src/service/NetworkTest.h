// The network test of a machine (one ICMP echo) and this workstation's own address.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/platform.h"

namespace kirva::TK_PING {

inline constexpr const char* kEchoData = "Echo This";  // request data, 9 bytes
inline constexpr std::uint32_t kReplyBufferSize = 278; // reply record and its 250-byte data area
inline constexpr std::uint32_t kEchoTimeoutMs = 200;

// Dotted address of this computer (host name, first address), or "" with error set.
std::string GetIPAddress(std::string& error);
// First address of a host name or dotted address (trimmed), or "" with error set.
std::string GetIPFromHostName(const std::string& host, std::string& error);
// "a.b.c.d" as a 32-bit address whose bytes in memory are a, b, c, d (network byte order).
// Each part follows the number-prefix rule and keeps its low byte; a missing part is 0.
std::uint32_t AddressStringToLong(const std::string& dotted);
// The four bytes of an address in memory order.
std::array<std::uint8_t, 4> AddressBytes(std::uint32_t address);
// One echo to a dotted address: the round-trip time on success, else minus the status.
std::int64_t Ping(const std::string& dotted, platform::EchoReply& reply, std::string& error);
// "<code>   [ <text> ]" for an ICMP status code.
std::string GetStatusCode(std::uint32_t status);

} // namespace kirva::TK_PING
