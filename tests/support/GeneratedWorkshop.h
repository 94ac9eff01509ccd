// A workshop of any size for the command line's tests and benchmark: the program manager's
// Kalderon.ini and, for each machine, a Telvar.ini made by the program's own writer and an Iso.ini,
// all clean; faults are then planted one at a time. Standard C++ and the core only.
// The writer also touches the registry (the Run value): set KIRVA_REGISTRY first.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "machine/TelvarFile.h"

namespace kirva::test {

class GeneratedWorkshop {
  public:
    // Writes machines MACHINE_0001 ... under root (which must exist): network machines listening
    // on TCP ports 5001, 5002, ... with no serial port, each with a plan, a channel and an insertion.
    GeneratedWorkshop(const std::filesystem::path& root, int machines) : root_(root), count_(machines) {
        namespace fs = std::filesystem;
        fs::create_directories(root_ / "Kalderon");
        fs::create_directories(root_ / "template");
        MachineConfig machine;
        machine.RefMO = "@REF@";
        machine.Methode = 4;
        machine.Techno = 1;
        machine.NbCanaux = 1;
        machine.PathIsoIni = "@ISO@";
        RemonteState remonte;
        WriteTelvarIniTo(Folder("template"), machine, {"127.0.0.1", Folder("Data")}, remonte);
        const std::string templateBytes = Read(Folder("template") + "Telvar.ini") +
                                          "[PLANS]\r\nref:XZ|LadX:X|LadY:Z|CoeffX:1|CoeffY:1|R:0|\r\n"
                                          "[CANAUX]\r\nref:Broche|Pref:$1|Suff:|Canal:1|\r\n";
        std::string caller = "[KALDERON]\r\nLangue=FR.lng\r\nNbDevice=" + std::to_string(machines) + "\r\n";
        for (int n = 1; n <= machines; ++n) {
            const std::string ref = Reference(n);
            const std::string folder = Folder("Telvar/" + ref);
            fs::create_directories(fs::path(folder));
            std::string bytes = Replaced(templateBytes, "@REF@", ref);
            bytes = Replaced(bytes, "@ISO@", folder + "Iso.ini");
            bytes = Replaced(bytes, "PortListen=0", "PortListen=" + std::to_string(5000 + n));
            Write(folder + "Telvar.ini", bytes);
            Write(folder + "Iso.ini", "[INSERT]\r\nOrigine=iso:G90 G0 X0 Y0|bmp:|Rac:1113|\r\n-\r\n");
            caller += "[CNC" + std::to_string(n) + "]\r\nName=" + ref + "\r\nPathTelvar=" + folder + "\r\n";
        }
        Write(CallerFile(), caller);
    }

    static std::string Reference(int n) {
        char text[32];
        std::snprintf(text, sizeof text, "MACHINE_%04d", n);
        return text;
    }
    int Count() const { return count_; }
    std::string CallerFile() const { return (root_ / "Kalderon" / "Kalderon.ini").string(); }
    std::string MachineFolder(int n) const { return Folder("Telvar/" + Reference(n)); }
    std::string MachineFile(int n) const { return MachineFolder(n) + "Telvar.ini"; }

    // Sets key=value in a section of a file written above (the key is added when missing).
    static void Set(const std::string& path, const std::string& section, const std::string& key,
                    const std::string& value) {
        std::string bytes = Read(path);
        const auto header = bytes.find("[" + section + "]");
        const auto end = bytes.find("\r\n[", header);
        const auto at = bytes.find("\r\n" + key + "=", header);
        if (at != std::string::npos && (end == std::string::npos || at < end)) {
            const auto lineEnd = bytes.find("\r\n", at + 2);
            bytes.replace(at + 2, lineEnd - at - 2, key + "=" + value);
        } else {
            bytes.insert(header + section.size() + 2, "\r\n" + key + "=" + value);
        }
        Write(path, bytes);
    }
    static void Append(const std::string& path, const std::string& text) { Write(path, Read(path) + text); }

    static std::string Read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    static void Write(const std::string& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    }

    static std::string Replaced(std::string text, const std::string& from, const std::string& to) {
        for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
            text.replace(at, from.size(), to);
        return text;
    }

  private:
    std::string Folder(const std::string& name) const {
        std::string path = (root_ / name).string();
        return path + static_cast<char>(std::filesystem::path::preferred_separator);
    }
    std::filesystem::path root_;
    int count_;
};

} // namespace kirva::test
