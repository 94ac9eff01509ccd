#include "cli/Commands.h"

#include <filesystem>

#include "ini/helpers.h"
#include "machine/TelvarFile.h"
#include "machine/Vocabularies.h"
#include "workshop/Workshop.h"
#include "workshop/WorkshopText.h"

namespace kirva::cli {

namespace fs = std::filesystem;
using workshop::Finding;

namespace {

bool Open(const std::string& path, workshop::Workshop& shop, std::string& problem) {
    const auto file = workshop::FindCallerFile(path, problem);
    return file && workshop::LoadWorkshop(*file, shop, problem);
}

std::string FindingJson(const Finding& f) {
    return JsonObject()
        .Text("kind", f.Kind)
        .Text("file", f.File)
        .Number("line", static_cast<long long>(f.Line))
        .Text("section", f.Section)
        .Text("key", f.Key)
        .Text("message", f.Text)
        .str();
}

// "file:line: [SECTION] Key: text", as compilers and grep print a place.
void PrintFinding(std::ostream& out, const Finding& f, const Style& style) {
    std::string place = f.File + ":" + (f.Line > 0 ? std::to_string(f.Line) + ":" : "");
    std::string where;
    if (!f.Section.empty()) where += "[" + f.Section + "] ";
    if (!f.Key.empty()) where += f.Key + ": ";
    out << style.Bold(place) << " " << style.Yellow(where) << f.Text << " " << style.Dim("(" + f.Kind + ")")
        << '\n';
}

std::string MethodName(const MachineConfig& m) {
    if (m.Methode > 0 && static_cast<std::size_t>(m.Methode) < vocab::TransferMethods.size())
        return vocab::TransferMethods[static_cast<std::size_t>(m.Methode)];
    return m.Methode == 0 ? "" : std::to_string(m.Methode);
}

int List(const Invocation& call, std::ostream& out, std::string& problem) {
    if (call.Arguments.size() != 1) {
        problem = "list attend un atelier.";
        return 2;
    }
    workshop::Workshop shop;
    if (!Open(call.Arguments[0], shop, problem)) return kNotOpened;
    if (call.Json) {
        std::vector<std::string> machines;
        for (const auto& e : shop.Machines) {
            const MachineConfig& m = e.File.Machine;
            machines.push_back(JsonObject()
                                   .Number("index", e.Index)
                                   .Text("reference", e.Reference)
                                   .Number("method", e.File.ReadOk ? m.Methode : 0)
                                   .Text("type", MethodName(m))
                                   .Text("folder", e.Folder)
                                   .Number("tcpPort", m.PortListen)
                                   .Number("serialPort", m.NumPort)
                                   .Text("machineFile", e.File.Path)
                                   .Bool("fileExists", e.File.Exists)
                                   .str());
        }
        out << JsonObject()
                   .Text("callerFile", shop.CallerFile)
                   .Number("mode", shop.Mode)
                   .Number("count", shop.Count)
                   .Raw("machines", JsonArray(machines))
                   .str()
            << '\n';
        return 0;
    }
    std::vector<std::vector<std::string>> rows{
        {"N°", "Référence", "Type", "Dossier", "Port", "COM", "Fichier"}};
    for (const auto& e : shop.Machines) {
        const MachineConfig& m = e.File.Machine;
        rows.push_back({std::to_string(e.Index), e.Reference, MethodName(m), e.Folder,
                        m.PortListen > 0 ? std::to_string(m.PortListen) : "-",
                        m.NumPort > 0 ? "COM" + std::to_string(m.NumPort) : "-",
                        e.File.Path.empty() ? "-"
                        : e.File.Exists     ? "oui"
                                            : call.Style.Red("absent")});
    }
    PrintTable(out, rows, call.Style);
    return 0;
}

int Check(const Invocation& call, std::ostream& out, std::string& problem) {
    if (call.Arguments.empty()) {
        problem = "check attend au moins un atelier ou un fichier de machine.";
        return 2;
    }
    std::vector<Finding> findings;
    std::size_t machines = 0;
    for (const std::string& path : call.Arguments) {
        std::error_code ec;
        const bool file = fs::is_regular_file(PathFromUtf8(path), ec);
        if (file && !workshop::IsCallerFile(path)) {
            const auto own = workshop::CheckMachineFile(workshop::ReadMachineFile(path));
            findings.insert(findings.end(), own.begin(), own.end());
            ++machines;
            continue;
        }
        workshop::Workshop shop;
        if (!Open(path, shop, problem)) return kNotOpened;
        const auto own = workshop::CheckWorkshop(shop);
        findings.insert(findings.end(), own.begin(), own.end());
        machines += shop.Machines.size();
    }
    if (call.Json) {
        std::vector<std::string> items;
        for (const Finding& f : findings) items.push_back(FindingJson(f));
        out << JsonObject()
                   .Number("machines", static_cast<long long>(machines))
                   .Raw("findings", JsonArray(items))
                   .str()
            << '\n';
    } else {
        for (const Finding& f : findings) PrintFinding(out, f, call.Style);
        if (findings.empty())
            out << call.Style.Green(workshop::Say("x1x machine(s) vérifiée(s) : aucun problème.", machines))
                << '\n';
        else
            out << call.Style.Red(workshop::Say("x1x problème(s) dans x2x machine(s) vérifiée(s).",
                                                findings.size(), machines))
                << '\n';
    }
    return findings.empty() ? 0 : 1;
}

// A machine named on the command line: a file, a folder holding Telvar.ini, or a reference of
// the workshop given with --workshop.
bool Machine(const std::string& name, const workshop::Workshop* shop, workshop::MachineFile& file,
             std::string& problem) {
    std::error_code ec;
    const fs::path path = PathFromUtf8(name);
    if (fs::is_directory(path, ec)) {
        file = workshop::ReadMachineFile(TelvarIniPathIn(name));
    } else if (fs::exists(path, ec)) {
        file = workshop::ReadMachineFile(name);
    } else if (const workshop::MachineEntry* entry = shop ? workshop::FindMachine(*shop, name) : nullptr) {
        file = entry->File;
    } else {
        problem = shop ? name + " n'est ni un fichier ni une machine de l'atelier."
                       : name + " n'existe pas (une référence de machine demande --workshop).";
        return false;
    }
    if (!file.Exists) {
        problem = "Le fichier " + file.Path + " n'existe pas.";
        return false;
    }
    return true;
}

int Diff(const Invocation& call, std::ostream& out, std::string& problem) {
    if (call.Arguments.size() != 2) {
        problem = "diff attend deux machines.";
        return 2;
    }
    workshop::Workshop shop;
    if (!call.Workshop.empty() && !Open(call.Workshop, shop, problem)) return kNotOpened;
    const workshop::Workshop* known = call.Workshop.empty() ? nullptr : &shop;
    workshop::MachineFile a, b;
    if (!Machine(call.Arguments[0], known, a, problem) || !Machine(call.Arguments[1], known, b, problem))
        return kNotOpened;
    const auto differences = workshop::CompareMachines(a, b);
    if (call.Json) {
        std::vector<std::string> items;
        for (const auto& d : differences) {
            items.push_back(JsonObject()
                                .Text("panel", d.Panel)
                                .Text("label", d.Label)
                                .Text("section", d.Section)
                                .Text("key", d.Key)
                                .Text("a", d.A)
                                .Text("b", d.B)
                                .str());
        }
        out << JsonObject().Text("a", a.Path).Text("b", b.Path).Raw("differences", JsonArray(items)).str()
            << '\n';
    } else {
        const Style& s = call.Style;
        for (const auto& d : differences) {
            const std::string where = d.Panel.empty() ? "" : "[" + d.Panel + "] ";
            const std::string what =
                d.Label.empty() ? d.Section + " " + d.Key : d.Label + " (" + d.Section + " " + d.Key + ")";
            out << s.Bold(where + what) << " : " << s.Red(d.A ? "« " + *d.A + " »" : "(absent)") << " → "
                << s.Green(d.B ? "« " + *d.B + " »" : "(absent)") << '\n';
        }
    }
    return differences.empty() ? 0 : 1;
}

int Export(const Invocation& call, std::ostream& out, std::ostream& err, std::string& problem) {
    if (call.Arguments.size() != 2) {
        problem = "export attend un atelier et un dossier.";
        return 2;
    }
    workshop::Workshop shop;
    if (!Open(call.Arguments[0], shop, problem)) return kNotOpened;
    workshop::ExportResult result;
    if (!workshop::ExportWorkshop(shop, call.Arguments[1], result, problem)) return kNotOpened;
    if (call.Json) {
        std::vector<std::string> written, problems;
        for (const auto& w : result.Written) written.push_back(Json(w));
        for (const auto& f : result.Problems) problems.push_back(FindingJson(f));
        out << JsonObject()
                   .Text("folder", call.Arguments[1])
                   .Text("index", result.IndexFile)
                   .Raw("written", JsonArray(written))
                   .Raw("problems", JsonArray(problems))
                   .str()
            << '\n';
    } else {
        for (const auto& w : result.Written) out << w << '\n';
        if (!result.IndexFile.empty()) out << result.IndexFile << '\n';
        for (const auto& f : result.Problems) PrintFinding(err, f, Style{});
    }
    return result.Problems.empty() ? 0 : 1;
}

} // namespace

int Run(const Invocation& call, std::ostream& out, std::ostream& err, std::string& problem) {
    if (call.Command == "list") return List(call, out, problem);
    if (call.Command == "check") return Check(call, out, problem);
    if (call.Command == "diff") return Diff(call, out, problem);
    if (call.Command == "export") return Export(call, out, err, problem);
    problem = "commande inconnue " + call.Command + ".";
    return 2;
}

} // namespace kirva::cli
