#include "workshop/Workshop.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "app/CallerSettings.h"
#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "ini/profile.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"
#include "workshop/WorkshopText.h"

namespace kirva::workshop {

namespace fs = std::filesystem;

namespace {

constexpr std::int32_t kMostMachines = 10000; // a count above this is damaged, not a workshop

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool IsFolder(const std::string& path) {
    std::error_code ec;
    return fs::is_directory(PathFromUtf8(path), ec);
}

std::string InFolder(const std::string& folder, const std::string& name) {
    return platform::FindFileNoCase(folder, name).value_or(std::string());
}

// The calling program a settings file belongs to: by its name, else by its own section.
int CallerMode(const std::string& file, const std::vector<ini::FileLine>& lines) {
    const std::string name = Lower(Utf8FromPath(PathFromUtf8(file).filename()));
    if (name == "kalderon.ini") return kModeProgramManager;
    if (name == "harbix.ini") return kModeTransferProgram;
    for (const auto& line : lines) {
        if (line.kind != ini::FileLine::Header) continue;
        if (ToUpper(line.Name) == "KALDERON") return kModeProgramManager;
        if (ToUpper(line.Name) == "HARBIX_MGR") return kModeTransferProgram;
    }
    return 0;
}

// The number at the end of a name that starts with prefix ("CNC12" -> 12), 0 when none.
std::int32_t NumberAfter(const std::string& name, std::string_view prefix) {
    if (name.size() <= prefix.size() || ToUpper(name.substr(0, prefix.size())) != prefix) return 0;
    const std::string digits = name.substr(prefix.size());
    if (!std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isdigit(c); }) ||
        digits.size() > 6) {
        return 0;
    }
    return std::stoi(digits);
}

// Reads the caller's file lines: where each entry's reference stands, and the count.
struct CallerLines {
    std::map<std::int32_t, std::size_t>
        ReferenceLine; // entry -> line of its reference (0: entry without one)
    std::size_t CountLine = 0;
    std::string CountText;
};

CallerLines ScanCallerLines(int mode, const std::vector<ini::FileLine>& lines) {
    CallerLines found;
    const std::string countSection = mode == kModeProgramManager ? "KALDERON" : "HARBIX_MGR";
    for (const auto& line : lines) {
        const std::string section = ToUpper(line.Section);
        if (line.kind == ini::FileLine::Header) {
            if (mode == kModeProgramManager) {
                if (const auto n = NumberAfter(line.Name, "CNC"); n > 0)
                    found.ReferenceLine.try_emplace(n, 0);
            }
            continue;
        }
        if (line.kind != ini::FileLine::Entry) continue;
        if (section == countSection && ToUpper(line.Name) == "NBDEVICE" && found.CountLine == 0) {
            found.CountLine = line.Number;
            found.CountText = line.Value;
        } else if (mode == kModeProgramManager && ToUpper(line.Name) == "NAME") {
            if (const auto n = NumberAfter(line.Section, "CNC"); n > 0) {
                auto& at = found.ReferenceLine[n];
                if (at == 0) at = line.Number;
            }
        } else if (mode == kModeTransferProgram && section == "CNC") {
            if (const auto n = NumberAfter(line.Name, "REFMO"); n > 0)
                found.ReferenceLine.try_emplace(n, line.Number);
        }
    }
    return found;
}

} // namespace

CollectedMessages::CollectedMessages() : previous_(&Messages()) {
    SetMessageService(this);
}
CollectedMessages::~CollectedMessages() {
    SetMessageService(previous_);
}
MsgAnswer CollectedMessages::Show(const std::string& text, int, MsgButtons) {
    texts.push_back(text);
    return MsgAnswer::No;
}

void ReadMachineInto(const std::string& path, MachineFile& file) {
    file.Path = path;
    platform::FileStamp stamp;
    file.Exists = platform::StatFile(path, stamp) != platform::FileResult::Missing;
    CollectedMessages said;
    file.ReadOk = ReadTelvarIni(path, file.Machine, file.Remonte);
    file.Messages = std::move(said.texts);
}

MachineFile ReadMachineFile(const std::string& path) {
    MachineFile file;
    ReadMachineInto(path, file);
    return file;
}

std::optional<std::string> FindCallerFile(const std::string& path, std::string& error) {
    std::error_code ec;
    const fs::path given = PathFromUtf8(path);
    if (!fs::exists(given, ec)) {
        error = Say(kNoSuchPath, path);
        return std::nullopt;
    }
    if (!fs::is_directory(given, ec)) return path;
    // The folder itself, else the calling programs' own folders of a workshop.
    for (const std::string& folder :
         {path, Utf8FromPath(given / "Kalderon"), Utf8FromPath(given / "Harbix")}) {
        if (!IsFolder(folder)) continue;
        const std::string kalderon = InFolder(folder, "Kalderon.ini");
        const std::string harbix = InFolder(folder, "Harbix.ini");
        if (!kalderon.empty() && !harbix.empty()) {
            error = Say(kBothCallers, folder);
            return std::nullopt;
        }
        if (!kalderon.empty()) return kalderon;
        if (!harbix.empty()) return harbix;
    }
    // A workshop folder: the hand-off file names the calling program's file.
    for (const std::string& folder : {path, Utf8FromPath(given / "exe")}) {
        if (!IsFolder(folder)) continue;
        const std::string handOff = InFolder(folder, "Kirva.ini");
        if (handOff.empty()) continue;
        const std::string named = Trim(ini::GetProfileString(handOff, "KIRVA", "PathAppCallingIni", ""));
        if (!named.empty()) return named;
    }
    error = Say(kNoCallerFile, path);
    return std::nullopt;
}

bool IsCallerFile(const std::string& path) {
    std::vector<ini::FileLine> lines;
    ini::ReadFileLines(path, lines);
    return CallerMode(path, lines) != 0;
}

bool LoadWorkshop(const std::string& callerFile, Workshop& workshop, std::string& error) {
    workshop = Workshop{};
    workshop.CallerFile = callerFile;
    ini::ReadScope oneLookEachFile; // every file is compared with the disk once
    std::vector<ini::FileLine> lines;
    const platform::FileResult read = ini::ReadFileLines(callerFile, lines);
    if (read != platform::FileResult::Ok) {
        error = Say(read == platform::FileResult::Missing ? kNoSuchPath : kCannotRead, callerFile);
        return false;
    }
    workshop.Mode = CallerMode(callerFile, lines);
    if (workshop.Mode == 0) {
        error = Say(kNotACallerFile, callerFile);
        return false;
    }
    const CallerLines scanned = ScanCallerLines(workshop.Mode, lines);
    const std::string countSection = workshop.Mode == kModeProgramManager ? "KALDERON" : "HARBIX_MGR";
    const auto count = ParseInt32(scanned.CountText);
    workshop.Count = count.value_or(0);
    if (workshop.Count < 0 || workshop.Count > kMostMachines || !count) {
        workshop.Problems.push_back({"value", callerFile, countSection, "NbDevice", scanned.CountLine,
                                     Say(kBadCount, scanned.CountText)});
        workshop.Count = std::clamp(workshop.Count, 0, kMostMachines);
    }
    for (std::int32_t n = 1; n <= workshop.Count; ++n) {
        MachineEntry entry;
        entry.Index = n;
        const auto at = scanned.ReferenceLine.find(n);
        entry.EntryFound = at != scanned.ReferenceLine.end();
        if (!entry.EntryFound) {
            workshop.Problems.push_back(
                {"missing", callerFile,
                 workshop.Mode == kModeProgramManager ? "CNC" + std::to_string(n) : "CNC",
                 workshop.Mode == kModeProgramManager ? "" : "RefMO" + std::to_string(n), 0,
                 Say(kEntryMissing, n)});
            workshop.Machines.push_back(std::move(entry));
            continue;
        }
        entry.ReferenceLine = at->second;
        {
            CollectedMessages said;
            ReadCallerEntry(workshop.Mode, callerFile, n, entry.File.Machine);
            for (const std::string& text : said.texts)
                workshop.Problems.push_back(
                    {"read", callerFile, "", "", entry.ReferenceLine, Say(kEditorSaid, text)});
        }
        entry.Reference = Trim(entry.File.Machine.Name);
        entry.Folder = Trim(entry.File.Machine.PathTelvar);
        if (!entry.Folder.empty()) ReadMachineInto(TelvarIniPathIn(entry.Folder), entry.File);
        workshop.Machines.push_back(std::move(entry));
    }
    for (const auto& [n, line] : scanned.ReferenceLine) {
        if (n <= workshop.Count) continue;
        workshop.Problems.push_back({"machine-count", callerFile,
                                     workshop.Mode == kModeProgramManager ? "CNC" + std::to_string(n) : "CNC",
                                     workshop.Mode == kModeProgramManager ? "" : "RefMO" + std::to_string(n),
                                     line, Say(kBeyondCount, n, workshop.Count)});
    }
    return true;
}

const MachineEntry* FindMachine(const Workshop& workshop, const std::string& name) {
    const std::string wanted = ToUpper(Trim(name));
    for (const MachineEntry& entry : workshop.Machines) {
        if (!wanted.empty() && ToUpper(entry.Reference) == wanted) return &entry;
    }
    return nullptr;
}

std::vector<std::pair<const char*, std::int32_t>> SerialPortsOf(const MachineConfig& machine) {
    std::vector<std::pair<const char*, std::int32_t>> ports;
    if (machine.NumPort > 0) ports.emplace_back("COMM", machine.NumPort);
    if (machine.CallNumPort > 0 && machine.CallMethode != 0 && machine.CallNumPort != machine.NumPort)
        ports.emplace_back("CALL_COMM", machine.CallNumPort);
    return ports;
}

PortOwners PortsOfOtherMachines(const Workshop& workshop, std::int32_t exceptIndex) {
    PortOwners owners;
    for (const MachineEntry& entry : workshop.Machines) {
        if (entry.Index == exceptIndex || !entry.File.Exists) continue;
        const MachineConfig& m = entry.File.Machine;
        if (m.PortListen > 0) owners.Tcp.try_emplace(m.PortListen, entry.Reference);
        for (const auto& [section, port] : SerialPortsOf(m)) owners.Serial.try_emplace(port, entry.Reference);
    }
    return owners;
}

std::size_t NameDistance(const std::string& a, const std::string& b) {
    const std::string x = ToUpper(a), y = ToUpper(b);
    std::vector<std::size_t> row(y.size() + 1);
    for (std::size_t j = 0; j <= y.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= x.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= y.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (x[i - 1] == y[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[y.size()];
}

} // namespace kirva::workshop
