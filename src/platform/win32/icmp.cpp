// One ICMP echo through the Windows ICMP library (IcmpCreateFile, IcmpSendEcho, IcmpCloseHandle).
// The reply's status is passed on as the library gives it; the network test turns it into text.
#include "platform/platform.h"
#include "platform/win32/internal.h"

// After windows.h (internal.h), and in this order: the ICMP declarations use the types of the IP
// helper library.
#include <iphlpapi.h>
// (kept apart so that the order stays)
#include <icmpapi.h>

#include <algorithm>
#include <vector>

namespace kirva::platform {

namespace {

// The library's own status codes lie in this range (IP_STATUS_BASE 11000 to IP_PENDING 11255).
bool IsIpStatus(DWORD code) {
    return code >= IP_STATUS_BASE && code <= IP_STATUS_BASE + 255;
}

// Room for the echoed data of the largest request the suite sends.
constexpr std::size_t kEchoArea = 250;

// An ICMP handle, closed with IcmpCloseHandle when the object goes.
class IcmpHandle {
  public:
    IcmpHandle() : handle_(::IcmpCreateFile()) {}
    ~IcmpHandle() {
        if (valid()) ::IcmpCloseHandle(handle_);
    }
    IcmpHandle(const IcmpHandle&) = delete;
    IcmpHandle& operator=(const IcmpHandle&) = delete;
    bool valid() const { return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr; }
    HANDLE get() const { return handle_; }

  private:
    HANDLE handle_;
};

} // namespace

bool SendIcmpEcho(std::uint32_t addressNetworkOrder, const std::string& data, std::uint32_t timeoutMs,
                  EchoReply& reply, std::string& error) {
    reply = EchoReply{};
    error.clear();
    try {
        if (data.size() > 0xFFFF) {
            reply.Status = IP_GENERAL_FAILURE;
            error = "The echo request is too long.";
            return false;
        }
        const IcmpHandle icmp;
        if (!icmp.valid()) {
            reply.Status = IP_GENERAL_FAILURE;
            error = "The ICMP library cannot be opened: " + win32::LastErrorText(::GetLastError());
            return false;
        }
        // One reply record, the echoed data, and the 8 bytes of an ICMP error message. Kept in
        // units of the record so that it is aligned as the record needs.
        const std::size_t bytes = sizeof(ICMP_ECHO_REPLY) + std::max(kEchoArea, data.size()) + 8;
        std::vector<ICMP_ECHO_REPLY> buffer((bytes + sizeof(ICMP_ECHO_REPLY) - 1) / sizeof(ICMP_ECHO_REPLY));
        const DWORD bufferSize = static_cast<DWORD>(buffer.size() * sizeof(ICMP_ECHO_REPLY));
        ::SetLastError(ERROR_SUCCESS);
        const DWORD count = ::IcmpSendEcho(icmp.get(), static_cast<IPAddr>(addressNetworkOrder),
                                           const_cast<char*>(data.data()), static_cast<WORD>(data.size()),
                                           nullptr, buffer.data(), bufferSize, timeoutMs);
        const DWORD lastError = ::GetLastError();
        const ICMP_ECHO_REPLY& answer = buffer.front();
        if (count > 0) {
            reply.Status = answer.Status;
            reply.RoundTripTime = answer.RoundTripTime;
            reply.DataSize = answer.DataSize;
            if (answer.Status == IP_SUCCESS) return true;
            error = "The echo request was answered with status " + std::to_string(answer.Status) + ".";
            return false;
        }
        // No reply: the library says why in the record or as the last error (11010 on a time-out).
        if (answer.Status != IP_SUCCESS)
            reply.Status = answer.Status;
        else if (IsIpStatus(lastError))
            reply.Status = lastError;
        else
            reply.Status = IP_GENERAL_FAILURE;
        error = "No echo reply: " + win32::LastErrorText(lastError);
        return false;
    } catch (const std::exception&) {
        reply.Status = IP_NO_RESOURCES;
        error = "Not enough memory for the echo request.";
        return false;
    }
}

} // namespace kirva::platform
