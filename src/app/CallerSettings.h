// The calling programs' settings files: the machine's entry in the program manager's file
// (Mode 1) or in the DNC transfer program's file (Mode 2), the machine count of a new machine,
// and the notification that tells the calling program its list of machines changed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "app/ProgramSettings.h"
#include "machine/MachineConfig.h"

namespace kirva {

inline constexpr int kModeProgramManager = 1;  // Kalderon
inline constexpr int kModeTransferProgram = 2; // Harbix
inline constexpr int kAppCallingNew = 1;
inline constexpr int kAppCallingModify = 2;

inline constexpr const char* kKalderonIniMissing = "Le fichier Kalderon.ini est introuvable !";
inline constexpr const char* kHarbixIniMissing = "Le fichier Harbix.ini est introuvable !";
inline constexpr const char* kCallerFileReadFailed = "Problème durant la lecture du fichier ";
inline constexpr const char* kCallerFileWriteFailed = "Problème durant l'écriture du fichier ";

// Shows text (translated) followed by the file's path, with the warning icon: how a read or
// write that failed is named (kCallerFileReadFailed, kCallerFileWriteFailed).
void ShowFileProblem(const char* text, const std::string& path);

// Registry keys (HKEY_LOCAL_MACHINE) where each calling program publishes "AppHwnd".
inline constexpr const char* kKalderonRegistryKey = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
inline constexpr const char* kHarbixRegistryKey = "SOFTWARE\\MAROVEX\\TALM\\HARBIX";
inline constexpr std::uint32_t kMachineChangedMessage = 28679; // 0x7007

// The dictionary that the program manager's "Langue" names: the settings file's folder,
// "Lng", then the language file ("FR.lng" when the key is missing or empty).
std::string DictionaryPathFor(const std::string& kalderonIniPath, const std::string& languageFile);

// Reads entry number of the program manager's file into machine; always sets the dictionary
// from "Langue". Number 0 reads nothing else. A missing file, or one that is not a regular file (a
// folder, a device, a FIFO: nothing is opened then), shows kKalderonIniMissing (exclamation); an
// integer that does not fit 32 bits ends the read with a warning. False on failure.
bool ReadKalderonEntry(const std::string& path, std::int32_t number, MachineConfig& machine);
// The same for the transfer program's file; DirTreeView becomes empty. The dictionary is left alone.
bool ReadHarbixEntry(const std::string& path, std::int32_t number, MachineConfig& machine);
// The reader of the calling program named by mode (false for another mode).
bool ReadCallerEntry(int mode, const std::string& path, std::int32_t number, MachineConfig& machine);

// Writes entry number in the format of the calling program (values trimmed). One flush.
// True only when the entry reached the disk; false, with a warning naming the file, when the file
// could not be written (a folder, unreadable, over the size limit, a read-only folder, a full disk):
// the file is then unchanged.
bool WriteCallerEntry(int mode, const std::string& path, std::int32_t number, const MachineConfig& machine);

// The entry number for the apply: for a new machine NbDevice is incremented and written to the
// caller's file ([KALDERON] or [HARBIX_MGR] "NbDevice"); for a modified one, CurrentIndexMO.
// nullopt (with a warning naming the file) when the new count could not be written; NbDevice is
// then unchanged.
std::optional<std::int32_t> TakeEntryNumber(ProgramSettings& settings);

// The word parameter that tells the caller what happened (nullopt: nothing is sent).
std::optional<std::uint32_t> NotificationCode(int mode, int appCalling);
// The caller's window handle from its registry key ("AppHwnd", text or number); 0 when missing.
std::int64_t CallerWindowHandle(int mode);
// Posts kMachineChangedMessage with the code to the caller's window, without waiting. Silently
// does nothing when there is no code, the handle is missing or zero, or its window is gone.
// True when a message was posted.
bool NotifyCaller(int mode, int appCalling);

} // namespace kirva
