// Writing a machine's Telvar.ini: order, every key's field, a file kept by hand, the lists'
// counts and the Run value. (Refused writes: the writers' failure table of the app tests.)
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

// Sets each field to the value that follows it.
void Set(MachineConfig&) {}
template <typename T, typename V, typename... Rest>
void Set(MachineConfig& m, T MachineConfig::*field, const V& value, const Rest&... rest) {
    m.*field = value;
    Set(m, rest...);
}

// A machine whose every field differs from its default and from its neighbours, so that a key
// written from the wrong field, or in the wrong place, changes the bytes.
MachineConfig CompleteMachine(const std::string& machineDir) {
    using M = MachineConfig;
    MachineConfig m;
    m.MachineDir = machineDir;
    // [TELVAR] (Socket is read, never written)
    Set(m, &M::Socket, 77, &M::PortListen, 5001, &M::IconTray, true);
    // [MANAGER]
    Set(m, &M::UseComManager, true, &M::IPComManager, "192.168.1.5", &M::PortComManager, 4000);
    // [DNC]
    Set(m, &M::RefMO, "TOUR1", &M::PathFileProgOpen, "/prog/open/", &M::PathFileProgSave, "/prog/save/",
        &M::PathArchive, "/prog/archive/", &M::PathMacroError, "/macros/erreur.mac", &M::CallSyntax, "%P",
        &M::DataAccess, 2, &M::Reboot, true, &M::ModeGestionBD, 3, &M::Methode, 4, &M::IsModeEcoute, true,
        &M::UseRPC, true, &M::ReceivProgCrushed, true, &M::ProgIndice, true, &M::SendFirstAsLast, true,
        &M::NbCanaux, 2, &M::TypeMulti, 1, &M::PathIsoIni, "/machines/TOUR1/Cycles.ini", &M::Techno, -3);
    // [COMM]
    Set(m, &M::NumPort, 3, &M::Bauds, "9600", &M::BaudsEnvoi, "19200", &M::DataBit, "7", &M::StopBit, "2",
        &M::Parite, "E", &M::TimeOut, 30, &M::TimeOutEnvoi, 45, &M::CtrlFlux, 1, &M::EOB, "13,10",
        &M::IsModePassant, true, &M::ModeIRQ, 5, &M::InBufferSize, 4096, &M::OutBufferSize, 2048,
        &M::TimeOutEcoute, 600);
    // [OPTION_DNC]
    Set(m, &M::NbBlocAvance, 10, &M::SendCartouche, true, &M::SendEmptyLines, true,
        &M::CheckReceivBeforeAppel, true, &M::RemonteBD, true, &M::ConcatProgAppel, true, &M::Specificite,
        "LECT_CART", &M::CheckModeRecep, "STRICT", &M::SepCarMultiAppel, ",", &M::NbReceivBeforeAppel, 2,
        &M::CarSepAppel, "/", &M::MarqueurDebAppel, "(DEBUT)", &M::MarqueurFinAppel, "(FIN)");
    // [CALL_COMM]
    Set(m, &M::CallMethode, 6, &M::CallNumPort, 4, &M::CallBauds, "4800", &M::CallDataBit, "8",
        &M::CallStopBit, "1", &M::CallParite, "N", &M::CallCtrlFlux, 2);
    // [OPTION_T]
    Set(m, &M::TCarFiltered, "%", &M::TCarFilteredBy, "#", &M::BOT, "18", &M::EOT, "20", &M::TempoBeforeSend,
        2.5);
    // [OPTION_R]
    Set(m, &M::RCarFiltered, "$", &M::RCarFilteredBy, "&", &M::BOR, "17", &M::EOR, "19", &M::FiltreLigneRecep,
        "N*");
    // [TEMPO]
    Set(m, &M::TempoBloc, 0.25, &M::TempoCar, -1.75, &M::TimeOutModeRecep, 120);
    // [SYNTAXE_MO]
    Set(m, &M::CodeCN, 12, &M::CodeGroupCN, 7, &M::CarDebProg, "%", &M::CarDebBloc, "N", &M::CarBlocOpt, "/",
        &M::CarDebCom, "(", &M::CarFinCom, ")", &M::NumBloc1, 10, &M::IncrBloc, 5, &M::BlocDeb, "G90 G40",
        &M::BlocFin, "M30", &M::BlocType, "N10 G1", &M::NbTourelle, 2, &M::NbPot, 24, &M::NbMaxCarBloc, 256,
        &M::CarSepDec, ",", &M::ForceSepDec, true, &M::FileExt, "nc", &M::ProgAuD, true, &M::LadR, "Q",
        &M::Abs, "G90.1", &M::Rel, "G91.1", &M::CodeProgAuD, "G7", &M::CodeProgAuR, "G8", &M::LadX, "U",
        &M::LadY, "V", &M::LadZ, "W", &M::CodeVcc, "G196", &M::CodeStr, "G197", &M::CodeVaMin, "G194",
        &M::CodeVaTr, "G195", &M::LadS, "SP", &M::ChgtOutil, "M6");
    // [SYNTAXE_CARTOUCHE]
    Set(m, &M::InsertMode, 1, &M::HeaderVisible, true, &M::BlocLen, 72, &M::CarCartouche, "*",
        &M::CompactCartPosition, 3, &M::XML, true, &M::ModeInsert, 2, &M::PosCarCart, 4, &M::CarOrLigneInsert,
        "N5", &M::InsertOneCart, false, &M::DontUpdateLigneNumProg, true, &M::NbDigitNumProg, 4);
    // [RESEAU]
    Set(m, &M::RemoteMethode, 5, &M::RemoteHost, "cn-tour1.atelier", &M::RemotePort, "21",
        &M::DefaultDirHostSend, "/envoi/", &M::DefaultDirHostReceiv, "/reception/", &M::TalmConnexionRole, 1,
        &M::UserName, "operateur", &M::UserPassword, "s3cret", &M::DefautFileName, "O0001",
        &M::NumProgAsFileName, true, &M::DeleteFileReseau, true);
    // [CHAINAGE]
    Set(m, &M::ChainExe, "suite.exe");
    m.HeaderText = "Pi\xC3\xA8"
                   "ce d\xC3\xA9"
                   "collet\xC3\xA9"
                   "e";
    m.SetNbActivity(2);
    m.Activity[1] = {"Usinage", 10, "U"};
    m.Activity[2] = {"Arr\xC3\xAAt", -3, "A"};
    m.CanalAnalyse = {{"Broche", "1001", "B"}, {"Axe X", "1002", "X"}};
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
