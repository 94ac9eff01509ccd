#include "machine/TelvarFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <vector>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "ini/profile.h"
#include "machine/KeyTable.h"
#include "platform/platform.h"
#include "translate/messages.h"

namespace kirva {

namespace {

// Largest count of a numbered list that is taken as the file says without looking at its keys.
constexpr std::int64_t kCountKeptUpTo = 1000;

// Thrown inside this file only: a number that does not fit its field ends the read.
struct OutOfRange {};

// A number read by the leading-number rule, narrowed to its field's width (halves to even).
double Narrow(const KeyDef& def, const std::string& text) {
    double value = ParseLeadingNumber(text);
    if (!std::isfinite(value)) throw OutOfRange{};
    if (def.Kind == KeyKind::Double) return value;
    value = RoundHalfEven(value);
    if (value < KindMin(def.Kind) || value > KindMax(def.Kind)) throw OutOfRange{};
    return value;
}

// The field of a numbered row in one list entry (nullptr when the row holds another type).
template <typename T, typename Entry>
T* EntryField(Entry& entry, const KeyDef& def) {
    T* field = nullptr;
    std::visit(
        [&](auto member) {
            if constexpr (std::is_same_v<decltype(member), T Entry::*>) field = &(entry.*member);
        },
        def.Member);
    return field;
}

class Reader {
  public:
    Reader(const std::string& path, MachineConfig& machine, RemonteState& remonte)
        : machine_(machine), remonte_(remonte) {
        ini_.Init(path, "", "", "");
    }

    // Reads every section in reading order; throws OutOfRange.
    void ReadAll() {
        const auto table = KeyTable();
        for (const char* section : ReadSections()) {
            std::vector<const KeyDef*> rows;
            for (const auto& def : table) {
                if (!IsRead(def.Access) || def.Numbered()) continue;
                const bool readHere = std::string_view(def.ReadSection()) == section;
                const bool readAgain =
                    (def.Rules & RuleReadAgain) && std::string_view(def.Section) == section;
                if (readHere || readAgain) rows.push_back(&def);
            }
            std::stable_sort(rows.begin(), rows.end(), [section](const KeyDef* a, const KeyDef* b) {
                return RankIn(*a, section) < RankIn(*b, section);
            });
            ini_.Section(section);
            for (const KeyDef* def : rows) ReadKey(*def);
        }
    }

  private:
    static int RankIn(const KeyDef& def, std::string_view section) {
        return std::string_view(def.ReadSection()) == section ? def.ReadRank : 0;
    }

    // The trimmed text of a key ("" when missing), its own section passed when it is read
    // while another section is current.
    std::string Text(const KeyDef& def, const std::string& key) {
        if (std::string_view(def.Section) == ini_.Section()) return ini_.Read(std::string(key));
        return ini_.Read(std::string(key), std::string(def.Section));
    }

    std::string TextOrDefault(const KeyDef& def) {
        std::string text = Text(def, def.KeyForReading());
        if (text.empty()) {
            if (def.Rules & RuleIsoIniDefault) return AddTrailingBackslash(machine_.MachineDir) + "Iso.ini";
            if (def.Rules & RuleDefaultBauds) return machine_.Bauds;
            if (def.Default) return def.Default;
        }
        return text;
    }

    void ReadKey(const KeyDef& def) {
        if (def.Source == KeySource::Count) return ReadList(def);
        const std::string text = TextOrDefault(def);
        if (auto* s = KeyField<std::string>(machine_, remonte_, def)) {
            *s = text;
        } else if (auto* b = KeyField<bool>(machine_, remonte_, def)) {
            *b = text == "1";
        } else if (auto* i16 = KeyField<std::int16_t>(machine_, remonte_, def)) {
            *i16 = static_cast<std::int16_t>(Narrow(def, text));
        } else if (auto* i32 = KeyField<std::int32_t>(machine_, remonte_, def)) {
            *i32 = static_cast<std::int32_t>(Narrow(def, text));
        } else if (auto* d = KeyField<double>(machine_, remonte_, def)) {
            *d = Narrow(def, text);
        }
    }

    // A count followed by numbered keys. The list has as many entries as the count says (entries
    // whose keys are missing read empty). A negative count reads as 0, and a count above
    // kCountKeptUpTo is taken for a damaged one and limited to the highest number that any of
    // the list's keys carries in the section, so that it cannot make the list huge.
    void ReadList(const KeyDef& countDef) {
        std::vector<const KeyDef*> fields;
        for (const auto& def : KeyTable()) {
            if (def.Numbered() && std::string_view(def.Section) == countDef.Section) fields.push_back(&def);
        }
        std::int64_t count = static_cast<std::int64_t>(Narrow(countDef, TextOrDefault(countDef)));
        count = std::max<std::int64_t>(count, 0);
        if (count > kCountKeptUpTo) count = std::min(count, HighestNumberPresent(fields));
        if (std::string_view(countDef.Key) == "NbActivity") {
            machine_.SetNbActivity(static_cast<std::int32_t>(count));
            for (std::int32_t n = 1; n <= machine_.NbActivity; ++n)
                ReadEntry(fields, n, machine_.Activity[n]);
        } else {
            count = std::min<std::int64_t>(count, kMaxAnalysisChannels);
            machine_.CanalAnalyse.assign(static_cast<std::size_t>(count), AnalysisChannel{});
            for (std::size_t n = 1; n <= machine_.CanalAnalyse.size(); ++n) {
                ReadEntry(fields, static_cast<std::int32_t>(n), machine_.CanalAnalyse[n - 1]);
            }
        }
    }

    template <typename Entry>
    void ReadEntry(const std::vector<const KeyDef*>& fields, std::int32_t n, Entry& entry) {
        for (const KeyDef* def : fields) {
            const std::string text = Text(*def, def->Key + std::to_string(n));
            if (auto* s = EntryField<std::string>(entry, *def)) {
                *s = text;
            } else if (auto* i = EntryField<std::int32_t>(entry, *def)) {
                *i = static_cast<std::int32_t>(Narrow(*def, text));
            }
        }
    }

    // The highest n for which one of the numbered keys "<name>n" is present (plain decimal, no
    // leading zero, as the writer spells it).
    std::int64_t HighestNumberPresent(const std::vector<const KeyDef*>& fields) {
        std::int64_t highest = 0;
        for (const std::string& line : ini_.ReadSectionInTab()) {
            const std::string key = ToUpper(Trim(line.substr(0, line.find('='))));
            for (const KeyDef* def : fields) {
                const std::string name = ToUpper(def->Key);
                if (key.size() <= name.size() || key.size() > name.size() + 10) continue;
                if (key.compare(0, name.size(), name) != 0 || key[name.size()] == '0') continue;
                const std::string digits = key.substr(name.size());
                if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
                    continue;
                }
                highest = std::max<std::int64_t>(highest, std::stoll(digits));
            }
        }
        return highest;
    }

    clsIniVar ini_;
    MachineConfig& machine_;
    RemonteState& remonte_;
};

class Writer {
  public:
    Writer(const std::string& path, const MachineConfig& machine, const WorkstationValues& workstation,
           const RemonteState& remonte)
        : machine_(machine), workstation_(workstation), remonte_(remonte) {
        ini_.Init(path, "", "", "");
    }

    void WriteAll() {
        for (const auto& def : KeyTable()) {
            if (!IsWritten(def.Access) || def.Numbered()) continue;
            ini_.Section(def.Section);
            switch (def.Source) {
            case KeySource::LocalIPAddress:
                Put(def.Key, workstation_.LocalIPAddress);
                break;
            case KeySource::PathDirData:
                Put(def.Key, workstation_.PathDirData);
                break;
            case KeySource::Count:
                WriteList(def);
                break;
            default:
                if (const auto* d = KeyField<double>(machine_, remonte_, def)) {
                    ini_.WriteVal(*d, std::string(def.Key));
                } else {
                    Put(def.Key, GetKeyText(machine_, remonte_, def));
                }
            }
        }
    }

  private:
    void Put(const std::string& key, std::string value) {
        ini_.WriteStr(OneLineValue(std::move(value)), std::string(key));
    }

    void WriteList(const KeyDef& countDef) {
        std::vector<const KeyDef*> fields;
        for (const auto& def : KeyTable()) {
            if (def.Numbered() && std::string_view(def.Section) == countDef.Section) fields.push_back(&def);
        }
        // The count written is the number of entries held (see GetKeyText), at most 32 channels.
        const std::string count = GetKeyText(machine_, remonte_, countDef);
        Put(countDef.Key, count);
        const std::size_t entries = std::stoul(count);
        for (std::size_t n = 1; n <= entries; ++n) {
            if (std::string_view(countDef.Key) == "NbActivity")
                WriteEntry(fields, n, machine_.Activity[n]);
            else
                WriteEntry(fields, n, machine_.CanalAnalyse[n - 1]);
        }
    }

    template <typename Entry>
    void WriteEntry(const std::vector<const KeyDef*>& fields, std::int64_t n, const Entry& entry) {
        for (const KeyDef* def : fields) {
            Entry& e = const_cast<Entry&>(entry);
            const std::string key = def->Key + std::to_string(n);
            if (const auto* s = EntryField<std::string>(e, *def)) Put(key, *s);
            if (const auto* i = EntryField<std::int32_t>(e, *def)) Put(key, std::to_string(*i));
        }
    }

    clsIniVar ini_;
    const MachineConfig& machine_;
    const WorkstationValues& workstation_;
    const RemonteState& remonte_;
};

void ShowWriteFailure(const std::string& refMO) {
    Messages().Show(TK_TRANSLATE::TranslateText(kTelvarWriteFailed, kDicoSection) + refMO, IconWarning,
                    MsgButtons::Ok);
}

} // namespace

std::string OneLineValue(std::string value) {
    std::string line;
    line.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (c == '\r' && i + 1 < value.size() && value[i + 1] == '\n') continue;
        line += c == '\r' || c == '\n' ? ' ' : c;
    }
    return line;
}

std::string TelvarIniPathIn(const std::string& machineDir) {
    const std::string folder = AddTrailingBackslash(machineDir);
    const std::string path = folder + kTelvarFileName;
    if (auto found = ExistingFile(path)) return *found;
    return path;
}

bool ReadTelvarIni(const std::string& path, MachineConfig& machine, RemonteState& remonte) {
    const auto existing = ExistingFile(path);
    if (!existing) {
        ShowCatalogueMessage(244, IconCritical);
        return false;
    }
    try {
        const std::filesystem::path file(*existing);
        machine.MachineDir = AddTrailingBackslash(file.has_parent_path() ? file.parent_path().string() : ".");
        {
            ini::ReadScope scope; // one version of the file for the whole record
            Reader(*existing, machine, remonte).ReadAll();
        }
        machine.StartWithWindows = ReadStartWithWindows(machine.RefMO);
        return true;
    } catch (...) {
        ShowMessage(kTelvarReadFailed, IconWarning);
        return false;
    }
}

bool WriteTelvarIni(const MachineConfig& machine, const WorkstationValues& workstation,
                    const RemonteState& remonte) {
    return WriteTelvarIniTo(machine.MachineDir, machine, workstation, remonte);
}

bool WriteTelvarIniTo(const std::string& machineDir, const MachineConfig& machine,
                      const WorkstationValues& workstation, const RemonteState& remonte) {
    bool ok = false;
    if (!Trim(machineDir).empty()) {
        try {
            ini::BatchScope batch;
            Writer(TelvarIniPathIn(machineDir), machine, workstation, remonte).WriteAll();
            ok = batch.Flush() && batch.Ok();
        } catch (...) {
            ok = false;
        }
        ok = ok && WriteStartWithWindows(machine, machineDir);
    }
    if (!ok) ShowWriteFailure(machine.RefMO);
    return ok;
}

bool ReadStartWithWindows(const std::string& refMO) {
    if (Trim(refMO).empty()) return false;
    const auto value = platform::RegReadString(platform::RegRoot::LocalMachine, kRunKeyPath, refMO);
    return value && !value->empty();
}

bool WriteStartWithWindows(const MachineConfig& machine, const std::string& machineDir) {
    if (Trim(machine.RefMO).empty()) return true;
    if (!machine.StartWithWindows) {
        return platform::RegDeleteValue(platform::RegRoot::LocalMachine, kRunKeyPath, machine.RefMO);
    }
    if (machine.UseComManager) return true;
    return platform::RegWriteString(platform::RegRoot::LocalMachine, kRunKeyPath, machine.RefMO,
                                    AddTrailingBackslash(machineDir) + "Telvar.exe");
}

} // namespace kirva
