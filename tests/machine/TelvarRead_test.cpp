// Reading a machine's Telvar.ini: each kind of key, the defaults, the reading rules and the
// failures a user can meet. Every key's field is covered by the writer's complete machine.
#include <gtest/gtest.h>

#include "machine/KeyTable.h"
#include "machine/MachineFixture.h"
#include "machine/TelvarFile.h"
#include "platform/platform.h"

namespace kirva::test {
namespace {

class MachineRead : public MachineFixture {
  protected:
    // The value a key holds in the record after reading, as the file would hold it.
    std::string Field(const MachineConfig& m, const char* section, const char* key) {
        const KeyDef* def = FindKey(section, key);
        EXPECT_NE(def, nullptr) << section << " " << key;
        return def ? GetKeyText(m, Remonte(), *def) : "";
    }
};

// Strings are trimmed; numbers are the leading number, rounded half to even before the bounds of
// their width are checked (the setter's cases below share those rules); only "1", blanks aside,
// is true; "ladY" is read in any case.
TEST_F(MachineRead, KeyReadsAsItsKind) {
    struct Case {
        const char *section, *key, *text, *expected;
    };
    const Case cases[] = {
        {"DNC", "RefMO", "  TOUR 1  ", "TOUR 1"},
        {"DNC", "Techno", "-32768", "-32768"},
        {"DNC", "Techno", "32767", "32767"},
        {"DNC", "Techno", "-32768.5", "-32768"},
        {"OPTION_T", "TempoBeforeSend", "3.25s", "3.25"},
        {"TELVAR", "IconTray", "  1\t", "1"},
        {"TELVAR", "IconTray", "1 1", "0"},
        {"SYNTAXE_MO", "LADY", "W", "W"},
    };
    for (const Case& c : cases) {
        WriteTelvar(std::string("[") + c.section + "]\r\n" + c.key + "=" + c.text + "\r\n");
        MachineConfig m;
        ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
        EXPECT_EQ(Field(m, c.section, c.key), c.expected) << c.key << "=" << c.text;
    }
    EXPECT_TRUE(messages.entries.empty());
}

// The setter of the window's fields takes typed text by the reading rules of the field's width;
// a value the field cannot hold is refused and the field keeps what it had.
TEST_F(MachineRead, SetterFitsTypedTextToTheFieldOrRefusesIt) {
    struct Case {
        const char *section, *key, *typed;
        const char* held; // the field afterwards, as the file holds it; nullptr: refused
    };
    const Case cases[] = {{"DNC", "NbCanaux", "-32768", "-32768"},
                          {"DNC", "NbCanaux", "32767", "32767"},
                          {"DNC", "NbCanaux", "32768", nullptr},
                          {"DNC", "NbCanaux", "-32769", nullptr},
                          {"DNC", "NbCanaux", "32767.5", nullptr},
                          {"DNC", "NbCanaux", "32766.5", "32766"},
                          {"DNC", "NbCanaux", " 12 ", "12"},
                          {"COMM", "TimeOut", "2147483648", nullptr},
                          {"COMM", "TimeOut", "-2147483649", nullptr},
                          {"COMM", "TimeOut", "12abc", "12"},
                          {"COMM", "TimeOut", "abc", "0"},
                          {"TEMPO", "TempoBloc", "-0.5", "-0.5"},
                          {"TEMPO", "TempoBloc", "1.7976931348623157e308", "1.79769313486232e+308"},
                          {"TEMPO", "TempoBloc", "1.8e308", nullptr},
                          {"TELVAR", "IconTray", "\t1 ", "1"},
                          {"TELVAR", "IconTray", "1 0", "0"},
                          {"REMONTE", "RemonteDossier", "1 ", "1"},
                          {"DNC", "RefMO", " TOUR 1 ", " TOUR 1 "}, // text as typed
                          {"TEMPO", "TimeOutBreak", "5", nullptr},  // constants and counts have no field
                          {"WORKSHOP ACTIVITY", "NbActivity", "2", nullptr}};
    for (const Case& c : cases) {
        const KeyDef* def = FindKey(c.section, c.key);
        ASSERT_NE(def, nullptr) << c.key;
        MachineConfig m;
        RemonteState r;
        const std::string before = GetKeyText(m, r, *def);
        EXPECT_EQ(SetKeyText(m, r, *def, c.typed), c.held != nullptr) << c.key << "=" << c.typed;
        EXPECT_EQ(GetKeyText(m, r, *def), c.held ? c.held : before) << c.key << "=" << c.typed;
    }
}

// Missing and empty values give the same defaults.
TEST_F(MachineRead, MissingOrEmptyKeysGiveDefaults) {
    for (const char* file :
         {"[COMM]\r\nBauds=19200\r\n", "[COMM]\r\nBauds=19200\r\nBaudsEnvoi=\r\n[DNC]\r\nPathIsoIni=  \r\n"
                                       "[SYNTAXE_MO]\r\nCarSepDec=\r\nAbs=\r\nLadS=\r\n"
                                       "[SYNTAXE_CARTOUCHE]\r\nInsertOneCart=\r\n[TELVAR]\r\nSocket=\r\n"}) {
        WriteTelvar(file);
        MachineConfig m;
        m.Socket = 9;
        m.LadS = "Q";
        m.InsertOneCart = false;
        ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
        EXPECT_EQ(m.PathIsoIni, MachineDir() + "Iso.ini");
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
}

// The count sizes the list, whatever the record held before; damaged counts neither blow the
// memory up nor hang: a negative count is 0, one above 1000 stops at the highest numbered key
// present (spelled without a leading zero), and at most 32 analysis channels are read.
TEST_F(MachineRead, CountsAreBoundedByTheFile) {
    std::string channels = "[CANAUX_ANALYSE]\r\nNbCanalAnalyse=33\r\n";
    for (int n = 1; n <= 33; ++n) channels += "RefCanal" + std::to_string(n) + "=C\r\n";
    struct Case {
        std::string file;
        std::size_t activities, channels;
    };
    const std::string activity = "[WORKSHOP ACTIVITY]\r\nNbActivity=";
    const Case cases[] = {{activity + "-5\r\nCodeActivity1=4\r\n", 0, 0},
                          {activity + "2000000000\r\nCarActivity3=x\r\n", 3, 0},
                          {activity + "5\r\nRefActivity1=a\r\n", 5, 0},
                          {activity + "5000\r\nRefActivity07=a\r\n", 0, 0},
                          {activity + "1000\r\n", 1000, 0},
                          {activity + "1001\r\n", 0, 0},
                          {channels, 0, 32},
                          {"[CANAUX_ANALYSE]\r\nNbCanalAnalyse=2000000000\r\n", 0, 0}};
    for (const Case& c : cases) {
        WriteTelvar(c.file);
        MachineConfig m;
        m.SetNbActivity(4);
        m.CanalAnalyse.resize(4);
        ASSERT_TRUE(ReadTelvarIni(TelvarPath(), m));
        EXPECT_EQ(static_cast<std::size_t>(m.NbActivity), c.activities) << c.file.substr(0, 40);
        EXPECT_EQ(m.Activity.size(), c.activities + 1) << c.file.substr(0, 40);
        EXPECT_EQ(m.CanalAnalyse.size(), c.channels) << c.file.substr(0, 40);
    }
}

// A number outside its field ends the read with a warning; what was read before keeps its new
// value, what comes after is untouched, and the file stays as it was.
TEST_F(MachineRead, OutOfRangeEndsTheRead) {
    for (const char* bad : {"NbCanaux=32768\r\n", "Techno=32767.5\r\n", "[COMM]\r\nModeIRQ=40000 lines\r\n",
                            "[COMM]\r\nTimeOut=2147483648\r\n", "[TEMPO]\r\nTempoCar=1e999\r\n",
                            "[WORKSHOP ACTIVITY]\r\nNbActivity=9e12\r\n",
                            "[WORKSHOP ACTIVITY]\r\nNbActivity=1\r\nCodeActivity1=5e10\r\n"}) {
        // [DNC] RefMO is read before every key below; [CANAUX_ANALYSE] comes after them all.
        WriteTelvar(std::string("[DNC]\r\nRefMO=NEW\r\n") + bad +
                    "[CANAUX_ANALYSE]\r\nNbCanalAnalyse=1\r\nRefCanal1=new\r\n");
        const std::string before = ReadBytes(TelvarPath());
        messages.entries.clear();
        MachineConfig m;
        m.CanalAnalyse = {{"old", "", ""}};
        EXPECT_FALSE(ReadTelvarIni(TelvarPath(), m)) << bad;
        EXPECT_TRUE(messages.Only("Problème durant l'ouverture du fichier telvar.ini", IconWarning)) << bad;
        EXPECT_EQ(m.RefMO, "NEW") << bad;
        ASSERT_EQ(m.CanalAnalyse.size(), 1u) << bad;
        EXPECT_EQ(m.CanalAnalyse[0].RefCanal, "old") << bad;
        EXPECT_EQ(ReadBytes(TelvarPath()), before);
    }
}

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
                          Case{"  ", "", "x/Telvar.exe", false}}) {
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
