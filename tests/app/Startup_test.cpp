// Start-up from the command line to the decision to show the window or to end: the switch, the
// program's folders, the hand-off file, the machine to modify and the single instance.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "app/Startup.h"
#include "machine/MachineFixture.h"
#include "platform/platform.h"

namespace kirva::test {
namespace {

namespace fs = std::filesystem;
const std::string kSep(1, platform::kPathSeparator);

// The hand-off file; the caller's settings file is the program manager's of the test folder.
std::string HandOff(int mode, int appCalling, int currentIndex, int nbDevice) {
    return "[KIRVA]\r\nMode=" + std::to_string(mode) + "\r\nAppCalling=" + std::to_string(appCalling) +
           "\r\nCurrentIndexMO=" + std::to_string(currentIndex) + "\r\nNbDevice=" + std::to_string(nbDevice) +
           "\r\nPathDirData=@ROOT@/Data\r\nPathAppCallingIni=@ROOT@/Kalderon.ini\r\n"
           "[CNC]\r\nRefMO1=TOUR\r\nRefMO2=FRAISEUSE\r\n";
}

struct StartCase {
    const char* name;
    std::string commandLine;
    std::string folder;                 // start folder, below the test folder
    std::optional<std::string> handOff; // nullopt: no hand-off file
    std::string handOffName = "Kirva.ini";
    StartupAction action = StartupAction::End;
    bool reported = false; // "Le fichier Kirva.ini est introuvable !" was shown
    std::string exeFolder; // expected, below the test folder; "" = the install folder
};

void PrintTo(const StartCase& c, std::ostream* os) {
    *os << c.name;
}

class StartupTest : public MachineFixture, public ::testing::WithParamInterface<StartCase> {
  protected:
    StartupTest() {
        WriteBytes(dir / "Kalderon.ini",
                   "[KALDERON]\r\nNbDevice=2\r\n[CNC1]\r\nName=TOUR\r\nPathTelvar=\r\n");
    }
    std::string Root() const { return dir.path().string(); }
    std::string Replaced(std::string text) const {
        for (std::size_t at; (at = text.find("@ROOT@")) != std::string::npos;) text.replace(at, 6, Root());
        return text;
    }
    ProgramState state;
};

TEST_P(StartupTest, EndsOrShowsTheWindow) {
    const StartCase& c = GetParam();
    const std::string startFolder = Root() + kSep + c.folder;
    fs::create_directories(startFolder);
    if (c.handOff) WriteBytes(startFolder + kSep + c.handOffName, Replaced(*c.handOff));
    if (c.exeFolder.empty() && fs::exists(std::string(kInstallFolder) + "Kirva.ini"))
        GTEST_SKIP() << "an installation exists on this computer";
    int started = 0;
    const StartupAction action = Startup({c.commandLine, startFolder, [&] { ++started; }}, state);

    EXPECT_EQ(action, c.action);
    ASSERT_EQ(messages.entries.size(), c.reported ? 1u : 0u);
    if (c.reported) {
        EXPECT_EQ(messages.entries[0].text, "Le fichier Kirva.ini est introuvable !");
        EXPECT_EQ(messages.entries[0].icon, IconWarning);
    }
    if (c.commandLine.find("/MRV") == std::string::npos) {
        EXPECT_EQ(started, 0);
        EXPECT_EQ(state.SettingsFilePath, ""); // nothing was looked at
        return;
    }
    EXPECT_EQ(started, 1);
    const std::string exe = c.exeFolder.empty() ? std::string(kInstallFolder) : Root() + kSep + c.exeFolder;
    EXPECT_EQ(state.ExeFolder, exe);
    EXPECT_EQ(state.DepFilesFolder, exe + "DepFiles" + kSep);
    if (c.handOff) {
        EXPECT_EQ(state.SettingsFilePath, exe + c.handOffName);
    } else {
        EXPECT_EQ(state.SettingsFilePath, exe + "Kirva.ini");
    }
    EXPECT_EQ(state.VersionText, std::to_string(KIRVA_VERSION_MAJOR) + "." +
                                     std::to_string(KIRVA_VERSION_MINOR) + ".0." +
                                     std::to_string(KIRVA_VERSION_REVISION));
    if (c.action == StartupAction::ShowWindow) {
        EXPECT_EQ(state.InfoCNPath, Root() + kSep + "Data" + kSep + "InfoCN.ini");
    }
}

const std::string kExe = "exe" + kSep;

INSTANTIATE_TEST_SUITE_P(
    CommandLineFoldersAndHandOff, StartupTest,
    ::testing::Values(
        StartCase{"NoSwitch", "", "exe", HandOff(1, 1, 1, 2), "Kirva.ini", StartupAction::End, false, ""},
        StartCase{"OtherSpellingsOfTheSwitch", "-MRV MRV /mrv / MRV", "exe", HandOff(1, 1, 1, 2), "Kirva.ini",
                  StartupAction::End, false, ""},
        StartCase{"SwitchInsideAnArgument", "x/MRVy", "exe", HandOff(1, 1, 1, 2), "Kirva.ini",
                  StartupAction::ShowWindow, false, kExe},
        StartCase{"StartFolderEndingWithItsSeparator", "/MRV", "exe" + kSep, HandOff(1, 1, 1, 2), "Kirva.ini",
                  StartupAction::ShowWindow, false, kExe},
        // A copy in a development tree reads the installation folder's hand-off, not its own.
        StartCase{"DevelopmentTree", "/MRV", "Work" + kSep + "TalmDev" + kSep + "Bin", HandOff(1, 1, 1, 2),
                  "Kirva.ini", StartupAction::End, true, ""},
        StartCase{"DevelopmentTreeInLowerCase", "/MRV", "w" + kSep + "talmdev" + kSep + "b",
                  HandOff(1, 1, 1, 2), "Kirva.ini", StartupAction::End, true, ""},
        StartCase{"MarkerIsAWholeFolderName", "/MRV", "Work" + kSep + "TalmDevTools", HandOff(1, 1, 1, 2),
                  "Kirva.ini", StartupAction::ShowWindow, false, "Work" + kSep + "TalmDevTools" + kSep},
        StartCase{"HandOffSpelledInAnotherCase", "/MRV", "exe", HandOff(1, 1, 1, 2), "kirva.INI",
                  StartupAction::ShowWindow, false, kExe},
        StartCase{"MissingHandOffIsReported", "/MRV", "exe", std::nullopt, "Kirva.ini", StartupAction::End,
                  true, kExe},
        StartCase{"EmptyHandOff", "/MRV", "exe", std::string(), "Kirva.ini", StartupAction::End, false, kExe},
        StartCase{"ModeZero", "/MRV", "exe", HandOff(0, 2, 1, 2), "Kirva.ini", StartupAction::End, false,
                  kExe},
        StartCase{"AppCallingZero", "/MRV", "exe", HandOff(1, 0, 1, 2), "Kirva.ini", StartupAction::End,
                  false, kExe},
        StartCase{"BrokenHandOff", "/MRV", "exe",
                  "[KIRVA]\r\nMode=1\r\nAppCalling=2\r\nCurrentIndexMO=9e9\r\n", "Kirva.ini",
                  StartupAction::End, false, kExe},
        StartCase{"ModifyAMachine", "/MRV", "exe", HandOff(1, 2, 1, 2), "Kirva.ini",
                  StartupAction::ShowWindow, false, kExe},
        StartCase{"MachineBeyondTheCount", "/MRV", "exe", HandOff(1, 2, 3, 2), "Kirva.ini",
                  StartupAction::End, false, kExe},
        StartCase{"NewMachineIgnoresTheIndex", "/MRV", "exe", HandOff(1, 1, 9, 2), "Kirva.ini",
                  StartupAction::ShowWindow, false, kExe},
        StartCase{"UnknownCallerStartsANewMachine", "/MRV", "exe", HandOff(3, 2, 9, 2), "Kirva.ini",
                  StartupAction::ShowWindow, false, kExe}),
    [](const ::testing::TestParamInfo<StartCase>& info) { return std::string(info.param.name); });

TEST_F(StartupTest, ModifyReadsTheCallersEntryAndTheMachine) {
    fs::create_directories(dir.path() / "exe");
    WriteBytes(dir / "exe/Kirva.ini", Replaced(HandOff(1, 2, 2, 2)));
    WriteBytes(dir / "Kalderon.ini",
               "[KALDERON]\r\n[CNC2]\r\nName=FRAISEUSE\r\nPathTelvar=" + MachineDir() + "\r\n");
    WriteTelvar("[DNC]\r\nRefMO=FRAISEUSE\r\n");
    ASSERT_EQ(Startup({"/MRV", dir / "exe", nullptr}, state), StartupAction::ShowWindow);
    EXPECT_EQ(Machine().Name, "FRAISEUSE");
    EXPECT_EQ(Machine().RefMO, "FRAISEUSE");
    EXPECT_EQ(state.MachineSettingsPath, TelvarPath());
    // A machine file that cannot be read ends start-up.
    WriteTelvar("[DNC]\r\nNbCanaux=99999\r\n");
    EXPECT_EQ(Startup({"/MRV", dir / "exe", nullptr}, state), StartupAction::End);
}

#ifndef _WIN32
// Another instance holds the lock: start-up ends before it reads anything. The check runs in a
// child process, as a second start of the program would.
TEST_F(StartupTest, SecondInstanceEndsSilently) {
    fs::create_directories(dir.path() / "exe");
    WriteBytes(dir / "exe/Kirva.ini", Replaced(HandOff(1, 1, 1, 2)));
    fs::create_directories(dir.path() / "marovex");
    const int fd = ::open((dir / "marovex/kirva.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
    const auto runChild = [&] {
        const pid_t child = ::fork();
        if (child == 0) {
            ProgramState childState;
            const StartupAction action = Startup({"/MRV", dir / "exe", nullptr}, childState);
            const bool quiet = messages.entries.empty() && childState.Settings.Mode == 0;
            ::_exit(action == StartupAction::End && quiet ? 10
                    : action == StartupAction::ShowWindow ? 20
                                                          : 30);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(runChild(), 10);
    ::close(fd);
    EXPECT_EQ(runChild(), 20); // the lock is free again
}
#endif

} // namespace
} // namespace kirva::test
