// Host name and IPv4 address look-up through Windows Sockets. Each call starts Windows Sockets
// (version 1.1, the version the suite's programs ask for) and cleans up after itself.
#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <ws2tcpip.h>

namespace kirva::platform {

namespace {

std::string Trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// Windows Sockets for the life of the object. Usable() is false, with the Winsock error number in
// Error(), when they could not be started or are older than 1.1.
class Sockets {
  public:
    Sockets() {
        WSADATA data{};
        error_ = ::WSAStartup(MAKEWORD(1, 1), &data);
        started_ = error_ == 0;
        if (started_ &&
            (LOBYTE(data.wVersion) < 1 || (LOBYTE(data.wVersion) == 1 && HIBYTE(data.wVersion) < 1)))
            error_ = WSAVERNOTSUPPORTED;
    }
    ~Sockets() {
        if (started_) ::WSACleanup();
    }
    Sockets(const Sockets&) = delete;
    Sockets& operator=(const Sockets&) = delete;
    bool Usable() const { return error_ == 0; }
    int Error() const { return error_; }

  private:
    bool started_ = false;
    int error_ = 0;
};

} // namespace

// The error text of a failure is the Winsock error number: the network test shows it as
// "Windows Sockets error <number> has occurred."
bool LocalHostName(std::string& name, std::string& error) {
    name.clear();
    try {
        const Sockets sockets;
        if (!sockets.Usable()) {
            error = std::to_string(sockets.Error());
            return false;
        }
        char buffer[256] = {};
        if (::gethostname(buffer, sizeof buffer - 1) != 0) {
            error = std::to_string(::WSAGetLastError());
            return false;
        }
        // The ANSI name of the computer, as UTF-8 for the core.
        name = win32::AnsiToUtf8(buffer);
        error.clear();
        return true;
    } catch (const std::exception&) {
        error = std::to_string(WSA_NOT_ENOUGH_MEMORY);
        return false;
    }
}

bool ResolveIPv4(const std::string& host, std::string& dotted, std::string& error) {
    dotted.clear();
    try {
        const std::string wanted = Trimmed(host);
        if (wanted.empty()) {
            error = "No host name given.";
            return false;
        }
        const Sockets sockets;
        if (!sockets.Usable()) {
            error = "Windows Sockets cannot be started: " + win32::LastErrorText(sockets.Error());
            return false;
        }
        ADDRINFOW hints{};
        hints.ai_family = AF_INET;
        hints.ai_socktype = SOCK_DGRAM;
        ADDRINFOW* found = nullptr;
        const int result = ::GetAddrInfoW(win32::Widen(wanted).c_str(), nullptr, &hints, &found);
        if (result != 0 || found == nullptr) {
            error = "Unable to find the address of \"" + wanted + "\": " +
                    win32::LastErrorText(static_cast<DWORD>(result != 0 ? result : WSAHOST_NOT_FOUND));
            if (found != nullptr) ::FreeAddrInfoW(found);
            return false;
        }
        // The first address, its four bytes in decimal.
        const auto* address = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&address->sin_addr);
        dotted = std::to_string(bytes[0]) + "." + std::to_string(bytes[1]) + "." + std::to_string(bytes[2]) +
                 "." + std::to_string(bytes[3]);
        ::FreeAddrInfoW(found);
        error.clear();
        return true;
    } catch (const std::exception&) {
        error = "Not enough memory to look the host up.";
        return false;
    }
}

} // namespace kirva::platform
