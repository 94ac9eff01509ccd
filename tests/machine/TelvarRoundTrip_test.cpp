// A machine file edited by hand (comments, odd spacing, keys and sections this program does not
// know, code page 1252 text, CR LF) read and written back with one value changed: every other
// byte stays as the technician left it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ini/document.h"
#include "machine/MachineFixture.h"
#include "machine/TelvarFile.h"

namespace kirva::test {
namespace {

class TelvarRoundTrip : public MachineFixture {};

// The lines of a CR LF file, without their line ends.
std::vector<std::string> Lines(const std::string& bytes) {
    std::vector<std::string> lines;
    for (const std::string_view line : ini::SplitLines(bytes)) lines.emplace_back(line);
    return lines;
}

std::string Join(const std::vector<std::string>& lines) {
    std::string bytes;
    for (const std::string& line : lines) bytes += line + "\r\n";
    return bytes;
}

TEST_F(TelvarRoundTrip, ChangingOneValueKeepsEveryOtherByte) {
    // A complete file as the program writes it is the starting point of the technician's edit.
    const WorkstationValues workstation{"10.1.2.3", "/data/talm/"};
    MachineConfig machine;
    machine.MachineDir = MachineDir();
    machine.RefMO = "TOUR1";
    machine.UserPassword = "s3cret";
    machine.PathIsoIni = MachineDir() + "Iso.ini";
    machine.PortListen = 5001;
    std::filesystem::create_directories(MachineDir());
    ASSERT_TRUE(WriteTelvarIni(machine, workstation, Remonte()));
    const std::vector<std::string> written = Lines(ReadBytes(TelvarPath()));

    // The edit: a comment in code page 1252 under each header, blanks around "=" on every
    // third key, a key and a section of the technician's own, a value with an accent.
    std::vector<std::string> edited;
    int keys = 0;
    for (const std::string& line : written) {
        const std::size_t equals = line.find('=');
        if (line.starts_with("[")) {
            edited.push_back(line);
            edited.push_back("; r\xE9gl\xE9 \xE0 la main le 3 mars");
            if (line == "[RESEAU]") edited.push_back("Atelier = B\xE2timent B");
        } else if (line.starts_with("RemoteHost=")) {
            edited.push_back("RemoteHost=serveur-pi\xE8"
                             "ces");
        } else if (equals != std::string::npos && ++keys % 3 == 0) {
            edited.push_back("  " + line.substr(0, equals) + " =  " + line.substr(equals + 1) + "\t");
        } else {
            edited.push_back(line);
        }
        if (line == "[TEMPO]") edited.insert(edited.end() - 2, {"[NOTES]", "Qui=H\xE9l\xE8ne", ""});
    }
    ASSERT_GT(keys, 150);
    const std::string before = Join(edited);
    WriteTelvar(before);
    ini::ClearCache();

    MachineConfig read;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), read, Remonte()));
    EXPECT_EQ(read.RemoteHost, "serveur-pi\xC3\xA8"
                               "ces");
    ASSERT_EQ(read.PortListen, machine.PortListen);
    read.PortListen = machine.PortListen + 1;
    ASSERT_TRUE(WriteTelvarIni(read, workstation, Remonte()));

    // Only the PortListen line differs; it keeps its spelling and place.
    std::vector<std::string> expected = edited;
    bool changed = false;
    for (std::string& line : expected) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        std::string name = line.substr(0, equals);
        name.erase(0, name.find_first_not_of(" \t"));
        name.erase(name.find_last_not_of(" \t") + 1);
        if (name != "PortListen") continue;
        line = "PortListen=" + std::to_string(machine.PortListen + 1);
        changed = true;
    }
    ASSERT_TRUE(changed);
    EXPECT_EQ(ReadBytes(TelvarPath()), Join(expected));
    EXPECT_TRUE(messages.entries.empty());
}

} // namespace
} // namespace kirva::test
