// The calling programs' settings files: the machine entry in both formats, the machine count of
// a new machine, and the notification as a listening calling program receives it.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#endif

#include <filesystem>

#include "app/CallerSettings.h"
#include "machine/MachineFixture.h"
#include "platform/platform.h"
#include "translate/translate.h"

namespace kirva::test {
namespace {

const std::string kSep(1, platform::kPathSeparator);
// Where each calling program publishes its window ("AppHwnd").
const char* const kKalderonKey = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
const char* const kHarbixKey = "SOFTWARE\\MAROVEX\\TALM\\HARBIX";

class CallersTest : public MachineFixture {
  protected:
    std::string KalderonIni() const { return dir / "Kalderon.ini"; }
    std::string HarbixIni() const { return dir / "Harbix.ini"; }
    MachineConfig machine;
};

TEST_F(CallersTest, KalderonEntryIsRead) {
    WriteBytes(KalderonIni(),
               "[KALDERON]\r\nLangue=EN.lng\r\nNbDevice=2\r\n"
               "[CNC2]\r\nName= Tour 2 \r\nDirTreeView=Atelier\r\nPathTelvar=/m/t2/\r\n"
               "PathFileProgOpen=\r\nPathFileProg=D:\\Prog\r\nPathFileProgSave=/s\r\nPathArchive=/a\r\n"
               "PathFileHead=h.txt\r\nPathFileFeet=f.txt\r\nOpenInBD=1.5\r\nModeGestionBD=3\r\n"
               "CoefXYZ=1;1;1\r\nInsKeyF5=M30\r\nInsKeyF12=G0\r\nCurrentPathDirLog=/log\r\n"
               "[CHAINAGE]\r\nChainExe=chain.exe\r\n");
    ASSERT_TRUE(ReadKalderonEntry(KalderonIni(), 2, machine));
    EXPECT_EQ(machine.Name, "Tour 2");
    EXPECT_EQ(machine.DirTreeView, "Atelier");
    EXPECT_EQ(machine.PathTelvar, "/m/t2/");
    EXPECT_EQ(machine.PathFileProgOpen, "D:\\Prog"); // the older key stands in for the empty one
    EXPECT_EQ(machine.PathFileProgSave, "/s");
    EXPECT_EQ(machine.PathArchive, "/a");
    EXPECT_EQ(machine.PathFileHead, "h.txt");
    EXPECT_EQ(machine.PathFileFeet, "f.txt");
    EXPECT_EQ(machine.OpenInBD, 2);
    EXPECT_EQ(machine.ModeGestionBD, 3);
    EXPECT_EQ(machine.CoefXYZ, "1;1;1");
    EXPECT_EQ(machine.InsKeyF[0], "M30");
    EXPECT_EQ(machine.InsKeyF[7], "G0");
    EXPECT_EQ(machine.CurrentPathDirLog, "/log");
    EXPECT_EQ(machine.ChainExe, "chain.exe");
    EXPECT_EQ(TK_TRANSLATE::Shared().PathDico(), dir.path().string() + kSep + "Lng" + kSep + "EN.lng");
}

TEST_F(CallersTest, KalderonNumberZeroOnlySetsTheDictionary) {
    WriteBytes(KalderonIni(), "[KALDERON]\r\n[CNC0]\r\nName=zero\r\n");
    machine.Name = "keep";
    ASSERT_TRUE(ReadKalderonEntry(KalderonIni(), 0, machine));
    EXPECT_EQ(machine.Name, "keep");
    EXPECT_EQ(TK_TRANSLATE::Shared().PathDico(), dir.path().string() + kSep + "Lng" + kSep + "FR.lng");
}

TEST_F(CallersTest, HarbixEntryIsRead) {
    WriteBytes(HarbixIni(), "[CNC]\r\nRefMO3=FRAISE\r\nPathTelvar3=/m/f/\r\nPathFileProgOpen3=/o\r\n"
                            "PathFileProgSave3=/s\r\nPathArchive3=/a\r\nRefMO1=other\r\n");
    machine.DirTreeView = "old node";
    ASSERT_TRUE(ReadHarbixEntry(HarbixIni(), 3, machine));
    EXPECT_EQ(machine.Name, "FRAISE");
    EXPECT_EQ(machine.PathTelvar, "/m/f/");
    EXPECT_EQ(machine.PathFileProgOpen, "/o");
    EXPECT_EQ(machine.PathFileProgSave, "/s");
    EXPECT_EQ(machine.PathArchive, "/a");
    EXPECT_EQ(machine.DirTreeView, "");
}

TEST_F(CallersTest, MissingFilesAreReported) {
    struct Case {
        int mode;
        const char* text;
    };
    for (const Case& c : {Case{1, "Le fichier Kalderon.ini est introuvable !"},
                          Case{2, "Le fichier Harbix.ini est introuvable !"}}) {
        messages.entries.clear();
        EXPECT_FALSE(ReadCallerEntry(c.mode, dir / "missing.ini", 1, machine));
        ASSERT_EQ(messages.entries.size(), 1u);
        EXPECT_EQ(messages.entries[0].text, c.text);
        EXPECT_EQ(messages.entries[0].icon, IconWarning);
    }
}

TEST_F(CallersTest, IntegerOutOfRangeFailsTheRead) {
    WriteBytes(KalderonIni(), "[CNC1]\r\nName=a\r\nOpenInBD=99999999999\r\n");
    EXPECT_FALSE(ReadKalderonEntry(KalderonIni(), 1, machine));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].icon, IconWarning);
    EXPECT_EQ(machine.Name, "a");
}

// An entry written in each caller's format, byte for byte: keys in the caller's order, values
// trimmed of blanks (line breaks become blanks first), keys the caller keeps for itself untouched.
TEST_F(CallersTest, EntryIsWrittenInTheCallersFormat) {
    machine.Name = "  Tour 1 ";
    machine.DirTreeView = "\tAtelier ";
    machine.PathTelvar = " /m/t1/ ";
    machine.PathFileProgOpen = "D:\\Prog ";
    machine.PathFileProgSave = " /s";
    machine.PathArchive = "/a ";
    machine.PathFileHead = " h.txt\r\n";
    machine.PathFileFeet = "f.txt\t";
    machine.OpenInBD = -2;
    machine.ModeGestionBD = 3;
    machine.CoefXYZ = " 1;1;1 ";
    machine.InsKeyF[4] = " G28 ";
    machine.InsKeyF[7] = "M30 ";
    machine.ChainExe = " c.exe ";
    machine.CurrentPathDirLog = "/changed"; // read from the caller's file, never written
    const std::string kalderonEntry =
        "Name=Tour 1\r\nDirTreeView=Atelier\r\nPathTelvar=/m/t1/\r\nPathFileProgOpen=D:\\Prog\r\n"
        "PathFileProgSave=/s\r\nPathArchive=/a\r\nPathFileHead=h.txt\r\nPathFileFeet=f.txt\r\nOpenInBD=-2\r\n"
        "ModeGestionBD=3\r\nCoefXYZ=1;1;1\r\nInsKeyF5=\r\nInsKeyF6=\r\nInsKeyF7=\r\nInsKeyF8=\r\n"
        "InsKeyF9=G28\r\nInsKeyF10=\r\nInsKeyF11=\r\nInsKeyF12=M30\r\n";
    struct Case {
        int mode, number;
        std::string before, after;
    };
    for (const Case& c : {
             Case{1, 3, "", "[CNC3]\r\n" + kalderonEntry + "[CHAINAGE]\r\nChainExe=c.exe\r\n"},
             Case{1, 3,
                  "[KALDERON]\r\nNbDevice=4\r\n[CNC3]\r\nPathFileProg=D:\\Old\r\nCurrentPathDirLog=/log\r\n"
                  "; note\r\n[CHAINAGE]\r\nChainExe=old.exe\r\n",
                  "[KALDERON]\r\nNbDevice=4\r\n[CNC3]\r\nPathFileProg=D:\\Old\r\nCurrentPathDirLog=/log\r\n" +
                      kalderonEntry + "; note\r\n[CHAINAGE]\r\nChainExe=c.exe\r\n"},
             // The transfer program's file never receives the archive folder.
             Case{2, 4, "",
                  "[CNC]\r\nRefMO4=Tour 1\r\nPathTelvar4=/m/t1/\r\nPathFileProgOpen4=D:\\Prog\r\n"
                  "PathFileProgSave4=/s\r\n"},
         }) {
        const std::string path = dir / "caller.ini";
        WriteBytes(path, c.before);
        ini::ClearCache();
        ASSERT_TRUE(WriteCallerEntry(c.mode, path, c.number, machine)) << c.mode;
        EXPECT_EQ(ReadBytes(path), c.after) << c.mode;
    }
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(CallersTest, WritingToAFolderThatIsNotThereIsReported) {
    EXPECT_FALSE(WriteCallerEntry(1, dir / "no/such/Kalderon.ini", 1, machine));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].icon, IconWarning);
}

TEST_F(CallersTest, EntryNumberForNewAndModifiedMachines) {
    struct Case {
        int mode, appCalling;
        const char* section;
        std::int32_t expected;
    };
    int file = 0;
    for (const Case& c : {Case{1, 1, "KALDERON", 5}, Case{2, 1, "HARBIX_MGR", 5}, Case{1, 2, nullptr, 3}}) {
        ProgramSettings settings;
        settings.Mode = c.mode;
        settings.AppCalling = c.appCalling;
        settings.NbDevice = 4;
        settings.CurrentIndexMO = 3;
        settings.PathAppCallingIni = dir / ("caller" + std::to_string(++file) + ".ini");
        EXPECT_EQ(TakeEntryNumber(settings), c.expected);
        if (c.section) {
            EXPECT_EQ(settings.NbDevice, 5);
            EXPECT_EQ(Value(c.section, "NbDevice", settings.PathAppCallingIni), "5");
        } else {
            EXPECT_EQ(settings.NbDevice, 4);
            EXPECT_FALSE(std::filesystem::exists(settings.PathAppCallingIni));
        }
    }
}

TEST_F(CallersTest, UnknownCallerStillGetsTheMachineFile) {
    for (int appCalling : {1, 2}) {
        ProgramSettings settings;
        settings.Mode = 3;
        settings.AppCalling = appCalling;
        settings.NbDevice = 4;
        settings.CurrentIndexMO = 2;
        settings.PathAppCallingIni = KalderonIni();
        machine.RefMO = "TOUR" + std::to_string(appCalling);
        machine.PathTelvar = MachineDir();
        std::filesystem::create_directories(MachineDir());
        EXPECT_TRUE(WriteCallerSettings(settings, machine)) << appCalling;
        EXPECT_EQ(Value("DNC", "RefMO"), machine.RefMO);
        EXPECT_FALSE(std::filesystem::exists(KalderonIni()));
    }
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(CallersTest, NotificationCodes) {
    EXPECT_EQ(NotificationCode(1, 1), 710u);
    EXPECT_EQ(NotificationCode(1, 2), 711u);
    EXPECT_EQ(NotificationCode(2, 1), 111u);
    EXPECT_EQ(NotificationCode(2, 2), 112u);
    EXPECT_EQ(NotificationCode(1, 3), std::nullopt);
    EXPECT_EQ(NotificationCode(0, 1), std::nullopt);
}

#ifndef _WIN32
// A calling program listening on its socket, its process id published as "AppHwnd".
class CallerListener {
  public:
    explicit CallerListener(const std::string& runtimeDir, std::int64_t handle) {
        const std::string folder = runtimeDir + "/marovex";
        std::filesystem::create_directories(folder);
        path_ = folder + "/hwnd-" + std::to_string(handle) + ".sock";
        fd_ = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        bound_ = fd_ >= 0 && ::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~CallerListener() {
        if (fd_ >= 0) ::close(fd_);
        ::unlink(path_.c_str());
    }
    bool Bound() const { return bound_; }
    // The datagram waiting, without blocking; "" when none.
    std::string Received() {
        char buffer[128];
        const ssize_t n = ::recv(fd_, buffer, sizeof buffer, MSG_DONTWAIT);
        return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
    }

  private:
    std::string path_;
    int fd_ = -1;
    bool bound_ = false;
};

TEST_F(CallersTest, CallerReceivesTheNotification) {
    const std::int64_t pid = ::getpid();
    CallerListener listener(dir.path().string(), pid);
    ASSERT_TRUE(listener.Bound());
    const auto root = platform::RegRoot::LocalMachine;
    ASSERT_TRUE(platform::RegWriteString(root, kKalderonKey, "AppHwnd", std::to_string(pid)));
    ASSERT_TRUE(platform::RegWriteDword(root, kHarbixKey, "AppHwnd", static_cast<std::uint32_t>(pid)));

    EXPECT_TRUE(NotifyCaller(1, 2));
    EXPECT_EQ(listener.Received(), "28679 711 0");
    EXPECT_TRUE(NotifyCaller(2, 1)); // the handle stored as a number
    EXPECT_EQ(listener.Received(), "28679 111 0");
    EXPECT_FALSE(NotifyCaller(1, 7)); // no code, nothing sent
    EXPECT_EQ(listener.Received(), "");
}

TEST_F(CallersTest, NotificationIsSkippedSilently) {
    const auto root = platform::RegRoot::LocalMachine;
    EXPECT_FALSE(NotifyCaller(1, 1)); // no key at all
    for (const char* handle : {"0", "", "abc", "999999999"}) {
        ASSERT_TRUE(platform::RegWriteString(root, kKalderonKey, "AppHwnd", handle));
        EXPECT_FALSE(NotifyCaller(1, 1)) << handle;
    }
    // A live process that listens on nothing.
    ASSERT_TRUE(platform::RegWriteString(root, kKalderonKey, "AppHwnd", std::to_string(::getpid())));
    EXPECT_FALSE(NotifyCaller(1, 1));
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(CallersTest, ApplyWritesEntryTelvarAndNotifies) {
    const std::int64_t pid = ::getpid();
    CallerListener listener(dir.path().string(), pid);
    ASSERT_TRUE(listener.Bound());
    ASSERT_TRUE(platform::RegWriteString(platform::RegRoot::LocalMachine, kKalderonKey, "AppHwnd",
                                         std::to_string(pid)));
    WriteBytes(KalderonIni(), "[KALDERON]\r\nNbDevice=4\r\n");
    ProgramSettings settings;
    settings.Mode = 1;
    settings.AppCalling = 1;
    settings.NbDevice = 4;
    settings.PathAppCallingIni = KalderonIni();
    machine.Name = "TOUR5";
    machine.RefMO = "TOUR5";
    machine.PathTelvar = MachineDir();
    std::filesystem::create_directories(MachineDir());

    ASSERT_TRUE(WriteCallerSettings(settings, machine));
    EXPECT_EQ(Value("KALDERON", "NbDevice", KalderonIni()), "5");
    EXPECT_EQ(Value("CNC5", "Name", KalderonIni()), "TOUR5");
    EXPECT_EQ(Value("DNC", "RefMO"), "TOUR5");
    EXPECT_EQ(listener.Received(), "28679 710 0");
}

#endif // the listener: a datagram socket, as calling programs receive on POSIX

} // namespace
} // namespace kirva::test
