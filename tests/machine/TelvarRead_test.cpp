// Reading a machine's Telvar.ini: each kind of key, the defaults, the reading rules and the
// failures a user can meet.
#include <gtest/gtest.h>

#include "machine/KeyTable.h"
#include "machine/MachineFixture.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"

namespace kirva::test {
namespace {

// The registry key whose values start programs at logon.
const char* const kRunKey = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN";

class MachineRead : public MachineFixture {
  protected:
    // The value a key holds in the record after reading, as the file would hold it.
    std::string Field(const MachineConfig& m, const char* section, const char* key) {
        const KeyDef* def = FindKey(section, key);
        EXPECT_NE(def, nullptr) << section << " " << key;
        return def ? GetKeyText(m, Remonte(), *def) : "";
    }
};

struct KeyCase {
    const char* section;
    const char* key;
    const char* text; // as written in the file
    const char* expected;
};

class MachineReadKinds : public MachineRead, public ::testing::WithParamInterface<KeyCase> {};

TEST_P(MachineReadKinds, KeyReadsAsItsKind) {
    const KeyCase& c = GetParam();
    WriteTelvar(std::string("[") + c.section + "]\r\n" + c.key + "=" + c.text + "\r\n");
    MachineConfig m;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
    EXPECT_EQ(Field(m, c.section, c.key), c.expected);
    EXPECT_TRUE(messages.entries.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, MachineReadKinds,
    ::testing::Values(KeyCase{"DNC", "RefMO", "  TOUR 1  ", "TOUR 1"},        // string, trimmed
                      KeyCase{"DNC", "NbCanaux", "12", "12"},                 // 16-bit
                      KeyCase{"DNC", "NbCanaux", "2.5", "2"},                 // halves to even
                      KeyCase{"DNC", "NbCanaux", "3.5", "4"},                 //
                      KeyCase{"DNC", "Techno", "-32768", "-32768"},           // 16-bit bounds
                      KeyCase{"DNC", "Techno", "32767", "32767"},             //
                      KeyCase{"DNC", "Techno", "-32768.5", "-32768"},         // half to the even bound
                      KeyCase{"COMM", "TimeOut", "2147483647", "2147483647"}, // 32-bit bounds
                      KeyCase{"COMM", "TimeOut", "-2147483648", "-2147483648"},
                      KeyCase{"COMM", "TimeOut", "2147483646.5", "2147483646"},
                      KeyCase{"DNC", "Methode", "abc", "0"},           // not a number
                      KeyCase{"DNC", "DataAccess", "12,5", "12"},      // comma is no separator
                      KeyCase{"COMM", "ModeIRQ", "7 lines", "7"},      // text converted
                      KeyCase{"TEMPO", "TempoBloc", "0.125", "0.125"}, // double
                      KeyCase{"OPTION_T", "TempoBeforeSend", "3.25s", "3.25"},
                      KeyCase{"TELVAR", "IconTray", "1", "1"},   // boolean
                      KeyCase{"TELVAR", "IconTray", "yes", "0"}, // only "1" is true
                      KeyCase{"TELVAR", "IconTray", "true", "0"},
                      KeyCase{"TELVAR", "IconTray", "  1\t", "1"}, // blanks around the flag
                      KeyCase{"TELVAR", "IconTray", "1 1", "0"},
                      KeyCase{"TELVAR", "Socket", "5", "5"},                 // read-only key
                      KeyCase{"REMONTE", "PathRemonte", "D:\\Up", "D:\\Up"}, // program-wide
                      KeyCase{"REMONTE", "NumProgAsUniqueID", "1", "1"},
                      KeyCase{"CALL_COMM", "NumPort", "3", "3"}, // same name as [COMM]
                      KeyCase{"SYNTAXE_MO", "ladY", "V", "V"},   // either spelling
                      KeyCase{"SYNTAXE_MO", "LADY", "W", "W"},
                      KeyCase{"CHAINAGE", "ChainExe", "next.exe", "next.exe"}));

// The setter of the window's fields takes typed text by the reading rules of the field's width;
// a value the field cannot hold is refused and the field keeps what it had.
struct SetCase {
    const char* section;
    const char* key;
    const char* typed;
    const char* held; // the field afterwards, as the file holds it; nullptr: refused
};

class KeyTableSetter : public MachineRead, public ::testing::WithParamInterface<SetCase> {};

TEST_P(KeyTableSetter, TypedTextFitsTheFieldOrIsRefused) {
    const SetCase& c = GetParam();
    const KeyDef* def = FindKey(c.section, c.key);
    ASSERT_NE(def, nullptr);
    MachineConfig m;
    RemonteState r;
    const std::string before = GetKeyText(m, r, *def);
    EXPECT_EQ(SetKeyText(m, r, *def, c.typed), c.held != nullptr);
    EXPECT_EQ(GetKeyText(m, r, *def), c.held ? c.held : before);
}

INSTANTIATE_TEST_SUITE_P(
    Widths, KeyTableSetter,
    ::testing::Values(
        SetCase{"DNC", "NbCanaux", "-32768", "-32768"}, SetCase{"DNC", "NbCanaux", "32767", "32767"},
        SetCase{"DNC", "NbCanaux", "32768", nullptr}, SetCase{"DNC", "NbCanaux", "-32769", nullptr},
        SetCase{"DNC", "NbCanaux", "32767.5", nullptr}, SetCase{"DNC", "NbCanaux", "-32768.5", "-32768"},
        SetCase{"DNC", "NbCanaux", "32766.5", "32766"}, SetCase{"DNC", "NbCanaux", " 12 ", "12"},
        SetCase{"COMM", "TimeOut", "-2147483648", "-2147483648"},
        SetCase{"COMM", "TimeOut", "2147483647", "2147483647"},
        SetCase{"COMM", "TimeOut", "2147483648", nullptr}, SetCase{"COMM", "TimeOut", "-2147483649", nullptr},
        SetCase{"COMM", "TimeOut", "2147483647.5", nullptr},
        SetCase{"COMM", "TimeOut", "-2147483648.5", "-2147483648"},
        SetCase{"COMM", "TimeOut", "2147483646.5", "2147483646"}, SetCase{"COMM", "TimeOut", "12abc", "12"},
        SetCase{"COMM", "TimeOut", "abc", "0"}, SetCase{"TEMPO", "TempoBloc", "-0.5", "-0.5"},
        SetCase{"TEMPO", "TempoBloc", "1.7976931348623157e308", "1.79769313486232e+308"},
        SetCase{"TEMPO", "TempoBloc", "1.8e308", nullptr}, SetCase{"TELVAR", "IconTray", " 1 ", "1"},
        SetCase{"TELVAR", "IconTray", "\t1", "1"}, SetCase{"TELVAR", "IconTray", "1 0", "0"},
        SetCase{"TELVAR", "IconTray", "yes", "0"}, SetCase{"REMONTE", "RemonteDossier", "1 ", "1"},
        SetCase{"DNC", "RefMO", " TOUR 1 ", " TOUR 1 "}, // text as typed
        SetCase{"TEMPO", "TimeOutBreak", "5", nullptr},  // constants have no field
        SetCase{"TELVAR", "IPserver", "10.0.0.1", nullptr},
        SetCase{"WORKSHOP ACTIVITY", "NbActivity", "2", nullptr}));

// Missing and empty values give the same defaults.
class MachineReadDefaults : public MachineRead, public ::testing::WithParamInterface<const char*> {};

TEST_P(MachineReadDefaults, MissingOrEmptyKeysGiveDefaults) {
    WriteTelvar(GetParam());
    MachineConfig m;
    m.Socket = 9;
    m.LadS = "Q";
    m.InsertOneCart = false;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
    EXPECT_EQ(m.PathIsoIni, MachineDir() + "Iso.ini");
    EXPECT_EQ(m.MachineDir, MachineDir());
    EXPECT_EQ(m.CarSepDec, ".");
    EXPECT_EQ(m.BaudsEnvoi, "19200"); // the receive speed
    EXPECT_TRUE(m.InsertOneCart);
    EXPECT_FALSE(m.DontUpdateLigneNumProg);
    EXPECT_EQ(m.Socket, 0);
    const std::pair<const char*, const char*> letters[] = {
        {"LadR", "R"}, {"Abs", "G90"},     {"Rel", "G91"},     {"LadX", "X"},        {"LadY", "Y"},
        {"LadZ", "Z"}, {"CodeVcc", "G96"}, {"CodeStr", "G97"}, {"CodeVaMin", "G94"}, {"CodeVaTr", "G95"},
        {"LadS", "S"}, {"ChgtOutil", ""},  {"FileExt", ""}};
    for (const auto& [key, expected] : letters) EXPECT_EQ(Field(m, "SYNTAXE_MO", key), expected) << key;
}

INSTANTIATE_TEST_SUITE_P(
    Files, MachineReadDefaults,
    ::testing::Values("[COMM]\r\nBauds=19200\r\n",
                      "[COMM]\r\nBauds=19200\r\nBaudsEnvoi=\r\n[DNC]\r\nPathIsoIni=  \r\n"
                      "[SYNTAXE_MO]\r\nCarSepDec=\r\nAbs=\r\nLadS=\r\n"
                      "[SYNTAXE_CARTOUCHE]\r\nInsertOneCart=\r\n[TELVAR]\r\nSocket=\r\n"));

TEST_F(MachineRead, WriteOnlyKeysAreNeverReadBack) {
    WriteTelvar("[TELVAR]\r\nIPserver=10.0.0.9\r\n[MANAGER]\r\nPortComManager=77\r\n"
                "[DNC]\r\nPathData=X\r\nModeGestionBD=3\r\n[SYNTAXE_MO]\r\nCodeGroupCN=8\r\n");
    MachineConfig m;
    m.PortComManager = 5;
    m.ModeGestionBD = 1;
    m.CodeGroupCN = 2;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
    EXPECT_EQ(m.PortComManager, 5);
    EXPECT_EQ(m.ModeGestionBD, 1);
    EXPECT_EQ(m.CodeGroupCN, 2);
}

TEST_F(MachineRead, ActivitiesAndAnalysisChannels) {
    WriteTelvar(
        "[WORKSHOP ACTIVITY]\r\nNbActivity=2\r\nCodeActivity1=10\r\nRefActivity1=Usinage\r\n"
        "CarActivity1=U\r\nCodeActivity2=20\r\nRefActivity2=Arret\r\nCarActivity2=A\r\n"
        "RefActivity3=stale\r\n"
        "[CANAUX_ANALYSE]\r\nNbCanalAnalyse=1\r\nRefCanal1=Broche\r\nCodeCanal1=1001\r\nCarCanal1=B\r\n");
    MachineConfig m;
    m.SetNbActivity(5);
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
    ASSERT_EQ(m.NbActivity, 2);
    ASSERT_EQ(m.Activity.size(), 3u);
    EXPECT_EQ(m.Activity[1].CodeActivity, 10);
    EXPECT_EQ(m.Activity[1].RefActivity, "Usinage");
    EXPECT_EQ(m.Activity[2].CarActivity, "A");
    ASSERT_EQ(m.CanalAnalyse.size(), 1u);
    EXPECT_EQ(m.CanalAnalyse[0].RefCanal, "Broche");
    EXPECT_EQ(m.CanalAnalyse[0].CodeCanal, "1001");
    EXPECT_EQ(m.CanalAnalyse[0].CarCanal, "B");
}

struct CountCase {
    const char* name;
    std::string section;
    std::size_t expectedActivities;
    std::size_t expectedChannels;
};

class MachineReadCounts : public MachineRead, public ::testing::WithParamInterface<CountCase> {};

// The count sizes the list; damaged counts neither blow the memory up nor hang: a negative count
// is 0, a huge one stops at the highest numbered key present, and at most 32 analysis channels
// are read.
TEST_P(MachineReadCounts, CountsAreBoundedByTheFile) {
    WriteTelvar(GetParam().section);
    MachineConfig m;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
    EXPECT_EQ(static_cast<std::size_t>(m.NbActivity), GetParam().expectedActivities);
    EXPECT_EQ(m.Activity.size(), GetParam().expectedActivities + 1);
    EXPECT_EQ(m.CanalAnalyse.size(), GetParam().expectedChannels);
}

std::string ManyChannels(int count) {
    std::string text = "[CANAUX_ANALYSE]\r\nNbCanalAnalyse=" + std::to_string(count) + "\r\n";
    for (int n = 1; n <= count; ++n)
        text += "RefCanal" + std::to_string(n) + "=C" + std::to_string(n) + "\r\n";
    return text;
}

INSTANTIATE_TEST_SUITE_P(
    Counts, MachineReadCounts,
    ::testing::Values(
        CountCase{"zero", "[WORKSHOP ACTIVITY]\r\nNbActivity=0\r\nCodeActivity1=4\r\n", 0, 0},
        CountCase{"negative", "[WORKSHOP ACTIVITY]\r\nNbActivity=-5\r\nCodeActivity1=4\r\n", 0, 0},
        CountCase{"huge", "[WORKSHOP ACTIVITY]\r\nNbActivity=2000000000\r\nCarActivity3=x\r\n", 3, 0},
        CountCase{"gap", "[WORKSHOP ACTIVITY]\r\nNbActivity=4\r\nRefActivity1=a\r\nRefActivity4=d\r\n", 4, 0},
        CountCase{"beyond the keys", "[WORKSHOP ACTIVITY]\r\nNbActivity=5\r\nRefActivity1=a\r\n", 5, 0},
        CountCase{"huge with a leading zero", "[WORKSHOP ACTIVITY]\r\nNbActivity=5000\r\nRefActivity07=a\r\n",
                  0, 0},
        CountCase{"activities at the limit", "[WORKSHOP ACTIVITY]\r\nNbActivity=1000\r\n", 1000, 0},
        CountCase{"activities past the limit", "[WORKSHOP ACTIVITY]\r\nNbActivity=1001\r\n", 0, 0},
        CountCase{"activities past the limit with keys",
                  "[WORKSHOP ACTIVITY]\r\nNbActivity=1001\r\nRefActivity1001=z\r\n", 1001, 0},
        CountCase{"channels at the limit", ManyChannels(32), 0, 32},
        CountCase{"channels past the limit", ManyChannels(33), 0, 32},
        CountCase{"negative channels", "[CANAUX_ANALYSE]\r\nNbCanalAnalyse=-1\r\nRefCanal1=C\r\n", 0, 0},
        CountCase{"channels claimed", "[CANAUX_ANALYSE]\r\nNbCanalAnalyse=2000000000\r\n", 0, 0}),
    [](const auto& info) {
        std::string name = info.param.name;
        for (char& c : name) c = c == ' ' ? '_' : c;
        return name;
    });

struct BadNumber {
    const char* name;
    const char* file;
};

class MachineReadBadNumbers : public MachineRead, public ::testing::WithParamInterface<BadNumber> {};

// A number outside its field ends the read with a warning; what was read before keeps its new
// value, what comes after is untouched, and the file stays as it was.
TEST_P(MachineReadBadNumbers, OutOfRangeEndsTheRead) {
    WriteTelvar(std::string(GetParam().file) + "[CANAUX_ANALYSE]\r\nNbCanalAnalyse=1\r\nRefCanal1=new\r\n");
    const std::string before = ReadBytes(TelvarPath());
    MachineConfig m;
    m.RefMO = "old";
    m.CanalAnalyse = {{"old", "", ""}};
    EXPECT_FALSE(ReadTelvarIni(TelvarPath(), m));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].text, "Problème durant l'ouverture du fichier telvar.ini");
    EXPECT_EQ(messages.entries[0].icon, IconWarning);
    EXPECT_EQ(m.RefMO, "NEW");            // [DNC] RefMO is read before every key below
    ASSERT_EQ(m.CanalAnalyse.size(), 1u); // [CANAUX_ANALYSE] comes after them all
    EXPECT_EQ(m.CanalAnalyse[0].RefCanal, "old");
    EXPECT_EQ(ReadBytes(TelvarPath()), before);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, MachineReadBadNumbers,
    ::testing::Values(
        BadNumber{"Int16", "[DNC]\r\nRefMO=NEW\r\nNbCanaux=32768\r\n"},
        BadNumber{"Int16Below", "[DNC]\r\nRefMO=NEW\r\nNbCanaux=-32769\r\n"},
        BadNumber{"Int16Rounded", "[DNC]\r\nRefMO=NEW\r\nTechno=32767.5\r\n"},
        BadNumber{"Int16AsText", "[DNC]\r\nRefMO=NEW\r\n[COMM]\r\nModeIRQ=40000 lines\r\n"},
        BadNumber{"Int32", "[DNC]\r\nRefMO=NEW\r\n[COMM]\r\nTimeOut=-2147483649\r\n"},
        BadNumber{"Int32Above", "[DNC]\r\nRefMO=NEW\r\n[COMM]\r\nTimeOut=2147483648\r\n"},
        BadNumber{"Int32Rounded", "[DNC]\r\nRefMO=NEW\r\n[SYNTAXE_MO]\r\nCodeCN=2147483647.5\r\n"},
        BadNumber{"Double", "[DNC]\r\nRefMO=NEW\r\n[TEMPO]\r\nTempoCar=1e999\r\n"},
        BadNumber{"Count", "[DNC]\r\nRefMO=NEW\r\n[WORKSHOP ACTIVITY]\r\nNbActivity=9e12\r\n"},
        BadNumber{"ChannelCount", "[DNC]\r\nRefMO=NEW\r\n[CANAUX_ANALYSE]\r\nNbCanalAnalyse=-2147483649\r\n"},
        BadNumber{"ActivityCode",
                  "[DNC]\r\nRefMO=NEW\r\n[WORKSHOP ACTIVITY]\r\nNbActivity=1\r\nCodeActivity1=5e10\r\n"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MachineRead, DncReadingOrderDecidesWhatAnErrorLeaves) {
    // In [DNC] RefMO is read after PathArchive and before NbCanaux; NotUseXVB after ChainExe.
    WriteTelvar("[DNC]\r\nRefMO=NEW\r\nPathArchive=A\r\nNbCanaux=99999\r\nNotUseXVB=1\r\n"
                "[CHAINAGE]\r\nChainExe=c.exe\r\n");
    MachineConfig m;
    EXPECT_FALSE(ReadTelvarIni(TelvarPath(), m));
    EXPECT_EQ(m.PathArchive, "A");
    EXPECT_EQ(m.RefMO, "NEW");
    EXPECT_EQ(m.ChainExe, "");
    EXPECT_FALSE(m.NotUseXVB);
}

TEST_F(MachineRead, MissingFileLeavesTheRecordAlone) {
    MachineConfig m;
    m.RefMO = "KEEP";
    m.MachineDir = "somewhere";
    EXPECT_FALSE(ReadTelvarIni(MachineDir() + "Telvar.ini", m));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].text, "Le fichier d'initialisation du Port DNC est introuvable.");
    EXPECT_EQ(messages.entries[0].icon, IconCritical);
    EXPECT_EQ(m.RefMO, "KEEP");
    EXPECT_EQ(m.MachineDir, "somewhere");
}

TEST_F(MachineRead, GarbageReadsAsEmptyValues) {
    WriteTelvar(std::string("\x01\x02garbage\r\n[DNC\r\n==\r\nRefMO\r\n[DNC]\r\nNbCanaux=\xff\xfe\r\n[") +
                '\0' + "x");
    MachineConfig m;
    EXPECT_TRUE(ReadTelvarIni(TelvarPath(), m));
    EXPECT_EQ(m.NbCanaux, 0);
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(MachineRead, FileNameDiffersInCase) {
    WriteBytes(MachineDir() + "TELVAR.INI", "[DNC]\r\nRefMO=UPPER\r\n");
    MachineConfig m;
    ASSERT_TRUE(ReadTelvarIni(MachineDir() + "Telvar.ini", m));
    EXPECT_EQ(m.RefMO, "UPPER");
}

// StartWithWindows is the Run value named after the reference; a machine without a reference
// has none, whatever the Run key's unnamed value holds.
TEST_F(MachineRead, StartWithWindowsFollowsTheRunValue) {
    struct Case {
        const char* refMO;
        const char* name; // of the Run value set before reading; nullptr: none
        const char* value;
        bool expected;
    };
    for (const Case& c : {Case{"TOUR1", nullptr, "", false}, Case{"TOUR1", "TOUR1", "x/Telvar.exe", true},
                          Case{"TOUR1", "TOUR1", "", false}, Case{"TOUR1", "TOUR2", "x/Telvar.exe", false},
                          Case{"  TOUR1  ", "TOUR1", "x/Telvar.exe", true},
                          Case{"   ", "", "x/Telvar.exe", false}, Case{"", "", "x/Telvar.exe", false}}) {
        std::filesystem::remove(dir / "registry.ini");
        ini::ClearCache();
        if (c.name) {
            ASSERT_TRUE(platform::RegWriteString(platform::RegRoot::LocalMachine, kRunKey, c.name, c.value));
        }
        WriteTelvar(std::string("[DNC]\r\nRefMO=") + c.refMO + "\r\n");
        MachineConfig m;
        m.StartWithWindows = !c.expected;
        ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m)) << c.refMO;
        EXPECT_EQ(m.StartWithWindows, c.expected) << "[" << c.refMO << "] " << (c.name ? c.name : "-");
    }
}

} // namespace
} // namespace kirva::test
