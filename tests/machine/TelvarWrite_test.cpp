// Writing a machine's Telvar.ini: order, constants, the keys written but never read, the
// round trip of a file written by someone else, and the Run value.
#include <gtest/gtest.h>

#include <optional>

#include "machine/KeyTable.h"
#include "machine/MachineFixture.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"

namespace kirva::test {
namespace {

// The registry key whose values start programs at logon.
const char* const kRunKey = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN";

class MachineWrite : public MachineFixture {
  protected:
    MachineWrite() {
        machine.MachineDir = MachineDir();
        machine.RefMO = "TOUR1";
        std::filesystem::create_directories(MachineDir());
    }
    MachineConfig machine;
    WorkstationValues workstation{"192.168.1.20", "/data/talm/"};
};

// Gives every field of the table a value of its own, so that a round trip shows each key.
void FillEveryField(MachineConfig& m, RemonteState& r) {
    int n = 0;
    for (const KeyDef& def : KeyTable()) {
        ++n;
        switch (def.Kind) {
        case KeyKind::String:
            SetKeyText(m, r, def, std::string(def.Key) + "-" + std::to_string(n));
            break;
        case KeyKind::Bool:
            SetKeyText(m, r, def, n % 2 ? "1" : "0");
            break;
        case KeyKind::Double:
            SetKeyText(m, r, def, std::to_string(n) + ".25");
            break;
        default:
            SetKeyText(m, r, def, std::to_string(n * (n % 3 ? 1 : -1)));
        }
    }
    m.SetNbActivity(2);
    m.Activity[1] = {"Usinage", 10, "U"};
    m.Activity[2] = {"Arret", -3, ""};
    m.CanalAnalyse = {{"Broche", "1001", "B"}, {"Axe X", "1002", "X"}};
}

// A machine whose every field differs from its default and from its neighbours, so that a key
// written from the wrong field, or in the wrong place, changes the bytes.
MachineConfig CompleteMachine(const std::string& machineDir) {
    MachineConfig m;
    m.MachineDir = machineDir;
    m.Socket = 77; // read, never written
    m.PortListen = 5001;
    m.IconTray = true;
    m.UseComManager = true;
    m.IPComManager = "192.168.1.5";
    m.PortComManager = 4000;
    m.RefMO = "TOUR1";
    m.PathFileProgOpen = "/prog/open/";
    m.PathFileProgSave = "/prog/save/";
    m.PathArchive = "/prog/archive/";
    m.PathMacroError = "/macros/erreur.mac";
    m.CallSyntax = "%P";
    m.DataAccess = 2;
    m.Reboot = true;
    m.ModeGestionBD = 3;
    m.Methode = 4;
    m.IsModeEcoute = m.UseRPC = m.ReceivProgCrushed = m.ProgIndice = m.SendFirstAsLast = true;
    m.NbCanaux = 2;
    m.TypeMulti = 1;
    m.PathIsoIni = "/machines/TOUR1/Cycles.ini";
    m.Techno = -3;
    m.NumPort = 3;
    m.Bauds = "9600";
    m.BaudsEnvoi = "19200";
    m.DataBit = "7";
    m.StopBit = "2";
    m.Parite = "E";
    m.TimeOut = 30;
    m.TimeOutEnvoi = 45;
    m.CtrlFlux = 1;
    m.EOB = "13,10";
    m.IsModePassant = true;
    m.ModeIRQ = 5;
    m.InBufferSize = 4096;
    m.OutBufferSize = 2048;
    m.TimeOutEcoute = 600;
    m.NbBlocAvance = 10;
    m.SendCartouche = m.SendEmptyLines = m.CheckReceivBeforeAppel = m.RemonteBD = m.ConcatProgAppel = true;
    m.Specificite = "LECT_CART";
    m.CheckModeRecep = "STRICT";
    m.SepCarMultiAppel = ",";
    m.NbReceivBeforeAppel = 2;
    m.CarSepAppel = "/";
    m.MarqueurDebAppel = "(DEBUT)";
    m.MarqueurFinAppel = "(FIN)";
    m.CallMethode = 6;
    m.CallNumPort = 4;
    m.CallBauds = "4800";
    m.CallDataBit = "8";
    m.CallStopBit = "1";
    m.CallParite = "N";
    m.CallCtrlFlux = 2;
    m.TCarFiltered = "%";
    m.TCarFilteredBy = "#";
    m.BOT = "18";
    m.EOT = "20";
    m.TempoBeforeSend = 2.5;
    m.RCarFiltered = "$";
    m.RCarFilteredBy = "&";
    m.BOR = "17";
    m.EOR = "19";
    m.FiltreLigneRecep = "N*";
    m.TempoBloc = 0.25;
    m.TempoCar = -1.75;
    m.TimeOutModeRecep = 120;
    m.CodeCN = 12;
    m.CodeGroupCN = 7;
    m.CarDebProg = "%";
    m.CarDebBloc = "N";
    m.CarBlocOpt = "/";
    m.CarDebCom = "(";
    m.CarFinCom = ")";
    m.NumBloc1 = 10;
    m.IncrBloc = 5;
    m.BlocDeb = "G90 G40";
    m.BlocFin = "M30";
    m.BlocType = "N10 G1";
    m.NbTourelle = 2;
    m.NbPot = 24;
    m.NbMaxCarBloc = 256;
    m.CarSepDec = ",";
    m.ForceSepDec = true;
    m.FileExt = "nc";
    m.ProgAuD = true;
    m.LadR = "Q";
    m.Abs = "G90.1";
    m.Rel = "G91.1";
    m.CodeProgAuD = "G7";
    m.CodeProgAuR = "G8";
    m.LadX = "U";
    m.LadY = "V";
    m.LadZ = "W";
    m.CodeVcc = "G196";
    m.CodeStr = "G197";
    m.CodeVaMin = "G194";
    m.CodeVaTr = "G195";
    m.LadS = "SP";
    m.ChgtOutil = "M6";
    m.InsertMode = 1;
    m.HeaderVisible = true;
    m.HeaderText = "Pi\xC3\xA8"
                   "ce d\xC3\xA9"
                   "collet\xC3\xA9"
                   "e";
    m.BlocLen = 72;
    m.CarCartouche = "*";
    m.CompactCartPosition = 3;
    m.XML = true;
    m.ModeInsert = 2;
    m.PosCarCart = 4;
    m.CarOrLigneInsert = "N5";
    m.InsertOneCart = false;
    m.DontUpdateLigneNumProg = true;
    m.NbDigitNumProg = 4;
    m.RemoteMethode = 5;
    m.RemoteHost = "cn-tour1.atelier";
    m.RemotePort = "21";
    m.DefaultDirHostSend = "/envoi/";
    m.DefaultDirHostReceiv = "/reception/";
    m.TalmConnexionRole = 1;
    m.UserName = "operateur";
    m.UserPassword = "s3cret";
    m.DefautFileName = "O0001";
    m.NumProgAsFileName = m.DeleteFileReseau = true;
    m.SetNbActivity(2);
    m.Activity[1] = {"Usinage", 10, "U"};
    m.Activity[2] = {"Arr\xC3\xAAt", -3, "A"};
    m.CanalAnalyse = {{"Broche", "1001", "B"}, {"Axe X", "1002", "X"}};
    m.ChainExe = "suite.exe";
    return m;
}

// The file that machine gives, written out by hand in the file's order (sections and keys as the
// format lists them, code page 1252, CR LF).
std::string CompleteMachineFile() {
    return ReadBytes(std::string(KIRVA_SOURCE_DIR) + "/tests/machine/data/complete-machine.ini");
}

// The writer's order and every key's field, byte for byte; reading that file back and writing
// it into another empty folder gives the same bytes, so every key read lands in its own field.
TEST_F(MachineWrite, CompleteMachineIntoAnEmptyFolder) {
    RemonteState remonte{true, "/remonte/", false};
    const MachineConfig complete = CompleteMachine(MachineDir());
    ASSERT_TRUE(WriteTelvarIni(complete, workstation, remonte));
    ASSERT_FALSE(CompleteMachineFile().empty());
    EXPECT_EQ(ReadBytes(TelvarPath()), CompleteMachineFile());

    MachineConfig back;
    RemonteState backRemonte;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), back, backRemonte));
    EXPECT_EQ(back.Socket, 0);
    // Keys that are written but never read come from the record.
    back.PortComManager = 4000;
    back.ModeGestionBD = 3;
    back.CodeGroupCN = 7;
    const std::string otherDir = (dir.path() / "M2").string() + platform::kPathSeparator;
    std::filesystem::create_directories(otherDir);
    ASSERT_TRUE(WriteTelvarIniTo(otherDir, back, workstation, backRemonte));
    EXPECT_EQ(ReadBytes(otherDir + "Telvar.ini"), CompleteMachineFile());
    EXPECT_TRUE(messages.entries.empty());
}

// The two timings are constants of the file, whatever it held before.
TEST_F(MachineWrite, ConstantsReplaceWhatTheFileHeld) {
    WriteTelvar("[TEMPO]\r\nTimeOutBreak=5\r\nTimeOutVideBuffer=1\r\n");
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    EXPECT_EQ(Value("TEMPO", "TimeOutBreak"), "108000000");
    EXPECT_EQ(Value("TEMPO", "TimeOutVideBuffer"), "3600");
}

TEST_F(MachineWrite, ReadOnlySocketStaysAsTheFileHadIt) {
    WriteTelvar("[TELVAR]\r\nSocket=5\r\n");
    MachineConfig m;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
    m.Socket = 6;
    ASSERT_TRUE(WriteTelvarIni(m, workstation));
    EXPECT_EQ(Value("TELVAR", "Socket"), "5");
    EXPECT_EQ(Value("TELVAR", "IPserver"), "192.168.1.20");
}

struct ExtCase {
    const char* typed;
    const char* written;
};

class MachineWriteFileExt : public MachineWrite, public ::testing::WithParamInterface<ExtCase> {};

TEST_P(MachineWriteFileExt, FileExtGetsItsDot) {
    machine.FileExt = GetParam().typed;
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    EXPECT_EQ(Value("SYNTAXE_MO", "FileExt"), GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(Ext, MachineWriteFileExt,
                         ::testing::Values(ExtCase{"nc", ".nc"}, ExtCase{".nc", ".nc"}, ExtCase{"", ""},
                                           ExtCase{"  iso ", ".iso"}, ExtCase{"   ", ""}));

// A file kept by hand or by other programs: comments, blank lines, unknown keys and the lists'
// sections stay in place, byte for byte, through a read and a write.
TEST_F(MachineWrite, ForeignContentSurvivesARoundTrip) {
    FillEveryField(machine, Remonte());
    // Keys that are written but never read come back from a fresh record.
    machine.PortComManager = machine.ModeGestionBD = machine.CodeGroupCN = 0;
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    std::string text = ReadBytes(TelvarPath());
    auto insertAfter = [&text](const std::string& marker, const std::string& lines) {
        const std::size_t at = text.find(marker);
        ASSERT_NE(at, std::string::npos) << marker;
        text.insert(text.find("\r\n", at) + 2, lines);
    };
    text.insert(0, "; Machine TOUR1, atelier 2\r\n\r\n");
    insertAfter("[DNC]", "; réglé par M. Dupont\r\nUnknownKey = garder tel quel \r\n\r\n");
    insertAfter("[COMM]", "Bauds2=1200\r\n");
    text += "\r\n[PLANS]\r\nref:P1|LadX:X|LadY:Z|CoeffX:1|CoeffY:2|R:0|\r\nref:P2|LadX:X|LadY:Y|CoeffX:1|"
            "CoeffY:1|R:1|\r\n[CANAUX]\r\nref:C1|Pref:$1|Suff:|Canal:1|\r\n"
            "[ZZZ]\r\n;end\r\n";
    WriteTelvar(text);
    ini::ClearCache();

    MachineConfig m;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
    ASSERT_TRUE(WriteTelvarIni(m, workstation));
    EXPECT_EQ(ReadBytes(TelvarPath()), text);
}

TEST_F(MachineWrite, LineBreaksInValuesCannotAddKeys) {
    machine.HeaderText = "Entete\r\n[DNC]\r\nRefMO=AUTRE";
    machine.EOB = "13|10\n";
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    MachineConfig back;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), back));
    EXPECT_EQ(back.RefMO, "TOUR1");
    EXPECT_EQ(back.HeaderText, "Entete [DNC] RefMO=AUTRE");
    EXPECT_EQ(back.EOB, "13|10");
}

TEST_F(MachineWrite, CountsFollowTheHeldEntries) {
    struct Case {
        std::int32_t nbActivity;
        std::size_t activitiesHeld, channels;
        const char *activitiesWritten, *channelsWritten;
    };
    for (const Case& c :
         {Case{1000, 0, 32, "0", "32"}, Case{-4, 2, 33, "0", "32"}, Case{5, 2, 0, "2", "0"}}) {
        machine.Activity.assign(c.activitiesHeld + 1, WorkshopActivity{"R", 1, "c"});
        machine.NbActivity = c.nbActivity; // out of step with the entries held
        machine.CanalAnalyse.assign(c.channels, AnalysisChannel{"C", "1001", "c"});
        ASSERT_TRUE(WriteTelvarIni(machine, workstation));
        EXPECT_EQ(Value("WORKSHOP ACTIVITY", "NbActivity"), c.activitiesWritten) << c.nbActivity;
        EXPECT_EQ(Value("WORKSHOP ACTIVITY", "RefActivity1"),
                  c.activitiesWritten[0] == '0' ? "<missing>" : "R");
        EXPECT_EQ(Value("CANAUX_ANALYSE", "NbCanalAnalyse"), c.channelsWritten) << c.channels;
        EXPECT_EQ(Value("CANAUX_ANALYSE", "RefCanal32"), c.channels >= 32 ? "C" : "<missing>");
        EXPECT_EQ(Value("CANAUX_ANALYSE", "RefCanal33"), "<missing>");
        std::filesystem::remove(TelvarPath());
    }
}

TEST_F(MachineWrite, FailureNamesTheMachine) {
    struct Case {
        std::string dir;
    };
    WriteBytes(dir / "plain-file", "x");
    for (const Case& c : {Case{""}, Case{dir / "plain-file"}, Case{dir / "no/such/folder"}}) {
        messages.entries.clear();
        machine.MachineDir = c.dir;
        EXPECT_FALSE(WriteTelvarIni(machine, workstation)) << c.dir;
        ASSERT_EQ(messages.entries.size(), 1u) << c.dir;
        EXPECT_EQ(messages.entries[0].text,
                  "Problème durant l'écriture du fichier Telvar.ini de la machine TOUR1");
        EXPECT_EQ(messages.entries[0].icon, IconWarning);
    }
}

// A machine without a reference has no Run value: writing it neither sets a value named by
// blanks nor deletes the Run key's unnamed value, and the file is written all the same.
TEST_F(MachineWrite, BlankReferenceLeavesTheRunKeyAlone) {
    const auto root = platform::RegRoot::LocalMachine;
    ASSERT_TRUE(platform::RegWriteString(root, kRunKey, "", "/opt/autre/Telvar.exe"));
    ASSERT_TRUE(platform::RegWriteString(root, kRunKey, "TOUR2", "/m2/Telvar.exe"));
    const std::string registry = ReadBytes(dir / "registry.ini");
    for (const bool startWithWindows : {true, false}) {
        machine.RefMO = "  ";
        machine.StartWithWindows = startWithWindows;
        EXPECT_TRUE(WriteTelvarIni(machine, workstation)) << startWithWindows;
        EXPECT_EQ(ReadBytes(dir / "registry.ini"), registry) << startWithWindows;
    }
    EXPECT_TRUE(messages.entries.empty());
}

struct RunCase {
    const char* name;
    bool startWithWindows;
    bool useComManager;
    std::optional<std::string> before;
    bool expectMachinePath; // the value becomes the machine's Telvar.exe
    std::optional<std::string> after;
};

class MachineWriteRun : public MachineWrite, public ::testing::WithParamInterface<RunCase> {};

TEST_P(MachineWriteRun, RunValue) {
    const RunCase& c = GetParam();
    const auto root = platform::RegRoot::LocalMachine;
    if (c.before) {
        ASSERT_TRUE(platform::RegWriteString(root, kRunKey, "TOUR1", *c.before));
    }
    machine.StartWithWindows = c.startWithWindows;
    machine.UseComManager = c.useComManager;
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    const auto value = platform::RegReadString(root, kRunKey, "TOUR1");
    if (c.expectMachinePath) {
        EXPECT_EQ(value, MachineDir() + "Telvar.exe");
    } else {
        EXPECT_EQ(value, c.after);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Run, MachineWriteRun,
    ::testing::Values(RunCase{"OffDeletes", false, false, "old", false, std::nullopt},
                      RunCase{"OffDeletesEvenWithManager", false, true, "old", false, std::nullopt},
                      RunCase{"OffWithoutValue", false, false, std::nullopt, false, std::nullopt},
                      RunCase{"ManagerKeeps", true, true, "old", false, "old"},
                      RunCase{"ManagerKeepsNothing", true, true, std::nullopt, false, std::nullopt},
                      RunCase{"OnSets", true, false, std::nullopt, true, std::nullopt},
                      RunCase{"OnReplaces", true, false, "old", true, std::nullopt}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
} // namespace kirva::test
