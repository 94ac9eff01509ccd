// The "Service" panel through its widgets: the service name typed, a CmdService button clicked,
// the log in RtbServices, and the uninstall question; sc and instsrv.exe are stand-ins.
#include <gtest/gtest.h>

#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <filesystem>

#include "editor/WindowFixture.h"
#include "platform/platform.h"
#include "service/ServiceStandIns.h"

namespace kirva {
namespace {

constexpr const char* kTelvar = "[TELVAR]\r\nHostName=CN12\r\n";
constexpr const char* kQuestion = "Voulez vous désinstaller le service";
constexpr const char* kRestart =
    "Vous devez redémarrer l'ordinateur pour terminer la désinstallation du service.";

class ServicePanel : public ::testing::Test {
  protected:
    ServicePanel() {
        test::WriteBytes(telvarIni, kTelvar);
        f.state.ExeFolder = standIns.ProgramFolder();
        f.Open().show();
        f.window->ShowPanel("5");
        // The machine folder, which also holds the server program (spelled as a user named it).
        Type(f.Find<QLineEdit>("TxtTelvar_48"), QString::fromStdString(machineFolder));
        test::WriteBytes(machineFolder + "Telvar.exe", "");
    }

    static void Type(QLineEdit* box, const QString& text) {
        ASSERT_NE(box, nullptr);
        box->clear();
        QTest::keyClicks(box, text);
    }
    // Types the service name, clicks CmdService member and returns what RtbServices shows.
    QString Click(int member, const QString& name = QStringLiteral("Srv A")) {
        Type(f.Find<QLineEdit>("TxtService"), name);
        auto* button = f.Find<QPushButton>(("CmdService_" + std::to_string(member)).c_str());
        EXPECT_TRUE(button != nullptr && button->isEnabled());
        if (button != nullptr) QTest::mouseClick(button, Qt::LeftButton);
        return f.Find<QTextEdit>("RtbServices")->toPlainText();
    }

    test::WindowFixture f;
    test::ServiceStandIns standIns{f.dir.path()};
    test::ScopedEnv registry{"KIRVA_REGISTRY", f.dir / "registry.ini"};
    std::string machineFolder = f.dir / "Telvar/TOUR1/";
    std::string telvarIni = machineFolder + "Telvar.ini";
};

// What the sc stand-in prints for `sc \\CN12 <verb> "Srv A"` (sh has made "\\" one "\").
QString ScLog(const QString& verb) {
    return "sc \\\\CN12 " + verb + " \"Srv A\"\n[SC] stand-in\n[\\CN12]\n[" + verb + "]\n[Srv A]\n[-]\n";
}

TEST_F(ServicePanel, InstallWrapsTheServerProgramOfTheFolderField) {
    const std::string server = machineFolder + "Telvar.exe"; // the existing file, found in any case
    EXPECT_EQ(Click(1), QString::fromStdString(
                            standIns.ProgramFolder() + "instsrv.exe \"Srv A\" \"" + server +
                            "\"\nThe service was successfully added!\n[Srv A]\n[" + server + "]\n[-]\n"));
    EXPECT_EQ(platform::RegReadString(platform::RegRoot::LocalMachine,
                                      "\\SYSTEM\\CurrentControlSet\\Services\\Srv A\\Parameters",
                                      "Application"),
              "\"" + server + "\"");
    EXPECT_EQ(test::ReadBytes(telvarIni), "[TELVAR]\r\nHostName=CN12\r\nService=1\r\n");
}

// Answered no, the uninstall runs nothing and empties the log; answered yes, it deletes the service
// and tells to restart.
TEST_F(ServicePanel, UninstallAsksFirst) {
    EXPECT_EQ(Click(2), ScLog("query")); // says nothing
    f.messages.Answer(MsgAnswer::No);
    EXPECT_EQ(Click(3), "");
    ASSERT_TRUE(f.messages.Only(kQuestion, IconQuestion));
    EXPECT_EQ(f.messages.entries[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(standIns.Calls(), "sc \\CN12 query Srv A -\n");
    EXPECT_EQ(test::ReadBytes(telvarIni), kTelvar);

    f.messages.Answer(MsgAnswer::Yes);
    f.messages.entries.clear();
    EXPECT_EQ(Click(3), ScLog("delete"));
    ASSERT_EQ(f.messages.entries.size(), 2u);
    EXPECT_EQ(f.messages.entries[0].text, kQuestion);
    EXPECT_EQ(f.messages.entries[1].text, kRestart);
    EXPECT_EQ(f.messages.entries[1].icon, IconInformation);
    EXPECT_EQ(standIns.Calls(), "sc \\CN12 query Srv A -\nsc \\CN12 delete Srv A -\n");
    EXPECT_EQ(test::ReadBytes(telvarIni), "[TELVAR]\r\nHostName=CN12\r\nService=0\r\n");
}

// A name that cannot be a service's, or no server folder: the install runs nothing and says why.
TEST_F(ServicePanel, RefusedInputRunsNothingAndSaysWhy) {
    const QString folder = QString::fromStdString(machineFolder);
    for (const auto& [name, folderText, message] :
         {std::tuple{"Srv\"A", folder,
                     "Le nom du service doit être renseigné, sans aucun des caractères \\ / \" $ ` %."},
          std::tuple{"Srv A", QString(),
                     "Indiquez le dossier du Telvareur (Dossier Port DNC) avant d'installer le service."}}) {
        SCOPED_TRACE(message);
        EXPECT_EQ(Click(2), ScLog("query")); // a log from before
        Type(f.Find<QLineEdit>("TxtTelvar_48"), folderText);
        f.messages.entries.clear();
        EXPECT_EQ(Click(1, name), "");
        EXPECT_TRUE(f.messages.Only(message, IconCritical));
    }
    EXPECT_EQ(standIns.Calls(), "sc \\CN12 query Srv A -\nsc \\CN12 query Srv A -\n");
    EXPECT_FALSE(std::filesystem::exists(f.dir / "registry.ini"));
}

} // namespace
} // namespace kirva
