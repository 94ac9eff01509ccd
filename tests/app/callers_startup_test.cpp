// Start-up's reading of the machine to modify, for both calling programs.
#include <gtest/gtest.h>

#include "app/CallerSettings.h"
#include "app/Startup.h"
#include "machine/MachineFixture.h"
#include "translate/translate.h"

namespace kirva::test {
namespace {

class CallersStartup : public MachineFixture {
  protected:
    CallersStartup() {
        state.Settings.AppCalling = 2;
        state.Settings.NbDevice = 2;
        state.Settings.CurrentIndexMO = 2;
        WriteTelvar("[DNC]\r\nRefMO=TOUR2\r\n");
    }
    void UseKalderon(const std::string& pathTelvar) {
        state.Settings.Mode = 1;
        state.Settings.PathAppCallingIni = dir / "Kalderon.ini";
        WriteBytes(dir / "Kalderon.ini",
                   "[KALDERON]\r\nLangue=DE.lng\r\n[CNC2]\r\nName=Tour 2\r\nPathTelvar=" + pathTelvar +
                       "\r\n");
    }
    void UseHarbix(const std::string& pathTelvar) {
        state.Settings.Mode = 2;
        state.Settings.PathAppCallingIni = dir / "Harbix.ini";
        WriteBytes(dir / "Harbix.ini", "[CNC]\r\nRefMO2=TOUR2\r\nPathTelvar2=" + pathTelvar + "\r\n");
    }
    ProgramState state;
};

TEST_F(CallersStartup, ProgramManagerModifyReadsEntryAndMachine) {
    UseKalderon(MachineDir());
    ASSERT_TRUE(ReadMachineToModify(state));
    EXPECT_EQ(Machine().Name, "Tour 2");
    EXPECT_EQ(Machine().RefMO, "TOUR2");
    EXPECT_EQ(state.MachineSettingsPath, TelvarPath());
    EXPECT_TRUE(TK_TRANSLATE::Shared().PathDico().ends_with("DE.lng"));
}

TEST_F(CallersStartup, ProgramManagerWithoutFolderReadsNoMachineFile) {
    UseKalderon("");
    ASSERT_TRUE(ReadMachineToModify(state));
    EXPECT_EQ(Machine().Name, "Tour 2");
    EXPECT_EQ(Machine().RefMO, "");
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(CallersStartup, TransferProgramModifyReadsEntryAndMachine) {
    UseHarbix(MachineDir());
    ASSERT_TRUE(ReadMachineToModify(state));
    EXPECT_EQ(Machine().Name, "TOUR2");
    EXPECT_EQ(Machine().RefMO, "TOUR2");
}

TEST_F(CallersStartup, TransferProgramWithoutFolderEnds) {
    UseHarbix(MachineDir() + "elsewhere/");
    EXPECT_FALSE(ReadMachineToModify(state));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].icon, IconCritical);
}

TEST_F(CallersStartup, EndsOrStartsFreshWithoutReading) {
    struct Case {
        int mode, appCalling, index;
        bool goesOn;
    };
    for (const Case& c : {Case{1, 2, 3, false}, Case{2, 2, 3, false}, Case{1, 1, 1, true},
                          Case{2, 1, 9, true}, Case{3, 2, 1, true}}) {
        UseKalderon(MachineDir());
        state.Settings.Mode = c.mode;
        state.Settings.AppCalling = c.appCalling;
        state.Settings.CurrentIndexMO = c.index;
        Machine() = MachineConfig{};
        EXPECT_EQ(ReadMachineToModify(state), c.goesOn) << c.mode << " " << c.appCalling;
        EXPECT_EQ(Machine().Name, "");
    }
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(CallersStartup, MissingCallerFileEnds) {
    UseHarbix(MachineDir());
    state.Settings.PathAppCallingIni = dir / "gone.ini";
    EXPECT_FALSE(ReadMachineToModify(state));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].text, "Le fichier Harbix.ini est introuvable !");
}

} // namespace
} // namespace kirva::test
