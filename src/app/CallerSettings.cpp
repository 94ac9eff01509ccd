#include "app/CallerSettings.h"

#include <cmath>
#include <limits>
#include <variant>
#include <vector>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "ini/profile.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"
#include "translate/messages.h"
#include "translate/translate.h"

namespace kirva {

namespace {

using M = MachineConfig;

// The text of a function key (0 = F5 ... 7 = F12).
template <int Index>
std::string& FunctionKey(MachineConfig& machine) {
    return machine.InsKeyF[Index];
}

using StringAccessor = std::string& (*)(MachineConfig&);

// One key of a machine entry in a calling program's file.
struct EntryKey {
    const char* Key;
    std::variant<std::string M::*, std::int32_t M::*, StringAccessor> Member;
    bool Read = true;
    bool Written = true;
    const char* Fallback = nullptr; // older key read when this one is empty
    const char* Section = nullptr;  // a section of its own instead of the entry's
    bool GeneralFormat = false;     // integer written in the general number format
};

// The program manager: section "CNC" + n, keys without a number, then [CHAINAGE] "ChainExe".
const std::vector<EntryKey>& KalderonKeys() {
    static const std::vector<EntryKey> keys = {
        {"Name", &M::Name},
        {"DirTreeView", &M::DirTreeView},
        {"PathTelvar", &M::PathTelvar},
        {"PathFileProgOpen", &M::PathFileProgOpen, true, true, "PathFileProg"},
        {"PathFileProgSave", &M::PathFileProgSave},
        {"PathArchive", &M::PathArchive},
        {"PathFileHead", &M::PathFileHead},
        {"PathFileFeet", &M::PathFileFeet},
        {"OpenInBD", &M::OpenInBD, true, true, nullptr, nullptr, true},
        {"ModeGestionBD", &M::ModeGestionBD},
        {"CoefXYZ", &M::CoefXYZ},
        {"InsKeyF5", FunctionKey<0>},
        {"InsKeyF6", FunctionKey<1>},
        {"InsKeyF7", FunctionKey<2>},
        {"InsKeyF8", FunctionKey<3>},
        {"InsKeyF9", FunctionKey<4>},
        {"InsKeyF10", FunctionKey<5>},
        {"InsKeyF11", FunctionKey<6>},
        {"InsKeyF12", FunctionKey<7>},
        {"CurrentPathDirLog", &M::CurrentPathDirLog, true, false},
        {"ChainExe", &M::ChainExe, true, true, nullptr, "CHAINAGE"},
    };
    return keys;
}

// The DNC transfer program: section "CNC", keys carrying the machine's number.
const std::vector<EntryKey>& HarbixKeys() {
    static const std::vector<EntryKey> keys = {
        {"RefMO", &M::Name},
        {"PathTelvar", &M::PathTelvar},
        {"PathFileProgOpen", &M::PathFileProgOpen},
        {"PathFileProgSave", &M::PathFileProgSave},
        {"PathArchive", &M::PathArchive, true, false},
    };
    return keys;
}

struct EntryFormat {
    const std::vector<EntryKey>& Keys;
    std::string Section;   // section of the entry
    std::string KeySuffix; // appended to every key
};

EntryFormat FormatFor(int mode, std::int32_t number) {
    if (mode == kModeProgramManager) return {KalderonKeys(), "CNC" + std::to_string(number), ""};
    return {HarbixKeys(), "CNC", std::to_string(number)};
}

// The caller's file as it exists on disk (see ExistingFile); the path as given when there is none.
std::string ExistingPath(const std::string& path, bool* exists = nullptr) {
    const auto found = ExistingFile(path);
    if (exists) *exists = found.has_value();
    return found.value_or(path);
}

bool ReadEntryKeys(int mode, const std::string& path, std::int32_t number, MachineConfig& machine) {
    const EntryFormat format = FormatFor(mode, number);
    clsIniVar ini;
    ini.Init(path, format.Section, "", "");
    for (const EntryKey& key : format.Keys) {
        if (!key.Read) continue;
        std::string section = key.Section ? key.Section : format.Section;
        std::string text = ini.Read(key.Key + format.KeySuffix, std::string(section));
        if (text.empty() && key.Fallback)
            text = ini.Read(key.Fallback + format.KeySuffix, std::string(section));
        if (auto s = std::get_if<std::string M::*>(&key.Member)) {
            machine.*(*s) = text;
        } else if (auto f = std::get_if<StringAccessor>(&key.Member)) {
            (*f)(machine) = text;
        } else {
            const auto value = ParseInt32(text);
            if (!value) {
                ShowFileProblem(kCallerFileReadFailed, path);
                return false;
            }
            machine.*std::get<std::int32_t M::*>(key.Member) = *value;
        }
    }
    return true;
}

bool ReadEntry(int mode, const std::string& path, std::int32_t number, MachineConfig& machine) {
    try {
        ini::ReadScope scope; // one version of the file for the whole entry
        return ReadEntryKeys(mode, path, number, machine);
    } catch (...) {
        ShowFileProblem(kCallerFileReadFailed, path);
        return false;
    }
}

} // namespace

std::string DictionaryPathFor(const std::string& kalderonIniPath, const std::string& languageFile) {
    const std::size_t last = kalderonIniPath.find_last_of(platform::kPathSeparator);
    const std::string folder = last == std::string::npos ? std::string(".") : kalderonIniPath.substr(0, last);
    const std::string file = Trim(languageFile).empty() ? std::string("FR.lng") : Trim(languageFile);
    return folder + platform::kPathSeparator + "Lng" + platform::kPathSeparator + file;
}

bool ReadKalderonEntry(const std::string& path, std::int32_t number, MachineConfig& machine) {
    bool exists = false;
    const std::string file = ExistingPath(path, &exists);
    if (!exists) {
        ShowMessage(kKalderonIniMissing, IconWarning);
        return false;
    }
    clsIniVar ini;
    const std::string language = ini.ReadDef("FR.lng", "Langue", "KALDERON", std::string(file));
    TK_TRANSLATE::Shared().Init(DictionaryPathFor(file, language));
    if (number <= 0) return true;
    return ReadEntry(kModeProgramManager, file, number, machine);
}

bool ReadHarbixEntry(const std::string& path, std::int32_t number, MachineConfig& machine) {
    bool exists = false;
    const std::string file = ExistingPath(path, &exists);
    if (!exists) {
        ShowMessage(kHarbixIniMissing, IconWarning);
        return false;
    }
    if (number > 0 && !ReadEntry(kModeTransferProgram, file, number, machine)) return false;
    machine.DirTreeView.clear();
    return true;
}

bool ReadCallerEntry(int mode, const std::string& path, std::int32_t number, MachineConfig& machine) {
    if (mode == kModeProgramManager) return ReadKalderonEntry(path, number, machine);
    if (mode == kModeTransferProgram) return ReadHarbixEntry(path, number, machine);
    return false;
}

bool WriteCallerEntry(int mode, const std::string& path, std::int32_t number, const MachineConfig& machine) {
    if (mode != kModeProgramManager && mode != kModeTransferProgram) return false;
    const std::string file = ExistingPath(path);
    const EntryFormat format = FormatFor(mode, number);
    bool ok = false;
    try {
        ini::BatchScope batch;
        clsIniVar ini;
        ini.Init(file, format.Section, "", "");
        for (const EntryKey& key : format.Keys) {
            if (!key.Written) continue;
            std::string section = key.Section ? key.Section : format.Section;
            std::string name = key.Key + format.KeySuffix;
            if (auto s = std::get_if<std::string M::*>(&key.Member)) {
                ini.WriteStr(Trim(OneLineValue(machine.*(*s))), std::move(name), std::move(section));
            } else if (auto f = std::get_if<StringAccessor>(&key.Member)) {
                ini.WriteStr(Trim(OneLineValue((*f)(const_cast<MachineConfig&>(machine)))), std::move(name),
                             std::move(section));
            } else {
                const std::int32_t value = machine.*std::get<std::int32_t M::*>(key.Member);
                if (key.GeneralFormat) {
                    ini.WriteVal(static_cast<double>(value), std::move(name), std::move(section));
                } else {
                    ini.WriteStr(std::to_string(value), std::move(name), std::move(section));
                }
            }
        }
        ok = batch.Flush() && batch.Ok();
    } catch (...) {
        ok = false;
    }
    if (!ok) ShowFileProblem(kCallerFileWriteFailed, file);
    return ok;
}

std::optional<std::int32_t> TakeEntryNumber(ProgramSettings& settings) {
    if (settings.AppCalling == kAppCallingModify) return settings.CurrentIndexMO;
    if (settings.AppCalling != kAppCallingNew) return 0;
    if (settings.Mode != kModeProgramManager && settings.Mode != kModeTransferProgram) return 0;
    const std::string file = ExistingPath(settings.PathAppCallingIni);
    if (settings.NbDevice == std::numeric_limits<std::int32_t>::max()) {
        ShowFileProblem(kCallerFileWriteFailed, file); // the new count cannot be written
        return std::nullopt;
    }
    const std::int32_t count = settings.NbDevice + 1;
    bool ok = false;
    try {
        ini::BatchScope batch;
        clsIniVar ini;
        const char* section = settings.Mode == kModeProgramManager ? "KALDERON" : "HARBIX_MGR";
        ini.WriteStr(std::to_string(count), "NbDevice", section, std::string(file));
        ok = batch.Flush() && batch.Ok();
    } catch (...) {
        ok = false;
    }
    if (!ok) {
        ShowFileProblem(kCallerFileWriteFailed, file);
        return std::nullopt;
    }
    settings.NbDevice = count;
    return count;
}

std::optional<std::uint32_t> NotificationCode(int mode, int appCalling) {
    if (mode == kModeProgramManager && appCalling == kAppCallingNew) return 710;
    if (mode == kModeProgramManager && appCalling == kAppCallingModify) return 711;
    if (mode == kModeTransferProgram && appCalling == kAppCallingNew) return 111;
    if (mode == kModeTransferProgram && appCalling == kAppCallingModify) return 112;
    return std::nullopt;
}

std::int64_t CallerWindowHandle(int mode) {
    const char* keyPath = mode == kModeProgramManager    ? kKalderonRegistryKey
                          : mode == kModeTransferProgram ? kHarbixRegistryKey
                                                         : nullptr;
    if (!keyPath) return 0;
    const auto root = platform::RegRoot::LocalMachine;
    if (auto text = platform::RegReadString(root, keyPath, "AppHwnd"); text && !Trim(*text).empty()) {
        const double value = std::trunc(ParseLeadingNumber(Trim(*text)));
        if (!std::isfinite(value) || value <= 0 || value > 9.0e18) return 0;
        return static_cast<std::int64_t>(value);
    }
    if (auto number = platform::RegReadDword(root, keyPath, "AppHwnd")) return *number;
    return 0;
}

bool NotifyCaller(int mode, int appCalling) {
    const auto code = NotificationCode(mode, appCalling);
    if (!code) return false;
    const std::int64_t handle = CallerWindowHandle(mode);
    if (handle <= 0 || !platform::WindowExists(handle)) return false;
    return platform::PostWindowMessage(handle, kMachineChangedMessage, *code, 0);
}

void ShowFileProblem(const char* text, const std::string& path) {
    Messages().Show(TK_TRANSLATE::TranslateText(text, kDicoSection) + path, IconWarning, MsgButtons::Ok);
}

} // namespace kirva
