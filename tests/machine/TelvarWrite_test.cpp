// Writing a machine's Telvar.ini: order, every key's field, a file kept by hand, the lists'
// counts, the failures a user can meet, and the Run value.
#include <gtest/gtest.h>

#include <optional>
#include <tuple>
#include <vector>

#include "ini/document.h"
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

// The writer's order and every key's field, byte for byte (the expected file is written out by
// hand in code page 1252 with CR LF); reading that file back and writing it into another empty
// folder gives the same bytes, so every key read lands in its own field.
TEST_F(MachineWrite, CompleteMachineIntoAnEmptyFolder) {
    RemonteState remonte{true, "/remonte/", false};
    ASSERT_TRUE(WriteTelvarIni(CompleteMachine(MachineDir()), workstation, remonte));
    EXPECT_EQ(ReadBytes(TelvarPath()), CompleteMachineFile());

    MachineConfig back;
    RemonteState backRemonte;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), back, backRemonte));
    // Socket is read only; the other three are written, never read: they come from the record.
    EXPECT_EQ(std::tie(back.Socket, back.PortComManager, back.ModeGestionBD, back.CodeGroupCN),
              std::make_tuple(0, 0, 0, 0));
    back.PortComManager = 4000;
    back.ModeGestionBD = 3;
    back.CodeGroupCN = 7;
    const std::string otherDir = (dir.path() / "M2").string() + platform::kPathSeparator;
    std::filesystem::create_directories(otherDir);
    ASSERT_TRUE(WriteTelvarIniTo(otherDir, back, workstation, backRemonte));
    EXPECT_EQ(ReadBytes(otherDir + "Telvar.ini"), CompleteMachineFile());
    EXPECT_TRUE(messages.entries.empty());
}

std::string Join(const std::vector<std::string>& lines) {
    std::string bytes;
    for (const std::string& line : lines) bytes += line + "\r\n";
    return bytes;
}

// A file kept by hand and by other programs (comments, odd spacing, keys and sections this program
// does not know, the lists' sections, code page 1252 text) read and written back with one value
// changed: every other byte stays as the technician left it.
TEST_F(MachineWrite, HandKeptFileKeepsEveryByteButTheChangedValue) {
    // The edit of a complete file: a comment in code page 1252 under each header, blanks around
    // "=" on every third key, a key and a section of the technician's own, a value with an accent,
    // the read-only Socket, a constant changed by hand, the lists' sections at the end.
    std::vector<std::string> edited{"; Machine TOUR1, atelier 2", ""};
    int keys = 0;
    const std::string complete = CompleteMachineFile();
    for (const std::string_view line : ini::SplitLines(complete)) {
        const std::size_t equals = line.find('=');
        if (line == "[TEMPO]") edited.insert(edited.end(), {"[NOTES]", "Qui=H\xE9l\xE8ne", ""});
        if (line.starts_with("[")) {
            edited.insert(edited.end(), {std::string(line), "; r\xE9gl\xE9 \xE0 la main le 3 mars"});
            if (line == "[TELVAR]") edited.push_back("Socket=5");
            if (line == "[RESEAU]") edited.push_back("Atelier = B\xE2timent B");
        } else if (line.starts_with("RemoteHost=")) {
            edited.push_back("RemoteHost=serveur-pi\xE8"
                             "ces");
        } else if (line.starts_with("TimeOutBreak=")) {
            edited.push_back("TimeOutBreak=5");
        } else if (equals != std::string::npos && ++keys % 3 == 0 && !line.starts_with("PortListen=")) {
            edited.push_back("  " + std::string(line.substr(0, equals)) + " =  " +
                             std::string(line.substr(equals + 1)) + "\t");
        } else {
            edited.emplace_back(line);
        }
    }
    ASSERT_GT(keys, 150);
    edited.insert(edited.end(), {"", "[PLANS]", "ref:P1|LadX:X|LadY:Z|CoeffX:1|CoeffY:2|R:0|", "[CANAUX]",
                                 "ref:C1|Pref:$1|Suff:|Canal:1|", "[ZZZ]", ";end"});
    WriteTelvar(Join(edited));

    MachineConfig read;
    ASSERT_TRUE(ReadTelvarIni(TelvarPath(), read, Remonte()));
    EXPECT_EQ(read.RemoteHost, "serveur-pièces");
    EXPECT_EQ(read.Socket, 5);
    read.Socket = 6;
    read.PortComManager = 4000; // written, never read
    read.ModeGestionBD = 3;
    read.CodeGroupCN = 7;
    read.PortListen = 5002;
    ASSERT_TRUE(WriteTelvarIni(read, workstation, Remonte()));

    // Only the changed value and the constant are written anew, each in its place.
    for (std::string& line : edited) {
        if (line.starts_with("PortListen=")) line = "PortListen=5002";
        if (line.starts_with("TimeOutBreak=")) line = "TimeOutBreak=108000000";
    }
    EXPECT_EQ(ReadBytes(TelvarPath()), Join(edited));
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(MachineWrite, FileExtGetsItsDot) {
    for (const auto& [typed, written] :
         {std::pair{"nc", ".nc"}, {".nc", ".nc"}, {"", ""}, {"  iso ", ".iso"}, {"   ", ""}}) {
        machine.FileExt = typed;
        ASSERT_TRUE(WriteTelvarIni(machine, workstation));
        EXPECT_EQ(Value("SYNTAXE_MO", "FileExt"), written) << typed;
    }
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
    WriteBytes(dir / "plain-file", "x");
    for (const std::string& folder :
         {std::string(), std::string(dir / "plain-file"), std::string(dir / "no/such")}) {
        messages.entries.clear();
        machine.MachineDir = folder;
        EXPECT_FALSE(WriteTelvarIni(machine, workstation)) << folder;
        ASSERT_EQ(messages.entries.size(), 1u) << folder;
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
    machine.RefMO = "  ";
    for (const bool startWithWindows : {true, false}) {
        machine.StartWithWindows = startWithWindows;
        EXPECT_TRUE(WriteTelvarIni(machine, workstation)) << startWithWindows;
        EXPECT_EQ(ReadBytes(dir / "registry.ini"), registry) << startWithWindows;
    }
    EXPECT_TRUE(messages.entries.empty());
}

// Off deletes the Run value; on with the communication manager leaves it as it is; on without
// it names the machine's Telvar.exe.
TEST_F(MachineWrite, RunValue) {
    struct Case {
        bool startWithWindows, useComManager;
        std::optional<std::string> before, after; // "exe": the machine's Telvar.exe
    };
    const Case cases[] = {{false, false, "old", std::nullopt},        {false, true, "old", std::nullopt},
                          {false, false, std::nullopt, std::nullopt}, {true, true, "old", "old"},
                          {true, false, std::nullopt, "exe"},         {true, false, "old", "exe"}};
    const auto root = platform::RegRoot::LocalMachine;
    for (const Case& c : cases) {
        ASSERT_TRUE(platform::RegDeleteValue(root, kRunKey, "TOUR1"));
        if (c.before) {
            ASSERT_TRUE(platform::RegWriteString(root, kRunKey, "TOUR1", *c.before));
        }
        machine.StartWithWindows = c.startWithWindows;
        machine.UseComManager = c.useComManager;
        ASSERT_TRUE(WriteTelvarIni(machine, workstation));
        EXPECT_EQ(platform::RegReadString(root, kRunKey, "TOUR1"),
                  c.after == "exe" ? std::optional(MachineDir() + "Telvar.exe") : c.after)
            << c.startWithWindows << c.useComManager << c.before.value_or("-");
    }
}

} // namespace
} // namespace kirva::test
