// Host name and IPv4 address look-up.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kirva::platform {

bool LocalHostName(std::string& name, std::string& error) {
    char buffer[256] = {};
    if (::gethostname(buffer, sizeof buffer - 1) != 0) {
        error = "Unable to get the host name of this computer: " + posix::ErrnoText(errno);
        name.clear();
        return false;
    }
    name = buffer;
    error.clear();
    return true;
}

bool ResolveIPv4(const std::string& host, std::string& dotted, std::string& error) {
    dotted.clear();
    const std::string wanted(posix::TrimBlanks(host));
    if (wanted.empty()) {
        error = "No host name given.";
        return false;
    }
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int result = ::getaddrinfo(wanted.c_str(), nullptr, &hints, &found);
    if (result != 0 || found == nullptr) {
        error = "Unable to find the address of \"" + wanted + "\": " +
                (result == EAI_SYSTEM ? posix::ErrnoText(errno) : std::string(::gai_strerror(result)));
        if (found != nullptr) ::freeaddrinfo(found);
        return false;
    }
    char text[INET_ADDRSTRLEN] = {};
    const auto* address = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    const bool ok = ::inet_ntop(AF_INET, &address->sin_addr, text, sizeof text) != nullptr;
    ::freeaddrinfo(found);
    if (!ok) {
        error = "Unable to write the address of \"" + wanted + "\".";
        return false;
    }
    dotted = text;
    error.clear();
    return true;
}

bool SendIcmpEcho(std::uint32_t addressNetworkOrder, const std::string& data, std::uint32_t timeoutMs,
                  EchoReply& reply, std::string& error) {
    return posix::SendIcmpEchoWith(posix::IcmpSocketKind::Automatic, addressNetworkOrder, data, timeoutMs,
                                   reply, error);
}

} // namespace kirva::platform
