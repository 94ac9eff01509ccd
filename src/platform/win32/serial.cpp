// Serial ports: COM n is the device \\.\COMn, which reaches every port number (COM10 and above
// need that form).
#include "platform/platform.h"
#include "platform/win32/internal.h"

namespace kirva::platform {

std::string SerialDeviceForPort(int portNumber) {
    if (portNumber < 1) return {};
    return "\\\\.\\COM" + std::to_string(portNumber);
}

bool SerialPortExists(int portNumber) {
    // The system's name of every serial port it has, present whether or not a program holds it.
    if (portNumber < 1) return false;
    wchar_t target[512];
    return ::QueryDosDeviceW(win32::Widen("COM" + std::to_string(portNumber)).c_str(), target, 512) != 0;
}

bool TestSerialPort(int portNumber) {
    try {
        const std::string device = SerialDeviceForPort(portNumber);
        if (device.empty()) return false;
        // A serial port opens for one program at a time: a port that another program holds
        // refuses the open (access denied), a missing one is not found. Nothing is changed on it.
        const win32::Handle port(::CreateFileW(win32::Widen(device).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                               nullptr, OPEN_EXISTING, 0, nullptr));
        return port.valid();
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace kirva::platform
