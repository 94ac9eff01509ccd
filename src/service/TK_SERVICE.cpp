#include "service/TK_SERVICE.h"

#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "ini/profile.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"
#include "translate/translate.h"

namespace kirva::TK_SERVICE {

namespace {

namespace fs = std::filesystem;

constexpr const char* kLineEnd = "\r\n";

// The program folder with its separator ("" stays "": the commands then name bare programs).
std::string ProgramFolder(const ServiceContext& context) {
    return Trim(context.ProgramFolder).empty() ? std::string() : AddTrailingBackslash(context.ProgramFolder);
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// The capture file of the program folder.
std::string CaptureFilePath(const ServiceContext& context) {
    return ProgramFolder(context) + kCaptureFileName;
}

// The text the system's shell runs for a captured command (cmd /c on Windows, /bin/sh -c on
// POSIX): the command, " -> " (a stray "-" argument, then the redirection of standard output)
// and the capture file, between double quotes when its path holds a blank.
std::string CaptureCommandLine(const ServiceContext& context, const std::string& command) {
    const std::string capture = CaptureFilePath(context);
    return command + " -> " + (capture.find(' ') != std::string::npos ? Quoted(capture) : capture);
}

// Adds one line to a log, starting a new line first when the text before does not end one.
void AppendLine(std::string& log, const std::string& line) {
    if (!log.empty() && log.back() != '\n') log += kLineEnd;
    log += line;
    log += kLineEnd;
}

template <typename... Values>
std::string Translated(const char* text, const Values&... values) {
    return TK_TRANSLATE::TranslateText(text, kDicoSection, values...);
}

// The log of an operation refused for its name.
std::string RefusedName() {
    std::string log;
    AppendLine(log, Translated(kInvalidServiceName));
    return log;
}

// Deletes the capture file, read-only or not. True when no such file is left.
bool DeleteCapture(const std::string& path) {
    std::error_code ec;
    const fs::path file = PathFromUtf8(path);
    const fs::file_status status = fs::symlink_status(file, ec);
    if (status.type() == fs::file_type::not_found) return true;
    if (status.type() == fs::file_type::regular)
        fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add, ec);
    fs::remove(file, ec);
    return fs::symlink_status(file, ec).type() == fs::file_type::not_found;
}

// The machine's Telvar.ini, or "" when the machine has no folder yet.
std::string TelvarPath(const ServiceContext& context) {
    if (Trim(context.MachineFolder).empty()) return {};
    return TelvarIniPathIn(context.MachineFolder);
}

// "HostName" of the machine's Telvar.ini as it is on disk now; "" when missing.
std::string Host(const ServiceContext& context) {
    const std::string path = TelvarPath(context);
    if (path.empty()) return {};
    clsIniVar ini;
    return ini.Read("HostName", kTelvarSection, std::string(path));
}

// sc \\<host> <verb> "name"
std::string ScCommand(const ServiceContext& context, const std::string& verb, const std::string& name) {
    return "sc \\\\" + Host(context) + " " + verb + " " + Quoted(name);
}

// Writes "Service" in the machine's Telvar.ini; a write that did not reach the disk adds a line.
void WriteServiceFlag(const ServiceContext& context, const std::string& value, std::string& log) {
    const std::string path = TelvarPath(context);
    if (path.empty()) {
        AppendLine(log, Translated(kNoMachineFolder, value));
        return;
    }
    bool ok = false;
    try {
        ini::BatchScope batch;
        ok = WriteIniString(path, kTelvarSection, "Service", value);
        ok = batch.Flush() && batch.Ok() && ok;
    } catch (...) {
        ok = false;
    }
    if (!ok) AppendLine(log, Translated(kServiceFlagNotWritten, value, path));
}

// The command, CR LF, and what it printed.
std::string CapturedLog(const ServiceContext& context, const std::string& command) {
    return command + kLineEnd + RunCommand(context, command);
}

// Starts sc without waiting for it, then queries the service.
std::string StartWithoutWaiting(const ServiceContext& context, const std::string& verb,
                                const std::string& name) {
    if (!ValidServiceName(name)) return RefusedName();
    const std::string command = ScCommand(context, verb, name);
    std::string log = command + kLineEnd;
    if (!platform::StartShellCommand(command)) AppendLine(log, Translated(kCommandNotStarted));
    return log + QueryService(context, name);
}

} // namespace

bool ValidServiceName(const std::string& name) {
    if (Trim(name).empty()) return false;
    for (const char ch : name)
        if (std::string_view("\\/\"$`%").find(ch) != std::string_view::npos ||
            static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F)
            return false;
    return true;
}

std::string RunCommand(const ServiceContext& context, const std::string& command) {
    const std::string capture = CaptureFilePath(context);
    // A file left by an earlier run is not this command's output.
    DeleteCapture(capture);
    const int exitCode = platform::RunShellCommandAndWait(CaptureCommandLine(context, command));
    std::string output;
    platform::FileStamp stamp;
    const platform::FileResult read = platform::ReadWholeFile(capture, output, stamp);
    const bool deleted = DeleteCapture(capture);
    std::string text;
    if (read == platform::FileResult::Ok)
        text = std::move(output);
    else if (exitCode < 0)
        AppendLine(text, Translated(kCommandNotStarted));
    else
        AppendLine(text, Translated(kCaptureUnreadable, capture));
    if (!deleted) AppendLine(text, Translated(kCaptureNotDeleted, capture));
    return text;
}

std::string InstallService(const ServiceContext& context, const std::string& name,
                           const std::string& serverPath) {
    if (!ValidServiceName(name)) return RefusedName();
    const std::string folder = ProgramFolder(context);
    const std::string command = folder + "instsrv.exe " + Quoted(name) + " " + Quoted(serverPath);
    std::string log = CapturedLog(context, command);

    const std::string key = kServicesKey + name;
    const std::string parameters = key + "\\Parameters";
    constexpr auto root = platform::RegRoot::LocalMachine;
    struct Written {
        const char* Name;
        const std::string& Key;
        bool Ok;
    };
    const Written values[] = {
        {"ImagePath", key,
         platform::RegWriteString(root, key, "ImagePath", Quoted(folder + "srvany.exe"), true)},
        {"Application", parameters,
         platform::RegWriteString(root, parameters, "Application", Quoted(serverPath))},
        {"Description", key, platform::RegWriteString(root, key, "Description", kServiceDescription)},
        {"FailureActions", key,
         platform::RegWriteBinary(root, key, "FailureActions",
                                  std::vector<std::uint8_t>(kFailureActions.begin(), kFailureActions.end()))},
    };
    for (const Written& value : values)
        if (!value.Ok) AppendLine(log, Translated(kRegistryNotWritten, value.Name, value.Key));

    WriteServiceFlag(context, "1", log);
    return log;
}

std::string QueryService(const ServiceContext& context, const std::string& name) {
    if (!ValidServiceName(name)) return RefusedName();
    return CapturedLog(context, ScCommand(context, "query", name));
}

std::string DeleteService(const ServiceContext& context, const std::string& name) {
    if (!ValidServiceName(name)) return RefusedName();
    std::string log = CapturedLog(context, ScCommand(context, "delete", name));
    WriteServiceFlag(context, "0", log);
    return log;
}

std::string StartService(const ServiceContext& context, const std::string& name) {
    return StartWithoutWaiting(context, "start", name);
}

std::string StopService(const ServiceContext& context, const std::string& name) {
    return StartWithoutWaiting(context, "stop", name);
}

} // namespace kirva::TK_SERVICE
