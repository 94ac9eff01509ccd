// The calling programs' settings files: the machine entry in both formats, read and written, and
// the notification skipped where no calling program listens for it. The entry number of a new
// machine and the notification received are the apply's tests (apply_test.cpp).
#include <gtest/gtest.h>

#include <string>

#include "app/AppTestSupport.h"

namespace kirva::test {
namespace {

const std::string kSep(1, platform::kPathSeparator);

class CallersTest : public AppFixture {
  protected:
    std::string KalderonIni() const { return dir / "Kalderon.ini"; }
    std::string HarbixIni() const { return dir / "Harbix.ini"; }
};

// The fields of a caller's entry, in the program manager's order, '|' between them.
std::string EntryFields(const MachineConfig& m) {
    std::string text = m.Name + "|" + m.DirTreeView + "|" + m.PathTelvar + "|" + m.PathFileProgOpen + "|" +
                       m.PathFileProgSave + "|" + m.PathArchive + "|" + m.PathFileHead + "|" +
                       m.PathFileFeet + "|" + std::to_string(m.OpenInBD) + "|" +
                       std::to_string(m.ModeGestionBD) + "|" + m.CoefXYZ;
    for (const std::string& key : m.InsKeyF) text += "|" + key;
    return text + "|" + m.ChainExe + "|" + m.CurrentPathDirLog;
}

// The program manager's entry, and the dictionary its "Langue" names.
TEST_F(CallersTest, KalderonEntryIsRead) {
    WriteBytes(KalderonIni(),
               "[KALDERON]\r\nLangue=EN.lng\r\nNbDevice=2\r\n"
               "[CNC2]\r\nName= Tour 2 \r\nDirTreeView=Atelier\r\nPathTelvar=/m/t2/\r\n"
               "PathFileProgOpen=\r\nPathFileProg=D:\\Prog\r\nPathFileProgSave=/s\r\nPathArchive=/a\r\n"
               "PathFileHead=h.txt\r\nPathFileFeet=f.txt\r\nOpenInBD=1.5\r\nModeGestionBD=3\r\n"
               "CoefXYZ=1;1;1\r\nInsKeyF5=M30\r\nInsKeyF12=G0\r\nCurrentPathDirLog=/log\r\n"
               "[CHAINAGE]\r\nChainExe=chain.exe\r\n");
    ASSERT_TRUE(ReadKalderonEntry(KalderonIni(), 2, machine));
    // The older PathFileProg stands in for the empty PathFileProgOpen; OpenInBD is rounded to even.
    EXPECT_EQ(EntryFields(machine), "Tour 2|Atelier|/m/t2/|D:\\Prog|/s|/a|h.txt|f.txt|2|3|1;1;1|M30|||||||G0|"
                                    "chain.exe|/log");
    EXPECT_EQ(TK_TRANSLATE::Shared().PathDico(), dir.path().string() + kSep + "Lng" + kSep + "EN.lng");
    // Number 0 reads nothing but the dictionary: "FR.lng" without "Langue".
    WriteBytes(KalderonIni(), "[KALDERON]\r\n[CNC0]\r\nName=zero\r\n");
    ini::ClearCache();
    ASSERT_TRUE(ReadKalderonEntry(KalderonIni(), 0, machine));
    EXPECT_EQ(machine.Name, "Tour 2");
    EXPECT_EQ(TK_TRANSLATE::Shared().PathDico(), dir.path().string() + kSep + "Lng" + kSep + "FR.lng");
}

// The transfer program's entry has five keys; the folder node becomes empty.
TEST_F(CallersTest, HarbixEntryIsRead) {
    WriteBytes(HarbixIni(), "[CNC]\r\nRefMO3=FRAISE\r\nPathTelvar3=/m/f/\r\nPathFileProgOpen3=/o\r\n"
                            "PathFileProgSave3=/s\r\nPathArchive3=/a\r\nRefMO1=other\r\n");
    machine.DirTreeView = "old node";
    ASSERT_TRUE(ReadHarbixEntry(HarbixIni(), 3, machine));
    EXPECT_EQ(EntryFields(machine), "FRAISE||/m/f/|/o|/s|/a|||0|0|||||||||||");
}

TEST_F(CallersTest, IntegerOutOfRangeFailsTheRead) {
    WriteBytes(KalderonIni(), "[CNC1]\r\nName=a\r\nOpenInBD=99999999999\r\n");
    EXPECT_FALSE(ReadKalderonEntry(KalderonIni(), 1, machine));
    EXPECT_TRUE(messages.Only("Problème durant la lecture du fichier " + KalderonIni(), IconWarning));
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
    const std::string path = dir / "caller.ini";
    const auto written = [&](int mode, int number, const std::string& before) {
        WriteBytes(path, before);
        ini::ClearCache();
        EXPECT_TRUE(WriteCallerEntry(mode, path, number, machine)) << mode;
        return ReadBytes(path);
    };
    EXPECT_EQ(written(1, 3, ""), "[CNC3]\r\n" + kalderonEntry + "[CHAINAGE]\r\nChainExe=c.exe\r\n");
    EXPECT_EQ(
        written(1, 3,
                "[KALDERON]\r\nNbDevice=4\r\n[CNC3]\r\nPathFileProg=D:\\Old\r\nCurrentPathDirLog=/log\r\n"
                "; note\r\n[CHAINAGE]\r\nChainExe=old.exe\r\n"),
        "[KALDERON]\r\nNbDevice=4\r\n[CNC3]\r\nPathFileProg=D:\\Old\r\nCurrentPathDirLog=/log\r\n" +
            kalderonEntry + "; note\r\n[CHAINAGE]\r\nChainExe=c.exe\r\n");
    // The transfer program's file never receives the archive folder.
    EXPECT_EQ(written(2, 4, ""),
              "[CNC]\r\nRefMO4=Tour 1\r\nPathTelvar4=/m/t1/\r\nPathFileProgOpen4=D:\\Prog\r\n"
              "PathFileProgSave4=/s\r\n");
    EXPECT_TRUE(messages.entries.empty());
}

// A calling program that is not one of the two, then handles that are no number: nothing is sent
// and nothing said. A handle of nobody listening is the platform's notification tests' case.
TEST_F(CallersTest, NotificationIsSkippedSilently) {
    EXPECT_FALSE(NotifyCaller(1, 1)); // no key at all
    {
        const CallerListener listener(dir.path().string());
        ASSERT_TRUE(PublishCaller(listener));
        EXPECT_FALSE(NotifyCaller(1, 7));
        EXPECT_EQ(listener.Received(), "");
    }
    for (const std::string handle : {"", "abc"}) {
        ASSERT_TRUE(
            platform::RegWriteString(platform::RegRoot::LocalMachine, kKalderonKey, "AppHwnd", handle));
        EXPECT_FALSE(NotifyCaller(1, 1)) << handle;
    }
    EXPECT_TRUE(messages.entries.empty());
}

} // namespace
} // namespace kirva::test
