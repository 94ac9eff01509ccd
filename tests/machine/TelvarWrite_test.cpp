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

TEST_F(MachineWrite, EveryReadWriteKeyComesBack) {
    RemonteState remonte;
    FillEveryField(machine, remonte);
    machine.FileExt = ".nc";
    ASSERT_TRUE(WriteTelvarIni(machine, workstation, remonte));
    MachineConfig back;
    RemonteState backRemonte;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), back, backRemonte));
    for (const KeyDef& def : KeyTable()) {
        if (def.Access != KeyAccess::ReadWrite || def.Numbered()) continue;
        EXPECT_EQ(GetKeyText(back, backRemonte, def), GetKeyText(machine, remonte, def))
            << def.Section << " " << def.Key;
    }
    ASSERT_EQ(back.NbActivity, 2);
    EXPECT_EQ(back.Activity[2].RefActivity, "Arret");
    EXPECT_EQ(back.Activity[2].CodeActivity, -3);
    ASSERT_EQ(back.CanalAnalyse.size(), 2u);
    EXPECT_EQ(back.CanalAnalyse[1].RefCanal, "Axe X");
    EXPECT_EQ(back.CanalAnalyse[1].CarCanal, "X");
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(MachineWrite, NewFileHasSectionsInOrderAndChainExeLast) {
    machine.ChainExe = "next.exe";
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    const std::string text = ReadBytes(TelvarPath());
    std::size_t last = 0;
    bool first = true;
    for (const char* section :
         {"[TELVAR]", "[MANAGER]", "[DNC]", "[REMONTE]", "[COMM]", "[OPTION_DNC]", "[CALL_COMM]",
          "[OPTION_T]", "[OPTION_R]", "[TEMPO]", "[SYNTAXE_MO]", "[SYNTAXE_CARTOUCHE]", "[RESEAU]",
          "[WORKSHOP ACTIVITY]", "[CANAUX_ANALYSE]", "[CHAINAGE]"}) {
        const std::size_t at = text.find(section);
        ASSERT_NE(at, std::string::npos) << section;
        if (!first) {
            EXPECT_GT(at, last) << section;
        }
        first = false;
        last = at;
    }
    EXPECT_TRUE(text.ends_with("ChainExe=next.exe\r\n")) << text.substr(text.size() - 40);
    EXPECT_NE(text.find("\r\nladY=Y\r\n"), std::string::npos);
    EXPECT_EQ(text.find("LadY"), std::string::npos);
}

TEST_F(MachineWrite, WriteOnlyKeysAndConstants) {
    machine.PortComManager = 4000;
    machine.ModeGestionBD = 2;
    machine.CodeGroupCN = 7;
    WriteTelvar("[TEMPO]\r\nTimeOutBreak=5\r\nTimeOutVideBuffer=1\r\n");
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    EXPECT_EQ(Value("TEMPO", "TimeOutBreak"), "108000000");
    EXPECT_EQ(Value("TEMPO", "TimeOutVideBuffer"), "3600");
    EXPECT_EQ(Value("TELVAR", "IPserver"), "192.168.1.20");
    EXPECT_EQ(Value("DNC", "PathData"), "/data/talm/");
    EXPECT_EQ(Value("MANAGER", "PortComManager"), "4000");
    EXPECT_EQ(Value("DNC", "ModeGestionBD"), "2");
    EXPECT_EQ(Value("SYNTAXE_MO", "CodeGroupCN"), "7");
    EXPECT_EQ(Value("TELVAR", "Socket"), "<missing>"); // read, never written
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
    machine.NbActivity = 1000; // no entries held: nothing to write for them
    machine.CanalAnalyse.assign(40, AnalysisChannel{"C", "1001", "c"});
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    EXPECT_EQ(Value("WORKSHOP ACTIVITY", "NbActivity"), "0");
    EXPECT_EQ(Value("CANAUX_ANALYSE", "NbCanalAnalyse"), "32");
    EXPECT_EQ(Value("CANAUX_ANALYSE", "RefCanal32"), "C");
    EXPECT_EQ(Value("CANAUX_ANALYSE", "RefCanal33"), "<missing>");
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
        ASSERT_TRUE(platform::RegWriteString(root, kRunKeyPath, "TOUR1", *c.before));
    }
    machine.StartWithWindows = c.startWithWindows;
    machine.UseComManager = c.useComManager;
    ASSERT_TRUE(WriteTelvarIni(machine, workstation));
    const auto value = platform::RegReadString(root, kRunKeyPath, "TOUR1");
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
