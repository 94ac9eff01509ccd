// Reading and writing one machine's Telvar.ini, walking the key table, and the machine's Run
// value in the registry (whether its communication server starts at logon).
#pragma once

#include <string>

#include "machine/MachineConfig.h"

namespace kirva {

inline constexpr const char* kTelvarFileName = "Telvar.ini";
// Registry key (HKEY_LOCAL_MACHINE) whose values start programs at logon.
inline constexpr const char* kRunKeyPath = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN";

inline constexpr const char* kTelvarReadFailed = "Problème durant l'ouverture du fichier telvar.ini";
inline constexpr const char* kTelvarWriteFailed =
    "Problème durant l'écriture du fichier Telvar.ini de la machine ";

// Fills machine and remonte from the file at path. The machine directory becomes the file's
// folder. A missing file, or one that is not a regular file (a folder, a device, a FIFO: nothing is
// opened then), shows catalogue message 244 (critical) and leaves the record as it was;
// a number outside its field's range (or any other failure) shows kTelvarReadFailed (warning)
// and ends the read: the fields read until then keep their new values. Then StartWithWindows is
// read from the Run value named after RefMO. True when everything was read.
bool ReadTelvarIni(const std::string& path, MachineConfig& machine, RemonteState& remonte = Remonte());

// What a machine file records of the workstation that writes it: "IPserver" (the address noted
// at start-up) and "PathData" (the suite's data folder of the hand-off).
struct WorkstationValues {
    std::string LocalIPAddress;
    std::string PathDirData;
};

// Writes machine and remonte to MachineDir + "Telvar.ini" in one flush (lines of the file that
// the table does not name stay as they are), then sets, keeps or deletes the Run value. True only
// when the file reached the disk and the Run value was applied. On failure (the file is a folder,
// unreadable, over the engine's size limit, the folder or the disk refuses it, the registry refuses
// the Run value) shows kTelvarWriteFailed followed by RefMO (warning) and returns false; when the
// file itself failed it is unchanged on disk.
bool WriteTelvarIni(const MachineConfig& machine, const WorkstationValues& workstation,
                    const RemonteState& remonte = Remonte());
// The same, into the Telvar.ini of another folder (the Run value then names that folder's Telvar.exe).
bool WriteTelvarIniTo(const std::string& machineDir, const MachineConfig& machine,
                      const WorkstationValues& workstation, const RemonteState& remonte = Remonte());

// A value as one line of a settings file: a line break cannot be part of a value (written as it
// is it would start new keys or sections), so each CR, LF or CR LF becomes one blank.
std::string OneLineValue(std::string value);

// The Telvar.ini of a machine directory: the existing file when one is spelled differently
// ("telvar.ini") on a system with case-sensitive names, otherwise the directory + "Telvar.ini".
std::string TelvarIniPathIn(const std::string& machineDir);

// The Run value named after the reference: true when present and not empty.
bool ReadStartWithWindows(const std::string& refMO);
// Applies StartWithWindows to the Run value: deleted when false; left alone when the
// communication manager starts the server; else set to machineDir + "Telvar.exe".
// A machine without a reference has no Run value and nothing is done. False on a registry failure.
bool WriteStartWithWindows(const MachineConfig& machine, const std::string& machineDir);

} // namespace kirva
