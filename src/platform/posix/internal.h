// Helpers shared by the POSIX backend. Internal to src/platform/posix; the tests of the
// platform layer use them to reach what the public interface hides (folders, tables).
#pragma once

#include "platform/platform.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kirva::platform::posix {

// ------------------------------------------------------------------ text
// Lower-cases ASCII letters and the Latin-1 capitals (À..Þ except ×). UTF-8 text is folded
// as UTF-8; text that is not valid UTF-8 is taken as Latin-1 bytes.
std::string FoldCase(std::string_view text);
// Text without leading and trailing blanks and tabs.
std::string_view TrimBlanks(std::string_view text);
// Value of an environment variable, or the fallback when it is unset or empty.
std::string EnvOr(const char* name, const std::string& fallback);
// Text of an errno value.
std::string ErrnoText(int err);

// ------------------------------------------------------------------ folders
// ${XDG_RUNTIME_DIR:-/tmp}/marovex: the single-instance lock and the notification sockets.
std::string RuntimeFolder();
// Creates the runtime folder when missing: 0700 below XDG_RUNTIME_DIR, 01777 (shared like
// /tmp) when it falls back to /tmp. False when the folder cannot be made.
bool EnsureRuntimeFolder();
// Socket on which the program with this process id receives its window messages.
std::string NotificationSocketPath(std::int64_t handle);
// $KIRVA_REGISTRY, or ${XDG_CONFIG_HOME:-~/.config}/marovex/registry.ini.
std::string RegistryFilePath();

// ------------------------------------------------------------------ files
// A file descriptor closed when the object goes.
class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor() { Reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    void Reset(int fd = -1);
    // Gives the descriptor up without closing it.
    int Release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

  private:
    int fd_;
};

// The file that a path names once symbolic links are followed: a link stays a link, and the file
// it points to is the one written, even when it does not exist yet. False (errno ELOOP) on a loop
// or a chain of more than 40 links.
bool ResolveLinks(const std::string& path, std::string& target);
// A temporary file beside `path` (".<name>.<pid>-<counter>.tmp"), created exclusively, never
// through a link, with mode 0600. Returns the descriptor (-1 with errno) and its path.
int CreateTemporaryBeside(const std::string& path, std::string& temporary);
// Whether a folder entry is a temporary file of the file named `name`.
bool IsTemporaryOf(std::string_view entry, std::string_view name);
// Removes the temporary files of `path` that are older than a minute (left by a killed writer),
// at the first call for that path in this process.
void RemoveStaleTemporaries(const std::string& path);

// ------------------------------------------------------------------ ICMP echo
// Windows ICMP status codes used by the echo.
enum : std::uint32_t {
    kIpSuccess = 0,
    kIpDestNetUnreachable = 11002,
    kIpDestHostUnreachable = 11003,
    kIpDestProtUnreachable = 11004,
    kIpDestPortUnreachable = 11005,
    kIpNoResources = 11006,
    kIpPacketTooBig = 11009,
    kIpReqTimedOut = 11010,
    kIpBadRoute = 11012,
    kIpTtlExpiredTransit = 11013,
    kIpTtlExpiredReassem = 11014,
    kIpBadDestination = 11018,
    kIpParamProblem = 11015,
    kIpSourceQuench = 11016,
    kIpGeneralFailure = 11050,
};

// Status for a failed system call of the echo (errno value).
std::uint32_t IcmpStatusForErrno(int err);
// Status for an ICMP error message about the request; 0 for a message that is not an answer
// (a redirect, an unknown type), which the echo ignores while it waits.
std::uint32_t IcmpStatusForMessage(int type, int code);

// What one received packet means for the request being waited for.
struct IcmpOutcome {
    enum Kind { Ignore, Reply, Failure } kind = Ignore;
    std::uint32_t status = 0;   // for Failure
    std::uint16_t dataSize = 0; // for Reply: payload bytes echoed
};
// A packet read from a raw ICMP socket (IP header first), for the request sent to
// `destination` (network order) with this identifier and sequence number.
IcmpOutcome ClassifyRawPacket(const std::uint8_t* packet, std::size_t size, std::uint32_t destination,
                              std::uint16_t identifier, std::uint16_t sequence);
// A packet read from an ICMP datagram socket (ICMP header first); the system has already
// matched the identifier.
IcmpOutcome ClassifyDatagramPacket(const std::uint8_t* packet, std::size_t size, std::uint16_t sequence);

enum class IcmpSocketKind { Automatic, Datagram, Raw };
// The echo with a chosen socket kind (Automatic: datagram, raw when that is refused).
bool SendIcmpEchoWith(IcmpSocketKind kind, std::uint32_t addressNetworkOrder, const std::string& data,
                      std::uint32_t timeoutMs, EchoReply& reply, std::string& error);

// ------------------------------------------------------------------ serial ports
// Serial devices of `devFolder` in COM order: ttyS* (those with a UART, as `sysTtyFolder`
// tells), then ttyUSB*, then ttyACM*, each group by number.
std::vector<std::string> ListSerialDevices(const std::string& devFolder, const std::string& sysTtyFolder);
// Whether a UUCP lock file ("LCK..<device>") in `lockFolder` names a live process.
bool UucpLockHeld(const std::string& lockFolder, const std::string& device);

} // namespace kirva::platform::posix
