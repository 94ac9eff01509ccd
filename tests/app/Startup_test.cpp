// Start-up from the command line to the decision to show the window or to end: the switch, the
// program's folders, the hand-off file, the machine to modify from either calling program's file,
// and the single instance.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/file.h>
#endif

#include "app/AppTestSupport.h"

namespace kirva::test {
namespace {

const std::string kSep(1, platform::kPathSeparator);

// The messages start-up may end with.
const char* const kNoHandOff = "Le fichier Kirva.ini est introuvable !";
const char* const kCountTooLarge = "Le fichier Kirva.ini est incorrect : NbDevice vaut 10001, alors que la "
                                   "valeur doit être comprise entre 0 et 10000 !";
const char* const kNoMachineFile = "Le fichier d'initialisation du Port DNC est introuvable.";
const char* const kDamagedMachineFile = "Problème durant l'ouverture du fichier telvar.ini";

// The hand-off file for "<Mode><AppCalling><CurrentIndexMO><NbDevice>", one digit each, or the text
// itself when it is a file's text. The caller's settings file is the test folder's Harbix.ini for
// Mode 2, its Kalderon.ini otherwise.
std::string HandOff(const std::string& root, const std::string& code) {
    if (code.size() != 4) return code;
    return "[KIRVA]\r\nMode=" + code.substr(0, 1) + "\r\nAppCalling=" + code.substr(1, 1) +
           "\r\nCurrentIndexMO=" + code.substr(2, 1) + "\r\nNbDevice=" + code.substr(3, 1) +
           "\r\nPathDirData=" + root + "/Data\r\nPathAppCallingIni=" + root +
           (code[0] == '2' ? "/Harbix.ini" : "/Kalderon.ini") +
           "\r\n[CNC]\r\nRefMO1=TOUR\r\nRefMO2=FRAISEUSE\r\n";
}

struct StartCase {
    const char* name;
    const char* commandLine;
    const char* folder;  // start folder, below the test folder
    const char* exe;     // expected executable folder below the test folder; "" the installation's,
                         // nullptr: the command line does not ask to start
    const char* file;    // the hand-off file's name in the start folder; nullptr: none
    const char* handOff; // see HandOff
    StartupAction action;
    const char* message; // the one message shown (critical for the machine file's), nullptr none
    const char* machine; // "Name/RefMO" of the machine to modify as read
};

class StartupTest : public MachineFixture, public ::testing::WithParamInterface<StartCase> {
  protected:
    StartupTest() {
        // Entry 1 of the program manager has no server folder; entry 3's machine file is damaged.
        WriteBytes(dir / "Kalderon.ini",
                   "[KALDERON]\r\n[CNC1]\r\nName=TOUR\r\n[CNC2]\r\nName=Tour 2\r\nPathTelvar=" +
                       MachineDir() + "\r\n[CNC3]\r\nName=TOUR3\r\nPathTelvar=" + (dir / "M2") + "\r\n");
        // Entry 1 of the transfer program names a folder without a machine file.
        WriteBytes(dir / "Harbix.ini", "[CNC]\r\nRefMO1=TOUR\r\nPathTelvar1=" + (dir / "none") +
                                           "\r\nRefMO2=TOUR2\r\nPathTelvar2=" + MachineDir() + "\r\n");
        WriteTelvar("[DNC]\r\nRefMO=TOUR2\r\n");
        WriteBytes(dir / "M2/Telvar.ini", "[DNC]\r\nNbCanaux=99999\r\n");
    }
    std::string Root() const { return dir.path().string(); }
    ProgramState state;
};

TEST_P(StartupTest, EndsOrShowsTheWindow) {
    const StartCase& c = GetParam();
    const std::string startFolder = Root() + kSep + Native(c.folder);
    fs::create_directories(startFolder);
    if (c.file) WriteBytes(startFolder + kSep + c.file, HandOff(Root(), c.handOff));
    if (c.exe && !*c.exe && fs::exists(std::string(kInstallFolder) + "Kirva.ini"))
        GTEST_SKIP() << "an installation exists on this computer";
    int started = 0;
    const StartupAction action = Startup({c.commandLine, startFolder, [&] { ++started; }}, state);

    EXPECT_EQ(action, c.action);
    const bool critical = c.message == kNoMachineFile;
    EXPECT_TRUE(c.message ? messages.Only(c.message, critical ? IconCritical : IconWarning)
                          : ::testing::AssertionResult(messages.entries.empty()));
    EXPECT_EQ(Machine().Name + "/" + Machine().RefMO, c.machine);
    EXPECT_EQ(started, c.exe ? 1 : 0);
    if (!c.exe) {
        EXPECT_EQ(state.SettingsFilePath, ""); // nothing was looked at
        return;
    }
    const std::string exe = *c.exe ? Root() + kSep + Native(c.exe) : std::string(kInstallFolder);
    EXPECT_EQ(state.ExeFolder, exe);
    EXPECT_EQ(state.DepFilesFolder, exe + "DepFiles" + kSep);
    EXPECT_EQ(ComparedPath(state.SettingsFilePath), ComparedPath(exe + (c.file ? c.file : "Kirva.ini")));
    if (c.action == StartupAction::ShowWindow) {
        EXPECT_EQ(state.InfoCNPath, Root() + "/Data" + kSep + "InfoCN.ini");
        EXPECT_EQ(state.MachineSettingsPath, Machine().RefMO.empty() ? "" : TelvarPath());
    }
}

constexpr StartupAction End = StartupAction::End, Show = StartupAction::ShowWindow;

const StartCase kCases[] = {
    {"SwitchSpelledOtherwise", "-MRV MRV /mrv / MRV", "exe", nullptr, "Kirva.ini", "1112", End, nullptr, "/"},
    {"SwitchInsideAnArgument", "x/MRVy", "exe", "exe/", "Kirva.ini", "1112", Show, nullptr, "/"},
    {"StartFolderWithSeparator", "/MRV", "exe/", "exe/", "Kirva.ini", "1112", Show, nullptr, "/"},
    // A copy in a development tree reads the installation folder's hand-off, not its own.
    {"DevelopmentTree", "/MRV", "Work/TalmDev/Bin", "", "Kirva.ini", "1112", End, kNoHandOff, "/"},
    {"MarkerIsAWholeFolderName", "/MRV", "W/TalmDevTools", "W/TalmDevTools/", "Kirva.ini", "1112", Show,
     nullptr, "/"},
    {"HandOffSpelledOtherwise", "/MRV", "exe", "exe/", "kirva.INI", "1112", Show, nullptr, "/"},
    {"CountBeyondTheLimit", "/MRV", "exe", "exe/", "Kirva.ini",
     "[KIRVA]\r\nMode=1\r\nAppCalling=1\r\nNbDevice=10001\r\n", End, kCountTooLarge, "/"},
    {"ModeZero", "/MRV", "exe", "exe/", "Kirva.ini", "0212", End, nullptr, "/"},
    {"AppCallingZero", "/MRV", "exe", "exe/", "Kirva.ini", "1012", End, nullptr, "/"},
    {"NewMachineIgnoresIndex", "/MRV", "exe", "exe/", "Kirva.ini", "1192", Show, nullptr, "/"},
    {"UnknownCallerNewMachine", "/MRV", "exe", "exe/", "Kirva.ini", "3292", Show, nullptr, "/"},
    {"MachineBeyondTheCount", "/MRV", "exe", "exe/", "Kirva.ini", "1232", End, nullptr, "/"},
    {"ManagerMachineWithoutFolder", "/MRV", "exe", "exe/", "Kirva.ini", "1212", Show, nullptr, "TOUR/"},
    {"ManagerMachine", "/MRV", "exe", "exe/", "Kirva.ini", "1222", Show, nullptr, "Tour 2/TOUR2"},
    {"DamagedMachineFile", "/MRV", "exe", "exe/", "Kirva.ini", "1233", End, kDamagedMachineFile, "TOUR3/"},
    {"TransferMachine", "/MRV", "exe", "exe/", "Kirva.ini", "2222", Show, nullptr, "TOUR2/TOUR2"},
    {"TransferMachineWithoutFile", "/MRV", "exe", "exe/", "Kirva.ini", "2212", End, kNoMachineFile, "TOUR/"},
};

INSTANTIATE_TEST_SUITE_P(CommandLineFoldersHandOffAndMachine, StartupTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<StartCase>& info) {
                             return std::string(info.param.name);
                         });

#ifndef _WIN32 // a file lock; the platform tests refuse a second holder of Windows' named mutex
// Another instance holds the lock: start-up ends before it reads anything. The check runs in a
// child process, as a second start of the program would.
TEST_F(StartupTest, SecondInstanceEndsSilently) {
    WriteBytes(dir / "exe/Kirva.ini", HandOff(Root(), "1112"));
    WriteBytes(dir / "marovex/kirva.lock", "");
    const int fd = ::open((dir / "marovex/kirva.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
    const auto startInChild = [&] {
        return InChild([&] {
            const StartupAction action = Startup({"/MRV", dir / "exe", nullptr}, state);
            const bool quiet = messages.entries.empty() && state.Settings.Mode == 0;
            return action == StartupAction::End && quiet ? 10 : action == StartupAction::ShowWindow ? 20 : 30;
        });
    };
    EXPECT_EQ(startInChild(), 10);
    ::close(fd);
    EXPECT_EQ(startInChild(), 20); // the lock is free again
}
#endif

} // namespace
} // namespace kirva::test
