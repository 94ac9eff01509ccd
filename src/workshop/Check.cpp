// The checks of the command line's "check": one machine file line by line, then the workshop as a
// whole. Each rule reports where the editor would go wrong, never what it would merely rewrite.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <set>
#include <tuple>

#include "app/FieldLists.h"
#include "app/FieldTable.h"
#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "ini/profile.h"
#include "machine/KeyTable.h"
#include "platform/platform.h"
#include "workshop/Workshop.h"
#include "workshop/WorkshopText.h"

namespace kirva::workshop {

namespace {

using ini::FileLine;

// The sections of a machine file: those of the key table, and the lists' own.
bool KnownSection(const std::string& upper) {
    static const std::set<std::string> known = [] {
        std::set<std::string> names{"PLANS", "CANAUX", "CHAINAGE"};
        for (const KeyDef& row : KeyTable()) names.insert(ToUpper(row.Section));
        return names;
    }();
    return known.count(upper) != 0;
}

std::string ClosestSection(const std::string& name) {
    std::string best = "PLANS";
    std::size_t distance = NameDistance(name, best);
    for (const char* candidate : {"CANAUX", "CHAINAGE"}) {
        if (NameDistance(name, candidate) < distance) {
            best = candidate;
            distance = NameDistance(name, candidate);
        }
    }
    for (const KeyDef& row : KeyTable()) {
        if (const std::size_t d = NameDistance(name, row.Section); d < distance) {
            best = row.Section;
            distance = d;
        }
    }
    return best;
}

std::string WithoutTrailingDigits(const std::string& name) {
    std::size_t end = name.size();
    while (end > 0 && std::isdigit(static_cast<unsigned char>(name[end - 1]))) --end;
    return name.substr(0, end);
}

// The row of a key as the reader finds it: its own spelling, or a numbered key's name + n.
const KeyDef* RowOf(const std::string& section, const std::string& key) {
    if (const KeyDef* row = FindKey(section, key)) return row->Numbered() ? nullptr : row;
    const std::string name = WithoutTrailingDigits(key);
    if (name.size() == key.size()) return nullptr;
    const KeyDef* row = FindKey(section, name);
    return row != nullptr && row->Numbered() ? row : nullptr;
}

std::string ClosestKey(const std::string& section, const std::string& key) {
    std::string best;
    std::size_t distance = std::string::npos;
    const std::string digits = key.substr(WithoutTrailingDigits(key).size());
    for (const KeyDef& row : KeyTable()) {
        if (ToUpper(row.Section) != ToUpper(section)) continue;
        for (const char* spelling : {row.Key, row.KeyForReading()}) {
            const std::string candidate = std::string(spelling) + (row.Numbered() ? digits : "");
            if (const std::size_t d = NameDistance(key, candidate); d < distance) {
                best = candidate;
                distance = d;
            }
        }
    }
    return best;
}

// Whether the whole text is one number as the reader takes it: sign, digits, one ".", exponent.
bool WholeNumber(const std::string& text) {
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    std::size_t digits = 0;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
    }
    if (digits == 0) return false;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        const std::size_t start = i;
        while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) ++i;
        if (i == start) return false;
    }
    return i == text.size();
}

std::string Plain(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", value);
    return text;
}

// The label of a field without its colon: "Port COM".
std::string Bare(const char* label) {
    std::string text = Trim(label);
    if (!text.empty() && text.back() == ':') text = Trim(text.substr(0, text.size() - 1));
    return text;
}

class FileChecker {
  public:
    FileChecker(const MachineFile& file, std::vector<Finding>& out) : file_(file), out_(out) {}

    void Lines(const std::vector<FileLine>& lines) {
        std::map<std::string, std::size_t> sections;                     // first header line of each section
        std::map<std::pair<std::string, std::string>, std::size_t> keys; // first line of each key
        bool ignored = false; // inside a second copy of a section, which the editor never reads
        for (const FileLine& line : lines) {
            const std::string section = ToUpper(line.Section);
            if (line.kind == FileLine::Header) {
                const auto [at, first] = sections.try_emplace(section, line.Number);
                ignored = !first;
                if (!first) {
                    Report("duplicate", line, Say(kSectionTwice, line.Name, at->second));
                } else if (!KnownSection(section)) {
                    Report("unknown-section", line,
                           Say(kUnknownSection, line.Name, ClosestSection(line.Name)));
                }
                continue;
            }
            if (ignored || line.Section.empty() || !KnownSection(section) || line.kind != FileLine::Entry)
                continue;
            if (section == "PLANS" || section == "CANAUX") continue;
            const KeyDef* row = RowOf(line.Section, line.Name);
            if (row == nullptr) {
                Report("unknown-key", line, Say(kUnknownKey, line.Name, ClosestKey(line.Section, line.Name)));
                continue;
            }
            const auto [at, first] = keys.try_emplace({section, ToUpper(line.Name)}, line.Number);
            if (!first) {
                Report("duplicate", line, Say(kKeyTwice, line.Name, at->second));
                continue;
            }
            if (IsRead(row->Access)) Value(*row, line);
        }
    }

    // The numbered lists against their counts, and the lines of the plans and channels.
    void Lists(const std::vector<FileLine>& lines) {
        for (const KeyDef& count : KeyTable()) {
            if (count.Source == KeySource::Count) Counted(lines, count);
        }
        const FileLine* nbCanaux = FirstEntry(lines, "DNC", "NbCanaux");
        const auto channels = SectionLines(lines, "CANAUX");
        const auto declared = nbCanaux != nullptr ? ParseInt32(nbCanaux->Value).value_or(0) : 0;
        if (declared != static_cast<std::int32_t>(channels.size())) {
            FileLine where = nbCanaux != nullptr ? *nbCanaux : FileLine{};
            if (nbCanaux == nullptr) where.Section = "DNC", where.Name = "NbCanaux";
            Report("list-count", where, Say(kCountMismatch, "NbCanaux", declared, "CANAUX", channels.size()));
        }
        Named(channels, "CANAUX", [](const FileLine& l) { return GetTagValue(Whole(l), "ref:"); });
        Named(SectionLines(lines, "PLANS"), "PLANS",
              [](const FileLine& l) { return GetTagValue(Whole(l), "ref:"); });
    }

    void Insertions() {
        const std::string& path = file_.Machine.PathIsoIni;
        if (path.empty()) return;
        std::vector<FileLine> lines;
        const platform::FileResult read = ini::ReadFileLines(path, lines);
        if (read != platform::FileResult::Ok) {
            out_.push_back({read == platform::FileResult::Missing ? "missing" : "unreadable", path, "INSERT",
                            "", 0,
                            read == platform::FileResult::Missing ? Say(kInsertionsMissing, path)
                                                                  : Say(kFileUnreadable)});
            return;
        }
        std::vector<FileLine> insertions;
        for (const FileLine& line : SectionLines(lines, "INSERT")) {
            if (line.kind == FileLine::Text && Trim(line.Name) == "-") continue; // a separator
            insertions.push_back(line);
        }
        Named(
            insertions, "INSERT",
            [](const FileLine& l) { return l.kind == FileLine::Entry ? l.Name : std::string(); }, path);
    }

  private:
    static std::string Whole(const FileLine& line) {
        return line.kind == FileLine::Entry ? line.Name + "=" + line.Value : line.Name;
    }

    void Report(const char* kind, const FileLine& line, std::string text, const std::string& file = {}) {
        out_.push_back({kind, file.empty() ? file_.Path : file,
                        line.kind == FileLine::Header ? line.Name : line.Section,
                        line.kind == FileLine::Header ? "" : line.Name, line.Number, std::move(text)});
    }

    void Value(const KeyDef& row, const FileLine& line) {
        const std::string& text = line.Value;
        if (text.empty()) return;
        MachineConfig machine;
        RemonteState remonte;
        if (row.Kind == KeyKind::Bool) {
            if (text != "0" && text != "1") Report("value", line, Say(kNotABoolean, text));
            return;
        }
        const bool number =
            row.Kind == KeyKind::Int16 || row.Kind == KeyKind::Int32 || row.Kind == KeyKind::Double;
        if (number) {
            const std::int64_t read = static_cast<std::int64_t>(RoundHalfEven(ParseLeadingNumber(text)));
            const bool fits = ParseLeadingNumber(text) >= KindMin(row.Kind) &&
                              ParseLeadingNumber(text) <= KindMax(row.Kind);
            if (!fits) {
                Report("value", line,
                       Say(kOutOfRange, text, Plain(KindMin(row.Kind)), Plain(KindMax(row.Kind))));
                return;
            }
            if (!WholeNumber(text)) {
                Report("value", line,
                       Say(kNotANumber, text,
                           row.Kind == KeyKind::Double ? Plain(ParseLeadingNumber(text))
                                                       : std::to_string(read)));
                return;
            }
        }
        const FieldDef* field = FindFieldForKey(line.Section, line.Name);
        if (field == nullptr || !SetKeyText(machine, remonte, row, text)) return;
        if (!ValueInFieldList(*field, FieldStoredText(*field, machine, remonte), ProgramSettings{}))
            Report("value", line, Say(kNotInList, text, Bare(field->Label)));
    }

    // A count ("NbActivity") and the numbered keys of its section.
    void Counted(const std::vector<FileLine>& lines, const KeyDef& count) {
        const FileLine* declared = FirstEntry(lines, count.Section, count.Key);
        const std::int32_t n = declared != nullptr ? std::max(ParseInt32(declared->Value).value_or(0), 0) : 0;
        std::map<std::int32_t, const FileLine*> present; // first line of each numbered entry
        std::string firstName;
        for (const FileLine& line : SectionLines(lines, count.Section)) {
            if (line.kind != FileLine::Entry) continue;
            const KeyDef* row = RowOf(count.Section, line.Name);
            if (row == nullptr || !row->Numbered()) continue;
            if (firstName.empty()) firstName = row->Key;
            const std::string digits = line.Name.substr(WithoutTrailingDigits(line.Name).size());
            if (digits.empty() || digits.size() > 6) continue;
            present.try_emplace(std::stoi(digits), &line);
        }
        for (const auto& [k, line] : present) {
            if (k > n || k < 1)
                Report("list-count", *line, Say(kEntryBeyondItsCount, line->Name, count.Key, n));
        }
        if (firstName.empty()) {
            for (const KeyDef& row : KeyTable())
                if (row.Numbered() && std::string_view(row.Section) == count.Section) {
                    firstName = row.Key;
                    break;
                }
        }
        for (std::int32_t k = 1; k <= std::min(n, 1000); ++k) {
            if (present.count(k) != 0) continue;
            FileLine where = declared != nullptr ? *declared : FileLine{};
            if (declared == nullptr) where.Section = count.Section, where.Name = count.Key;
            Report("list-count", where,
                   Say(kEntryOfCountMissing, count.Key, n, firstName + std::to_string(k)));
        }
    }

    template <typename NameOf>
    void Named(const std::vector<FileLine>& lines, const char* section, NameOf nameOf,
               const std::string& file = {}) {
        std::map<std::string, std::size_t> last;
        for (const FileLine& line : lines) {
            const std::string name = nameOf(line);
            if (name.empty()) {
                Report("list-line", line, Say(kLineWithoutName, Whole(line)), file);
                continue;
            }
            const auto [at, first] = last.try_emplace(name, line.Number);
            if (!first) {
                Report("list-line", line, Say(kNameTwice, name, section, line.Number), file);
                at->second = line.Number;
            }
        }
    }

    static const FileLine* FirstEntry(const std::vector<FileLine>& lines, const std::string& section,
                                      const std::string& key) {
        for (const FileLine& line : SectionLines(lines, section)) {
            if (line.kind == FileLine::Entry && ToUpper(line.Name) == ToUpper(key)) return &line;
        }
        return nullptr;
    }

    // The key and text lines of the first section of that name (a second one is never read).
    static std::vector<FileLine> SectionLines(const std::vector<FileLine>& lines,
                                              const std::string& section) {
        std::vector<FileLine> found;
        const std::string wanted = ToUpper(section);
        bool inside = false, seen = false;
        for (const FileLine& line : lines) {
            if (line.kind == FileLine::Header) {
                if (inside) break;
                inside = !seen && ToUpper(line.Name) == wanted;
                seen = seen || inside;
            } else if (inside) {
                found.push_back(line);
            }
        }
        return found;
    }

    const MachineFile& file_;
    std::vector<Finding>& out_;
};

std::vector<Finding> CheckFile(const MachineFile& file, std::vector<FileLine>& lines) {
    std::vector<Finding> found;
    const platform::FileResult read = ini::ReadFileLines(file.Path, lines);
    if (read != platform::FileResult::Ok) {
        const char* kind = read == platform::FileResult::Missing ? "missing" : "unreadable";
        const char* text = read == platform::FileResult::Missing    ? kFileMissing
                           : read == platform::FileResult::NotAFile ? kFileNotAFile
                                                                    : kFileUnreadable;
        found.push_back({kind, file.Path, "", "", 0, Say(text)});
        return found;
    }
    FileChecker checker(file, found);
    checker.Lines(lines);
    const bool valuesExplained =
        std::any_of(found.begin(), found.end(), [](const Finding& f) { return f.Kind == "value"; });
    checker.Lists(lines);
    checker.Insertions();
    // Whatever else the editor itself said while reading the file (its values are explained above).
    if (!valuesExplained) {
        for (const std::string& text : file.Messages)
            found.push_back({"read", file.Path, "", "", 0, Say(kEditorSaid, text)});
    }
    return found;
}

std::size_t LineOf(const std::vector<FileLine>& lines, const char* section, const char* key) {
    bool inside = false;
    for (const FileLine& line : lines) {
        if (line.kind == FileLine::Header) {
            if (inside) break;
            inside = ToUpper(line.Name) == ToUpper(section);
        } else if (inside && line.kind == FileLine::Entry && ToUpper(line.Name) == ToUpper(key)) {
            return line.Number;
        }
    }
    return 0;
}

} // namespace

std::vector<Finding> CheckMachineFile(const MachineFile& file) {
    std::vector<FileLine> lines;
    return CheckFile(file, lines);
}

std::vector<Finding> CheckWorkshop(const Workshop& workshop) {
    std::vector<Finding> found = workshop.Problems;
    struct PortUse {
        const MachineEntry* machine;
        const char* section;
        std::size_t line;
    };
    std::map<std::int32_t, PortUse> tcp;
    std::map<std::int32_t, PortUse> serial;
    std::map<std::int32_t, bool> serialExists;
    for (const MachineEntry& entry : workshop.Machines) {
        if (!entry.EntryFound) continue;
        if (entry.Folder.empty()) {
            found.push_back({"missing", workshop.CallerFile, "", "PathTelvar", entry.ReferenceLine,
                             Say(kNoFolder, entry.Reference)});
            continue;
        }
        std::vector<FileLine> lines;
        const std::vector<Finding> own = CheckFile(entry.File, lines);
        found.insert(found.end(), own.begin(), own.end());
        if (lines.empty()) continue;
        const MachineConfig& m = entry.File.Machine;
        const std::string& path = entry.File.Path;
        if (m.PortListen > 0) {
            const std::size_t line = LineOf(lines, "TELVAR", "PortListen");
            const auto [at, first] = tcp.try_emplace(m.PortListen, PortUse{&entry, "TELVAR", line});
            if (!first)
                found.push_back({"tcp-port", path, "TELVAR", "PortListen", line,
                                 Say(kTcpPortShared, m.PortListen, at->second.machine->Reference)});
        }
        for (const auto& [section, port] : SerialPortsOf(m)) {
            const std::size_t line = LineOf(lines, section, "NumPort");
            const auto [exists, unknown] = serialExists.try_emplace(port, false);
            if (unknown) exists->second = platform::SerialPortExists(port);
            if (!exists->second)
                found.push_back(
                    {"no-serial-port", path, section, "NumPort", line, Say(kNoSuchSerialPort, port)});
            const auto [at, first] = serial.try_emplace(port, PortUse{&entry, section, line});
            if (!first)
                found.push_back({"serial-port", path, section, "NumPort", line,
                                 Say(kSerialPortShared, port, at->second.machine->Reference)});
        }
    }
    // A reference inside another: the later entry is named, with the line of its reference.
    for (std::size_t j = 0; j < workshop.Machines.size(); ++j) {
        const MachineEntry& later = workshop.Machines[j];
        const std::string b = ToUpper(later.Reference);
        if (b.empty()) continue;
        for (std::size_t i = 0; i < j; ++i) {
            const std::string a = ToUpper(workshop.Machines[i].Reference);
            if (a.empty() || (a.find(b) == std::string::npos && b.find(a) == std::string::npos)) continue;
            const bool laterShorter = b.size() <= a.size();
            found.push_back(
                {"reference", workshop.CallerFile, "", "", later.ReferenceLine,
                 Say(kReferenceInside, laterShorter ? later.Reference : workshop.Machines[i].Reference,
                     laterShorter ? workshop.Machines[i].Reference : later.Reference)});
            break;
        }
    }
    // One file's lines together and in line order; files in the order they were first named.
    std::map<std::string, std::size_t> order;
    for (const Finding& f : found) order.try_emplace(f.File, order.size());
    std::stable_sort(found.begin(), found.end(), [&](const Finding& x, const Finding& y) {
        return std::pair(order[x.File], x.Line) < std::pair(order[y.File], y.Line);
    });
    return found;
}

} // namespace kirva::workshop
