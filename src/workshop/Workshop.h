// The whole workshop at once: the machines of a calling program's settings file, each read as the
// editor reads it, and what the command line does with them (check, compare, export). Nothing here
// writes into the workshop; every message the readers would show is collected, never shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "machine/MachineConfig.h"

namespace kirva::workshop {

// One problem of a file, where it stands and what it is.
struct Finding {
    std::string Kind; // a word for scripts: "missing", "unreadable", "value", "unknown-key", ...
    std::string File;
    std::string Section;
    std::string Key;
    std::size_t Line = 0; // from 1; 0 for the file as a whole
    std::string Text;     // the sentence for people (French)
};

// One machine file as the editor reads it: the record, the lists kept with it, and what the
// editor would have said while reading it.
struct MachineFile {
    std::string Path;
    bool Exists = false;
    bool ReadOk = false;
    MachineConfig Machine;
    RemonteState Remonte;
    std::vector<std::string> Messages;
};
// Reads Telvar.ini (or an exported copy) at path as the editor does, without showing anything.
MachineFile ReadMachineFile(const std::string& path);

// One machine of a calling program's settings file.
struct MachineEntry {
    std::int32_t Index = 0;        // its number in the caller's file ("CNC" + n, "RefMO" + n)
    std::string Reference;         // the caller's name for it ("Name", "RefMO" + n)
    std::size_t ReferenceLine = 0; // the line of that name in the caller's file, 0 when missing
    bool EntryFound = false;       // the caller's file holds the entry
    std::string Folder;            // "PathTelvar"
    MachineFile File;              // its Telvar.ini (Path empty when the folder is)
};

struct Workshop {
    int Mode = 0; // kModeProgramManager or kModeTransferProgram
    std::string CallerFile;
    std::int32_t Count = 0; // "NbDevice"
    std::vector<MachineEntry> Machines;
    std::vector<Finding> Problems; // of the caller's file itself (entries beyond the count, ...)
};

// The calling program's settings file that a path names: the file itself (Kalderon.ini,
// Harbix.ini), a folder that holds one (or whose "Kalderon" or "Harbix" folder does), or a folder
// whose hand-off file Kirva.ini (in it or in its "exe" folder) names one. nullopt, with the reason in error,
// otherwise.
std::optional<std::string> FindCallerFile(const std::string& path, std::string& error);
// Whether a file is a calling program's settings file (by its name, or its [KALDERON] or
// [HARBIX_MGR] section) rather than a machine file.
bool IsCallerFile(const std::string& path);
// Reads every machine of the caller's file: entries 1 to "NbDevice", each with its Telvar.ini.
// False, with the reason, when the file cannot be read or names no calling program.
bool LoadWorkshop(const std::string& callerFile, Workshop& workshop, std::string& error);
// The machine of the workshop whose reference is name (trimmed, case ignored), nullptr when none.
const MachineEntry* FindMachine(const Workshop& workshop, const std::string& name);

// Every problem of one machine file: the file missing or unreadable, values that the editor
// would refuse or could not read, unknown keys (with the closest known one) and sections, keys
// and sections written twice, lists that do not match their count or hold lines the editor
// cannot use, and what the editor itself reported while reading it.
std::vector<Finding> CheckMachineFile(const MachineFile& file);
// The problems of a workshop: those of the caller's file, of every machine file, and between
// machines: one TCP or serial port used by two machines, a reference inside another (the rule
// the apply uses for a new machine), a serial port that this computer does not have.
std::vector<Finding> CheckWorkshop(const Workshop& workshop);

// One difference between two machines: a field of the window (with its panel), a key that no
// field shows, or an element of a list (insertions, plans, channels, activities) told by name.
struct Difference {
    std::string Panel; // "3.2 RS 232"; "" when no panel shows it
    std::string Label; // the field's label, or the list's name
    std::string Section;
    std::string Key;                 // the key, or the element's name in its list
    std::optional<std::string> A, B; // nullopt: the element is not in that machine's list
};
std::vector<Difference> CompareMachines(const MachineFile& a, const MachineFile& b);

// What an export did: the files written and the machines that could not be exported.
struct ExportResult {
    std::vector<std::string> Written;
    std::vector<Finding> Problems;
    std::string IndexFile; // "" when the index could not be written
};
inline constexpr const char* kExportIndexName = "Index.ini";
// Copies every machine's Telvar.ini to folder as <RefMO>.ini (the editor's export) and writes
// the index of what was exported. The folder is made when missing; a folder of the workshop
// itself (the caller's or a machine's) is refused, with the reason in error.
bool ExportWorkshop(const Workshop& workshop, const std::string& folder, ExportResult& result,
                    std::string& error);

// The COM ports a machine uses, with their section: "COMM" NumPort, and "CALL_COMM" NumPort when
// the remote call uses a method (CallMethode is not 0). Port 0 means none.
std::vector<std::pair<const char*, std::int32_t>> SerialPortsOf(const MachineConfig& machine);
// The TCP listening ports and COM ports of the machines of a workshop but one (its entry number;
// 0 leaves none out), each with the reference of the first machine that uses it.
struct PortOwners {
    std::map<std::int32_t, std::string> Tcp, Serial;
};
PortOwners PortsOfOtherMachines(const Workshop& workshop, std::int32_t exceptIndex);

// The edit distance between two names, case ignored (the closest known key of an unknown one).
std::size_t NameDistance(const std::string& a, const std::string& b);

} // namespace kirva::workshop
