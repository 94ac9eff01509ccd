// The few things that differ per operating system. The core and the window reach the
// system only through these declarations; posix/ and win32/ implement them and CMake
// links one of the two. No OS header is included here.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kirva::platform {

// Folder separator used by every path rule ("\" on Windows, "/" elsewhere).
#ifdef _WIN32
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

// ------------------------------------------------------------------ registry
// Key paths are written as on Windows, without the root ("SOFTWARE\MAROVEX\TALM\KALDERON").
enum class RegRoot { LocalMachine, CurrentUser };

// A DWORD reads as a string in decimal; a string of digits (or "0x" and hex digits) reads as a DWORD.
std::optional<std::string> RegReadString(RegRoot root, const std::string& keyPath, const std::string& name);
std::optional<std::uint32_t> RegReadDword(RegRoot root, const std::string& keyPath, const std::string& name);
std::optional<std::vector<std::uint8_t>> RegReadBinary(RegRoot root, const std::string& keyPath,
                                                       const std::string& name);
// String values; expand = REG_EXPAND_SZ instead of REG_SZ. The key is created when missing.
bool RegWriteString(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::string& value, bool expand = false);
bool RegWriteDword(RegRoot root, const std::string& keyPath, const std::string& name, std::uint32_t value);
bool RegWriteBinary(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::vector<std::uint8_t>& data);
// True when the value is gone afterwards (deleting a missing value succeeds).
bool RegDeleteValue(RegRoot root, const std::string& keyPath, const std::string& name);

// ------------------------------------------------------------------ caller notification
// Whether a window handle (on POSIX: the calling program's process id) designates a live window.
bool WindowExists(std::int64_t handle);
// Posts message/wParam/lParam to the window without waiting. False when nothing was posted.
bool PostWindowMessage(std::int64_t handle, std::uint32_t message, std::uint32_t wParam, std::int64_t lParam);

// ------------------------------------------------------------------ process-wide settings
// Takes the single-instance lock for the life of the process. False when another instance holds it.
bool AcquireSingleInstance();
// The user's decimal separator as the number formatting of this process sees it.
std::string UserDecimalSeparator();
// Makes "." the decimal separator of this process (and, on Windows, of the user's session).
bool ForceDecimalPoint();
// Folder of the running executable, without a trailing separator.
std::string ExecutableFolder();
// The command line as one text: the arguments after the program's own path, joined by blanks
// (the program's path is left out, so that a folder named "/MRV" in it does not count).
std::string CommandLine(int argc, char** argv);

// The arguments of a console program after its own path, as UTF-8 (on Windows from the UTF-16
// command line, so that any file name survives).
std::vector<std::string> ProgramArguments(int argc, char** argv);
// Prepares standard output for UTF-8 text (the console's code page on Windows) and says whether
// it is a terminal (colours may be used) rather than a file or a pipe.
bool PrepareConsoleOutput();

// ------------------------------------------------------------------ network
// Host name of this computer; false with an error text on failure.
bool LocalHostName(std::string& name, std::string& error);
// First IPv4 address of a host name or dotted address, as dotted text; false with an error text.
bool ResolveIPv4(const std::string& host, std::string& dotted, std::string& error);

struct EchoReply {
    std::uint32_t Status = 0;        // ICMP status code of the Windows ICMP library
    std::uint32_t RoundTripTime = 0; // milliseconds
    std::uint16_t DataSize = 0;      // bytes echoed back
};
// One ICMP echo to an IPv4 address (network byte order) with the given data and time-out.
// Returns true when a reply came; otherwise reply.Status says why (timeout, unreachable, ...).
bool SendIcmpEcho(std::uint32_t addressNetworkOrder, const std::string& data, std::uint32_t timeoutMs,
                  EchoReply& reply, std::string& error);

// ------------------------------------------------------------------ commands and programs
// Runs a shell command line (cmd /c on Windows, /bin/sh -c elsewhere), minimised, and waits for it.
// Returns the exit code, or -1 when it could not be started.
int RunShellCommandAndWait(const std::string& commandLine);
// Starts a command line without waiting (minimised). False when it could not be started.
bool StartShellCommand(const std::string& commandLine);
// Starts a program (full path) in a minimised window without waiting.
bool StartProgram(const std::string& path);
// Top-level windows of the user's session, in the system's window order (the first one is the
// first a walk of the windows meets), with their titles as UTF-8.
struct TopLevelWindow {
    std::int64_t Handle = 0;
    std::string Title;
};
// Lists the top-level windows. False, with a reason, when no list can be taken (on POSIX: no
// display to ask); windows is then empty.
bool ListTopLevelWindows(std::vector<TopLevelWindow>& windows, std::string& error);
// Asks a top-level window to close, as its close box would, and waits (a few seconds at most)
// until the request was handled. False when the request could not be delivered.
bool CloseTopLevelWindow(std::int64_t handle);
// Finds a file in a folder without regard to case on systems whose file names are case-sensitive.
// Returns the path as it exists on disk, or nullopt.
std::optional<std::string> FindFileNoCase(const std::string& folder, const std::string& name);

// ------------------------------------------------------------------ serial port
// The device that stands for COM n on this system (empty when there is none).
std::string SerialDeviceForPort(int portNumber);
// Whether this computer has COM n at all, whether or not a program holds it (nothing is opened).
bool SerialPortExists(int portNumber);
// Opens COM n for a test and closes it at once. True when the port exists and nobody holds it.
bool TestSerialPort(int portNumber);

// ------------------------------------------------------------------ files (INI engine)
// One version of a file: any write or replacement of the file changes it.
struct FileStamp {
    std::int64_t ModifiedNs = 0; // last write time
    std::int64_t ChangedNs = 0;  // last status change (0 where the system has none)
    std::uint64_t Size = 0;
    std::uint64_t Device = 0;
    std::uint64_t Id = 0; // inode, or the file index on Windows
    bool operator==(const FileStamp&) const = default;
};
enum class FileResult { Ok, Missing, NotAFile, ReadOnly, Locked, Failed };
// Stamp of a regular file: Missing, NotAFile (a folder, a device), Failed (no access).
FileResult StatFile(const std::string& path, FileStamp& stamp);
// The whole content of a regular file and the stamp of exactly what was read.
FileResult ReadWholeFile(const std::string& path, std::string& bytes, FileStamp& stamp);
// Replaces a file (or creates it; its folder must exist) in one atomic step: a temporary file
// in the same folder, private to its owner until it is complete, flushed to disk and renamed
// over the file, which keeps its permissions and, where the process may set them, its owner and
// group. A new file is never open to other users. A symbolic link stays a link: the file it
// points to is replaced, or created when missing; a loop of links fails. Temporary files that a
// killed writer left beside the file are removed once they are stale (at the first write of the
// file in each process).
// While the file is held exclusively, `build` gets its current content (nullptr when it does
// not exist) and fills `bytes`. Refused, with the file untouched: ReadOnly (no write
// permission, or the read-only attribute), Locked (another program holds a lock on it),
// NotAFile, Failed. On Ok, `stamp` is the stamp of the new file.
FileResult
ReplaceFileContents(const std::string& path,
                    const std::function<void(const std::string* current, std::string& bytes)>& build,
                    FileStamp& stamp);

} // namespace kirva::platform
