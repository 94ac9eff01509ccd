// Settings files that are not usable files (a folder, a device, a FIFO) get the reader's "not
// found" message at once: nothing blocks on a FIFO and no reader goes on with empty values. A
// hand-off file that asks for a list longer than the limit ends start-up with a message.
#include <gtest/gtest.h>

#ifndef _WIN32

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "app/CallerSettings.h"
#include "app/ProgramSettings.h"
#include "app/Startup.h"
#include "machine/MachineFixture.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"

namespace kirva::test {
namespace {

namespace fs = std::filesystem;

enum class Kind { Folder, LinkToDevice, Device, Fifo, FolderSpelledOtherwise, FifoSpelledOtherwise };

const char* KindName(Kind k) {
    switch (k) {
    case Kind::Folder:
        return "Folder";
    case Kind::LinkToDevice:
        return "LinkToDevice";
    case Kind::Device:
        return "Device";
    case Kind::Fifo:
        return "Fifo";
    case Kind::FolderSpelledOtherwise:
        return "FolderSpelledOtherwise";
    case Kind::FifoSpelledOtherwise:
        return "FifoSpelledOtherwise";
    }
    return "?";
}

class BadFiles : public MachineFixture {
  public:
    using MachineFixture::dir;
    MachineConfig machine;
};

// One reader: the file name it is given, how it is called, and what it must say.
struct Role {
    const char* name;
    const char* file;
    std::function<bool(BadFiles&, const std::string& path)> read;
    const char* message;
    int icon;
};

const Role kRoles[] = {
    {"HandOff", "Kirva.ini",
     [](BadFiles&, const std::string& path) {
         ProgramSettings settings;
         return ReadProgramSettings(path, settings);
     },
     "Le fichier Kirva.ini est introuvable !", IconWarning},
    {"ProgramManager", "Kalderon.ini",
     [](BadFiles& f, const std::string& path) { return ReadKalderonEntry(path, 1, f.machine); },
     "Le fichier Kalderon.ini est introuvable !", IconWarning},
    {"TransferProgram", "Harbix.ini",
     [](BadFiles& f, const std::string& path) { return ReadHarbixEntry(path, 1, f.machine); },
     "Le fichier Harbix.ini est introuvable !", IconWarning},
    {"MachineFile", "Telvar.ini",
     [](BadFiles& f, const std::string& path) { return ReadTelvarIni(path, f.machine); },
     "Le fichier d'initialisation du Port DNC est introuvable.", IconCritical},
};

// Puts a bad file of that kind where the reader looks and returns the path the reader is given.
std::string Stage(BadFiles& f, const Role& role, Kind kind) {
    const std::string path = f.dir / role.file;
    std::string upper = role.file;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const std::string otherSpelling = f.dir / upper; // what is on disk; the reader asks for `path`
    switch (kind) {
    case Kind::Folder:
        WriteBytes(path + "/inside.ini", "[KIRVA]\r\nMode=1\r\n");
        break;
    case Kind::LinkToDevice:
        fs::create_symlink("/dev/null", path);
        break;
    case Kind::Device:
        return "/dev/null";
    case Kind::Fifo:
        EXPECT_EQ(::mkfifo(path.c_str(), 0644), 0);
        break;
    case Kind::FolderSpelledOtherwise:
        WriteBytes(otherSpelling + "/inside.ini", "[KIRVA]\r\nMode=1\r\n");
        break;
    case Kind::FifoSpelledOtherwise:
        EXPECT_EQ(::mkfifo(otherSpelling.c_str(), 0644), 0);
        break;
    }
    return path;
}

struct BadFileCase {
    const Role* role;
    Kind kind;
};

void PrintTo(const BadFileCase& c, std::ostream* os) {
    *os << c.role->file << " as " << KindName(c.kind);
}

class BadFilesTable : public BadFiles, public ::testing::WithParamInterface<BadFileCase> {};

// A FIFO opened for reading without a writer would block: the ctest time-out guards these rows.
TEST_P(BadFilesTable, AreNotFoundAtOnce) {
    const BadFileCase& c = GetParam();
    const std::string path = Stage(*this, *c.role, c.kind);
    machine.RefMO = "AVANT";
    machine.Name = "AVANT";
    EXPECT_FALSE(c.role->read(*this, path));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].text, c.role->message);
    EXPECT_EQ(messages.entries[0].icon, c.role->icon);
    EXPECT_EQ(machine.RefMO, "AVANT"); // nothing was read into the record
    EXPECT_EQ(machine.Name, "AVANT");
}

std::vector<BadFileCase> AllBadFiles() {
    std::vector<BadFileCase> cases;
    for (const Role& role : kRoles) {
        for (Kind kind : {Kind::Folder, Kind::LinkToDevice, Kind::Device, Kind::Fifo,
                          Kind::FolderSpelledOtherwise, Kind::FifoSpelledOtherwise})
            cases.push_back({&role, kind});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(RolesAndKinds, BadFilesTable, ::testing::ValuesIn(AllBadFiles()),
                         [](const ::testing::TestParamInfo<BadFileCase>& info) {
                             return std::string(info.param.role->name) + "_" + KindName(info.param.kind);
                         });

// The look-up without regard to case finds regular files only, and prefers a regular file in another
// spelling to a folder or a FIFO of the exact name.
TEST_F(BadFiles, CaseInsensitiveLookupFindsRegularFilesOnly) {
    fs::create_directories(dir.path() / "Lng");
    ASSERT_EQ(::mkfifo((dir / "Fifo.ini").c_str(), 0644), 0);
    fs::create_symlink("/dev/null", dir / "Null.ini");
    fs::create_directories(dir.path() / "Telvar.ini");
    WriteBytes(dir / "TELVAR.INI", "[DNC]\r\n");
    WriteBytes(dir / "Lng/FR.lng", "");
    fs::create_symlink(dir / "Lng/FR.lng", dir / "Link.lng");
    const std::string folder = dir.path().string();
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {"fifo.INI", std::nullopt},
        {"Fifo.ini", std::nullopt},
        {"null.ini", std::nullopt},
        {"Lng", std::nullopt},
        {"LNG", std::nullopt},
        {"Telvar.ini", dir / "TELVAR.INI"},
        {"telvar.ini", dir / "TELVAR.INI"},
        {"lng/fr.lng", dir / "Lng/FR.lng"},
        {"link.LNG", dir / "Link.lng"}, // a link to a regular file is that file
    };
    for (const auto& [name, found] : cases) EXPECT_EQ(platform::FindFileNoCase(folder, name), found) << name;
}

// Start-up on a machine whose Telvar.ini is not a usable file ends with the machine file's message,
// never with an empty machine.
TEST_F(BadFiles, StartupOnABadMachineFileEndsWithItsMessage) {
    const std::string machineDir = (dir.path() / "M1").string();
    WriteBytes(dir / "Kalderon.ini", "[CNC1]\r\nName=TOUR1\r\nPathTelvar=" + machineDir + "\r\n");
    fs::create_directories(machineDir);
    ASSERT_EQ(::mkfifo((machineDir + "/Telvar.ini").c_str(), 0644), 0);
    ProgramState state;
    state.Settings.Mode = 1;
    state.Settings.AppCalling = 2;
    state.Settings.CurrentIndexMO = 1;
    state.Settings.NbDevice = 1;
    state.Settings.PathAppCallingIni = dir / "Kalderon.ini";
    EXPECT_FALSE(ReadMachineToModify(state));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].text, "Le fichier d'initialisation du Port DNC est introuvable.");
    EXPECT_EQ(messages.entries[0].icon, IconCritical);
}

// A count of the hand-off file outside 0 ... 10000 ends start-up with a message naming it.
TEST_F(BadFiles, ListCountBeyondTheLimitEndsStartupWithAMessage) {
    struct Case {
        const char* content;
        const char* message;
    };
    const Case cases[] = {
        {"[KIRVA]\r\nMode=1\r\nAppCalling=1\r\nNbDevice=10001\r\n",
         "Le fichier Kirva.ini est incorrect : NbDevice vaut 10001, alors que la valeur doit être comprise "
         "entre 0 et 10000 !"},
        {"[KIRVA]\r\nMode=1\r\nAppCalling=1\r\nNbDevice=4294967296\r\n",
         "Le fichier Kirva.ini est incorrect : NbDevice vaut 4294967296, alors que la valeur doit être "
         "comprise entre 0 et 10000 !"},
        {"[KIRVA]\r\nMode=1\r\nAppCalling=1\r\nNbDevice= -1 \r\n",
         "Le fichier Kirva.ini est incorrect : NbDevice vaut -1, alors que la valeur doit être comprise "
         "entre 0 et 10000 !"},
        {"[KIRVA]\r\nMode=1\r\nAppCalling=1\r\n[TREEVIEW]\r\nNbTreeViewNode=1e9\r\n",
         "Le fichier Kirva.ini est incorrect : NbTreeViewNode vaut 1e9, alors que la valeur doit être "
         "comprise entre 0 et 10000 !"},
        {"[KIRVA]\r\nMode=1\r\nAppCalling=1\r\n[SPECIFICITE]\r\nNbSpe=10000.6\r\n",
         "Le fichier Kirva.ini est incorrect : NbSpe vaut 10000.6, alors que la valeur doit être comprise "
         "entre 0 et 10000 !"},
    };
    fs::create_directories(dir.path() / "exe");
    for (const Case& c : cases) {
        messages.entries.clear();
        WriteBytes(dir / "exe/Kirva.ini", c.content);
        ini::ClearCache();
        ProgramState state;
        EXPECT_EQ(Startup({"/MRV", dir / "exe", nullptr}, state), StartupAction::End) << c.content;
        ASSERT_EQ(messages.entries.size(), 1u) << c.content;
        EXPECT_EQ(messages.entries[0].text, c.message);
        EXPECT_EQ(messages.entries[0].icon, IconWarning);
    }
    // At the limit the lists are read and the window opens.
    WriteBytes(dir / "exe/Kirva.ini", "[KIRVA]\r\nMode=1\r\nAppCalling=1\r\nNbDevice=10000\r\n");
    ini::ClearCache();
    messages.entries.clear();
    ProgramState state;
    EXPECT_EQ(Startup({"/MRV", dir / "exe", nullptr}, state), StartupAction::ShowWindow);
    EXPECT_TRUE(messages.entries.empty());
}

} // namespace
} // namespace kirva::test

#endif
