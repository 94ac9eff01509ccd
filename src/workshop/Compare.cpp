// The command line's "diff" and "export": two machines compared field by field through the key
// and field tables, and the whole workshop copied as the editor exports one machine.
#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "app/FieldLists.h"
#include "app/FieldTable.h"
#include "app/MachineCommands.h"
#include "ini/codepage.h"
#include "ini/helpers.h"
#include "lists/clsCanaux.h"
#include "lists/clsInsertIso.h"
#include "lists/clsPlansPDC.h"
#include "machine/KeyTable.h"
#include "platform/platform.h"
#include "workshop/Workshop.h"
#include "workshop/WorkshopText.h"

namespace kirva::workshop {

namespace fs = std::filesystem;

namespace {

// The insertion file that a machine reads when its file names none: its own folder's Iso.ini.
bool IsOwnIsoIni(const MachineFile& file) {
    return file.Machine.PathIsoIni == AddTrailingBackslash(file.Machine.MachineDir) + "Iso.ini";
}

std::string PanelOf(const FieldDef* field) {
    if (field == nullptr) return {};
    return std::string(field->Panel) + " " + PanelTitle(field->Panel);
}

// What a field shows for a stored value: the entry of a closed list ("1" -> "1 Bloc à Bloc").
std::string Shown(const FieldDef* field, const std::string& stored) {
    if (field == nullptr || stored.empty()) return stored;
    if (field->Conv == FieldConv::Parity) {
        const std::string entry = LetterToParity(stored);
        return entry.empty() ? stored : stored + " " + entry;
    }
    if (field->Conv != FieldConv::Index) return stored;
    for (const ListItem& item : ListItems(field->List, ProgramSettings{})) {
        if (std::to_string(item.Index) == stored && !item.Entry.empty()) return stored + " " + item.Entry;
    }
    return stored;
}

// Rank of a panel in the tree's order (panels not shown last).
std::size_t PanelRank(const FieldDef* field) {
    const auto nodes = TreeNodes();
    for (std::size_t i = 0; field != nullptr && i < nodes.size(); ++i) {
        if (std::string_view(nodes[i].Panel) == field->Panel) return i;
    }
    return nodes.size();
}

std::string LabelOf(const FieldDef* field) {
    if (field == nullptr) return {};
    std::string label = Trim(field->Label);
    if (!label.empty() && label.back() == ':') label = Trim(label.substr(0, label.size() - 1));
    return label;
}

// Elements of a list by name, each as its file line (the last of a name wins, as the editor's
// look-ups by name do).
template <typename List>
std::map<std::string, std::string> ByName(const List& list) {
    std::map<std::string, std::string> lines;
    for (const auto& item : list.Items()) lines[item.FNRef()] = item.FNFormatForIni();
    return lines;
}

void CompareNamed(const std::map<std::string, std::string>& a, const std::map<std::string, std::string>& b,
                  const char* label, const char* panelNumber, const char* section,
                  std::vector<Difference>& out) {
    const std::string panel = std::string(panelNumber) + " " + PanelTitle(panelNumber);
    std::set<std::string> names;
    for (const auto& [name, line] : a) names.insert(name);
    for (const auto& [name, line] : b) names.insert(name);
    for (const std::string& name : names) {
        const auto x = a.find(name);
        const auto y = b.find(name);
        std::optional<std::string> va, vb;
        if (x != a.end()) va = x->second;
        if (y != b.end()) vb = y->second;
        if (va != vb) out.push_back({panel, label, section, name, va, vb});
    }
}

struct Lists {
    std::map<std::string, std::string> Insertions, Plans, Channels, Activities, AnalysisChannels;
};

Lists ListsOf(const MachineFile& file) {
    Lists lists;
    clsInsertIso insertions;
    if (!file.Machine.PathIsoIni.empty()) insertions.Init(file.Machine.PathIsoIni);
    lists.Insertions = ByName(insertions);
    lists.Insertions.erase("-"); // separators have no name of their own
    clsPlansPDC plans;
    plans.Init(file.Path);
    lists.Plans = ByName(plans);
    clsCanaux channels;
    channels.Init(file.Path);
    lists.Channels = ByName(channels);
    const MachineConfig& m = file.Machine;
    for (std::int32_t n = 1; n <= m.NbActivity && static_cast<std::size_t>(n) < m.Activity.size(); ++n) {
        const WorkshopActivity& a = m.Activity[static_cast<std::size_t>(n)];
        lists.Activities[a.RefActivity] =
            "Code:" + std::to_string(a.CodeActivity) + "|Car:" + a.CarActivity + "|";
    }
    for (const AnalysisChannel& c : m.CanalAnalyse)
        lists.AnalysisChannels[c.RefCanal] = "Code:" + c.CodeCanal + "|Car:" + c.CarCanal + "|";
    return lists;
}

} // namespace

std::vector<Difference> CompareMachines(const MachineFile& a, const MachineFile& b) {
    std::vector<std::pair<std::size_t, Difference>> fields; // in panel order
    for (const KeyDef& row : KeyTable()) {
        // What the file holds for the editor: the keys it reads, one value each.
        if (!IsRead(row.Access) || row.Numbered() || row.Source == KeySource::Count) continue;
        std::string va = GetKeyText(a.Machine, a.Remonte, row);
        std::string vb = GetKeyText(b.Machine, b.Remonte, row);
        if ((row.Rules & RuleIsoIniDefault) && IsOwnIsoIni(a) && IsOwnIsoIni(b)) continue;
        if (va == vb) continue;
        const FieldDef* field = FindFieldForKey(row.Section, row.Key);
        fields.emplace_back(PanelRank(field), Difference{PanelOf(field), LabelOf(field), row.Section, row.Key,
                                                         Shown(field, va), Shown(field, vb)});
    }
    std::stable_sort(fields.begin(), fields.end(),
                     [](const auto& x, const auto& y) { return x.first < y.first; });
    std::vector<Difference> out;
    for (auto& [rank, difference] : fields) out.push_back(std::move(difference));
    const Lists x = ListsOf(a), y = ListsOf(b);
    CompareNamed(x.Insertions, y.Insertions, "Insertions ISO", "4.1", "INSERT", out);
    CompareNamed(x.Channels, y.Channels, "Canaux", "2.4", "CANAUX", out);
    CompareNamed(x.AnalysisChannels, y.AnalysisChannels, "Analyse de l'activité", "2.4", "CANAUX_ANALYSE",
                 out);
    CompareNamed(x.Plans, y.Plans, "Plans", "6", "PLANS", out);
    CompareNamed(x.Activities, y.Activities, "Activités de l'atelier", "6", "WORKSHOP ACTIVITY", out);
    return out;
}

bool ExportWorkshop(const Workshop& workshop, const std::string& folder, ExportResult& result,
                    std::string& error) {
    result = ExportResult{};
    std::error_code ec;
    const fs::path target = fs::weakly_canonical(PathFromUtf8(folder), ec);
    auto same = [&](const std::string& other) {
        std::error_code e;
        return !other.empty() && fs::weakly_canonical(PathFromUtf8(other), e) == target;
    };
    bool inside = same(Utf8FromPath(PathFromUtf8(workshop.CallerFile).parent_path()));
    for (const MachineEntry& entry : workshop.Machines) inside = inside || same(entry.Folder);
    if (inside) {
        error = Say(kExportIntoWorkshop, folder);
        return false;
    }
    fs::create_directories(PathFromUtf8(folder), ec);
    if (ec || !fs::is_directory(PathFromUtf8(folder))) {
        error = Say(kExportFolderNotMade, folder, ec.message());
        return false;
    }
    std::map<std::string, std::string> used{{ToUpper(kExportIndexName), "l'index"}}; // file name -> reference
    std::string index = "[EXPORT]\r\nSource=" + workshop.CallerFile + "\r\n";
    std::string entries;
    std::int32_t count = 0;
    CollectedMessages said;
    for (const MachineEntry& entry : workshop.Machines) {
        if (!entry.EntryFound || entry.Folder.empty() || !entry.File.Exists) {
            result.Problems.push_back(
                {"missing", entry.File.Path.empty() ? workshop.CallerFile : entry.File.Path, "", "",
                 entry.File.Path.empty() ? entry.ReferenceLine : 0,
                 entry.Folder.empty() && entry.EntryFound ? Say(kNoFolder, entry.Reference)
                                                          : Say(kFileMissing)});
            continue;
        }
        const std::string reference = ReferenceInFile(entry.File.Path);
        if (reference.empty()) {
            result.Problems.push_back(
                {"value", entry.File.Path, "DNC", "RefMO", 0, Say(kNoReference, entry.Reference)});
            continue;
        }
        const std::string name = reference + ".ini";
        const auto [at, first] = used.try_emplace(ToUpper(name), reference);
        if (!first) {
            result.Problems.push_back({"reference", entry.File.Path, "DNC", "RefMO", 0,
                                       Say(kSameExportName, reference, at->second)});
            continue;
        }
        said.texts.clear();
        if (!ExportMachineFile(entry.Folder, reference, folder)) {
            for (const std::string& text : said.texts)
                result.Problems.push_back({"unreadable", entry.File.Path, "", "", 0, text});
            continue;
        }
        const std::string written = AddTrailingBackslash(folder) + name;
        result.Written.push_back(written);
        ++count;
        entries += "[CNC" + std::to_string(count) + "]\r\nRefMO=" + reference + "\r\nFile=" + name +
                   "\r\nEntry=" + std::to_string(entry.Index) + "\r\nPathTelvar=" + entry.Folder + "\r\n";
    }
    index += "NbDevice=" + std::to_string(count) + "\r\n" + entries;
    const std::string indexPath = AddTrailingBackslash(folder) + kExportIndexName;
    platform::FileStamp stamp;
    const std::string bytes = ini::Utf8ToCp1252(index);
    if (platform::ReplaceFileContents(
            indexPath, [&](const std::string*, std::string& out) { out = bytes; }, stamp) ==
        platform::FileResult::Ok) {
        result.IndexFile = indexPath;
    } else {
        result.Problems.push_back({"unreadable", indexPath, "", "", 0, Say(kIndexNotWritten, indexPath)});
    }
    return true;
}

} // namespace kirva::workshop
