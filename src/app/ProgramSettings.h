// The hand-off from the calling program (Kirva.ini) and the program-wide values of start-up.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "machine/TelvarFile.h"

namespace kirva {

// Read once from Kirva.ini at start-up; only NbDevice changes afterwards (a new machine).
struct ProgramSettings {
    std::int32_t Mode = 0;            // 1 = program manager, 2 = DNC transfer program
    std::int32_t AppCalling = 0;      // 1 = new machine, 2 = modify CurrentIndexMO
    std::int32_t CurrentIndexMO = 0;  // entry number (from 1) in the caller's settings file
    std::string PathDirData;          // data folder, trailing separator ensured when not empty
    std::string DefaultPathDirTelvar; // communication servers' root folder, trailing separator ensured
    std::int32_t NbDevice = 0;
    std::string PathAppCallingIni;  // the caller's own settings file
    std::vector<std::string> RefMO; // indexes 0..NbDevice, 0 unused
    std::int32_t NbTreeViewNode = 0;
    std::vector<std::string> RefDirNode; // indexes 0..NbTreeViewNode, 0 unused
    std::vector<std::string> Spe;        // indexes 0..NbSpe, 0 unused
};

// Reads Kirva.ini into settings; shows "Le fichier Kirva.ini est introuvable !" when it is missing
// or is not a usable file (a folder, a device, a FIFO: nothing is opened then). A list count outside
// 0 ... 10000 is reported (texts::kKirvaIniCountOutOfRange, warning); another integer beyond 32 bits
// fails the read without a message. On failure settings are left as they were.
bool ReadProgramSettings(const std::string& path, ProgramSettings& settings);

// Program-wide values filled by start-up.
struct ProgramState {
    ProgramSettings Settings;
    std::string ExeFolder;        // always ends with the separator
    std::string SettingsFilePath; // ExeFolder + "Kirva.ini"
    std::string DepFilesFolder;   // ExeFolder + "DepFiles" + separator
    std::string VersionText;      // major.minor.0.revision
    std::string LocalIPAddress;   // dotted, empty when unknown
    std::string SavedDecimalSeparator;
    std::string InfoCNPath;           // PathDirData + "InfoCN.ini"
    std::string MachineSettingsPath;  // PathTelvar (separator ensured) + "Telvar.ini"
    bool ServerFolderCreated = false; // a server folder was made during this edit
};

// The one instance of the program.
ProgramState& App();

// The workstation's values that a machine file records, as start-up noted them.
WorkstationValues ThisWorkstation();

// The version text from the build: major "." minor ".0." revision.
std::string VersionText();

} // namespace kirva
