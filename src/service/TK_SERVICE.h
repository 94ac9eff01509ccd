// The communication server of a machine as an operating-system service: installed by wrapping
// telvar.exe with instsrv.exe and srvany.exe, then queried, started, stopped and deleted with
// `sc` aimed at the machine's host. Every operation returns its log: the command line, CR LF,
// and what the command printed. No outcome of `sc` or instsrv.exe is interpreted.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kirva::TK_SERVICE {

// Where the operations work.
struct ServiceContext {
    // Holds instsrv.exe and srvany.exe and receives the capture file; ends with the separator.
    std::string ProgramFolder;
    // The machine's folder: its Telvar.ini gives "HostName" and receives "Service".
    std::string MachineFolder;
};

inline constexpr const char* kCaptureFileName = "Sortie.txt";
// Registry keys of the services (under HKEY_LOCAL_MACHINE), spelled with their leading backslash.
inline constexpr const char* kServicesKey = "\\SYSTEM\\CurrentControlSet\\Services\\";
inline constexpr const char* kServiceDescription = "Marovex Telvareur";
inline constexpr const char* kTelvarSection = "TELVAR";

// The SERVICE_FAILURE_ACTIONS block in its registry form (little-endian): failure count reset
// after one day, no reboot message, no command, three actions "restart after 60 s".
// clang-format off
inline constexpr std::array<std::uint8_t, 44> kFailureActions{
    128, 81, 1, 0,  // reset period of the failure count: 86400 s
    0, 0, 0, 0,     // no reboot message
    0, 0, 0, 0,     // no command
    3, 0, 0, 0,     // three actions
    20, 0, 0, 0,    // the actions start at byte 20 of the block
    1, 0, 0, 0,     // 1: restart the service
    96, 234, 0, 0,  //    after 60000 ms
    1, 0, 0, 0,     // 2: restart
    96, 234, 0, 0,  //    after 60000 ms
    1, 0, 0, 0,     // 3: restart
    96, 234, 0, 0}; //    after 60000 ms
// clang-format on

// Lines that a log gets when something did not happen as the command line says (translated).
inline constexpr const char* kCommandNotStarted = "La commande n'a pas pu être lancée.";
inline constexpr const char* kCaptureUnreadable = "La sortie de la commande n'a pas pu être lue (x1x).";
inline constexpr const char* kCaptureNotDeleted = "Le fichier x1x n'a pas pu être supprimé.";
inline constexpr const char* kRegistryNotWritten =
    "La valeur x1x n'a pas pu être écrite dans le registre (x2x).";
inline constexpr const char* kServiceFlagNotWritten =
    "La clé Service (x1x) n'a pas pu être écrite dans le fichier x2x.";
inline constexpr const char* kNoMachineFolder =
    "La clé Service (x1x) n'a pas été écrite : le dossier de la machine n'est pas connu.";

// A service name that can be given to the commands and to the registry: not blank, and without a
// backslash or a slash (it names a registry key), a double quote, "$", "`" or "%" (it stands
// between double quotes on a command line, where the shells still read these) or a control
// character. The operations refuse any other name: their log is then
// kInvalidServiceName and nothing is run or written.
bool ValidServiceName(const std::string& name);
inline constexpr const char* kInvalidServiceName =
    "Le nom du service doit être renseigné, sans aucun des caractères \\ / \" $ ` %.";

// Runs the command through the shell and waits for it, then returns what it printed on standard
// output, read from the capture file, which is deleted afterwards (also when the command failed
// or printed nothing). When the command could not be started or its output could not be read,
// the text says so.
std::string RunCommand(const ServiceContext& context, const std::string& command);

// instsrv.exe "name" "serverPath", then the four registry values of the service (ImagePath,
// Parameters\Application, Description, FailureActions), then "Service" = "1" in Telvar.ini.
std::string InstallService(const ServiceContext& context, const std::string& name,
                           const std::string& serverPath);
// sc \\<host> query "name"; the host is read from Telvar.ini at each call.
std::string QueryService(const ServiceContext& context, const std::string& name);
// sc \\<host> delete "name", then "Service" = "0" in Telvar.ini.
std::string DeleteService(const ServiceContext& context, const std::string& name);
// sc \\<host> start "name" started without waiting, then the query's log.
std::string StartService(const ServiceContext& context, const std::string& name);
// sc \\<host> stop "name" started without waiting, then the query's log.
std::string StopService(const ServiceContext& context, const std::string& name);

} // namespace kirva::TK_SERVICE
