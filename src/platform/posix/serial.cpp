// Serial ports. COM n is the n-th device of $KIRVA_SERIAL_PORTS (device paths separated by
// ":"), or, without it, the n-th of the serial devices found in /dev.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <termios.h>
#include <tuple>
#include <unistd.h>

namespace kirva::platform {

namespace posix {

std::vector<std::string> ListSerialDevices(const std::string& devFolder, const std::string& sysTtyFolder) {
    static constexpr std::string_view kFamilies[] = {"ttyS", "ttyUSB", "ttyACM"};
    std::vector<std::tuple<std::size_t, unsigned long, std::string>> found;
    DIR* directory = ::opendir(devFolder.c_str());
    if (directory == nullptr) return {};
    while (const dirent* entry = ::readdir(directory)) {
        const std::string_view name = entry->d_name;
        for (std::size_t family = 0; family < std::size(kFamilies); ++family) {
            const std::string_view prefix = kFamilies[family];
            if (name.size() <= prefix.size() || name.substr(0, prefix.size()) != prefix) continue;
            const std::string_view digits = name.substr(prefix.size());
            if (digits.size() > 6 || digits.find_first_not_of("0123456789") != std::string_view::npos)
                continue;
            if (family == 0) {
                // The kernel makes ttyS nodes for ports it may never find; "type" 0 means no UART.
                std::ifstream type(sysTtyFolder + "/" + std::string(name) + "/type");
                std::string value;
                if (type >> value && value == "0") continue;
            }
            found.emplace_back(family, std::stoul(std::string(digits)), std::string(name));
        }
    }
    ::closedir(directory);
    std::sort(found.begin(), found.end());
    std::vector<std::string> devices;
    const std::string prefix = devFolder.empty() || devFolder.back() == '/' ? devFolder : devFolder + "/";
    for (const auto& device : found) devices.push_back(prefix + std::get<2>(device));
    return devices;
}

bool UucpLockHeld(const std::string& lockFolder, const std::string& device) {
    std::string name = device.rfind("/dev/", 0) == 0 ? device.substr(5) : device;
    std::replace(name.begin(), name.end(), '/', '_');
    const int fd = ::open((lockFolder + "/LCK.." + name).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    char buffer[64] = {};
    const ssize_t size = ::read(fd, buffer, sizeof buffer - 1);
    ::close(fd);
    long pid = 0;
    if (size == 4) {
        // Old binary lock files hold the process id as a 4-byte integer.
        std::int32_t binary = 0;
        std::memcpy(&binary, buffer, 4);
        pid = binary;
    } else if (size > 0) {
        pid = std::strtol(buffer, nullptr, 10);
    }
    return pid > 0 && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM);
}

} // namespace posix

std::string SerialDeviceForPort(int portNumber) {
    try {
        if (portNumber < 1) return {};
        std::vector<std::string> devices;
        const std::string configured = posix::EnvOr("KIRVA_SERIAL_PORTS", "");
        if (!configured.empty()) {
            std::size_t start = 0;
            while (start <= configured.size()) {
                std::size_t end = configured.find(':', start);
                if (end == std::string::npos) end = configured.size();
                devices.emplace_back(
                    posix::TrimBlanks(std::string_view(configured).substr(start, end - start)));
                start = end + 1;
            }
        } else {
            devices = posix::ListSerialDevices("/dev", "/sys/class/tty");
        }
        return static_cast<std::size_t>(portNumber) <= devices.size() ? devices[portNumber - 1]
                                                                      : std::string();
    } catch (const std::exception&) {
        return {};
    }
}

bool SerialPortExists(int portNumber) {
    const std::string device = SerialDeviceForPort(portNumber);
    return !device.empty() && ::access(device.c_str(), F_OK) == 0;
}

bool TestSerialPort(int portNumber) {
    const std::string device = SerialDeviceForPort(portNumber);
    if (device.empty()) return false;
    // A port that a program has claimed the old way, with a lock file, is occupied; it is left
    // unopened so that its lines do not move under that program.
    if (posix::UucpLockHeld("/var/lock", device)) return false;
    const int fd = ::open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return false; // missing, not permitted, or opened exclusively (EBUSY)
    termios settings{};
    const bool free =
        ::isatty(fd) != 0 && ::tcgetattr(fd, &settings) == 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    ::close(fd);
    return free;
}

} // namespace kirva::platform
