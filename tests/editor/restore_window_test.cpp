// "Restaurer...": a backup of the machine's Telvar.ini chosen, put back byte for byte and shown.
#include <QPushButton>
#include <QStatusBar>

#include "WindowFixture.h"
#include "app/Backup.h"
#include "editor/RestoreDialog.h"
#include "machine/TelvarFile.h"

namespace kirva::test {
namespace {

// Chooses the newest backup, as a user who takes the first line of the list.
class NewestBackup : public FakeDialogs {
  public:
    std::optional<std::string> ChooseBackup(QWidget*, const std::string& file) override {
        ++asked;
        const auto backups = ListBackups(file);
        return backups.empty() ? std::nullopt : std::optional(backups.front().Path);
    }
    int asked = 0;
};

TEST(RestoreWindow, PutsBackTheChosenBackupAndShowsIt) {
    WindowFixture f;
    const std::string folder = f.dir / "Telvar/M1/", file = folder + "Telvar.ini";
    const std::string before = "[TELVAR]\r\nPortListen=5001\r\n[DNC]\r\nRefMO=M1\r\n";
    WriteBytes(file, before);
    ASSERT_TRUE(BackUpFile(file));
    WriteBytes(file, "[TELVAR]\r\nPortListen=6001\r\n[DNC]\r\nRefMO=M1\r\n");
    MachineConfig machine;
    ASSERT_TRUE(ReadTelvarIni(file, machine));
    machine.PathTelvar = folder;
    frmKirva& window = f.Open(machine);
    ASSERT_EQ(f.Line("TxtTelvar_6")->text(), QStringLiteral("6001"));

    NewestBackup dialogs;
    f.Find<QPushButton>("cmdRestore")->click();
    EXPECT_EQ(dialogs.asked, 1);
    EXPECT_EQ(ReadBytes(file), before);
    EXPECT_EQ(f.Line("TxtTelvar_6")->text(), QStringLiteral("5001"));
    EXPECT_TRUE(window.statusBar()->currentMessage().startsWith(QStringLiteral("La copie du 20")));
    EXPECT_TRUE(window.statusBar()->currentMessage().endsWith(QStringLiteral(" a été restaurée.")));

    // The file it replaced was kept: the dialog lists it first, with what it differs in.
    RestoreDialog dialog(file);
    ASSERT_EQ(ListBackups(file).size(), 2u);
    EXPECT_EQ(dialog.Chosen(), ListBackups(file).front().Path);
    EXPECT_EQ(dialog.Differences(), QStringLiteral("Port d'écoute (1 Général) : « 6001 » → « 5001 »"));
    EXPECT_TRUE(f.messages.entries.empty());
}

TEST(RestoreWindow, AddModeHasNothingToRestore) {
    WindowFixture f(1, 1);
    f.Open();
    EXPECT_FALSE(f.Find<QPushButton>("cmdRestore")->isEnabled());
    EXPECT_EQ(f.window->ChangedFieldCount(), 0); // what the window presets is no change of the user
    RestoreDialog dialog(f.dir / "none/Telvar.ini");
    EXPECT_EQ(dialog.Chosen(), "");
    EXPECT_EQ(dialog.Differences(),
              QString::fromStdString("Aucune copie de sauvegarde de " + f.dir / "none/Telvar.ini" + "."));
}

} // namespace
} // namespace kirva::test
