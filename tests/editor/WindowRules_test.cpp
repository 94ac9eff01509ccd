// Field rules of the window: browse buttons, key rules, the serial-port test, the highlight of the
// field being edited, the command buttons, the catalogue's group of a model and the panel pictures.
#include <gtest/gtest.h>

#include <QDir>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <tuple>

#ifndef _WIN32
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>
#endif

#include "WindowFixture.h"
#include "editor/BrowseTable.h"
#include "editor/FieldRules.h"
#include "editor/PanelTree.h"
#include "editor/PingWidgets.h"
#include "ini/helpers.h"
#include "support/ScopedEnv.h"

namespace kirva {
namespace {

using test::FakeDialogs;
using test::WindowFixture;
using WindowButtons = test::OpenWindow<>;
using WindowScreenshots = test::OpenWindow<>;

// A window on machine M1 of the fixture's folder.
class WindowBrowse : public ::testing::Test {
  protected:
    WindowFixture f;
    std::string machineDir = f.dir / "M1/";
    frmKirva& w = f.Open([this] {
        MachineConfig machine;
        machine.MachineDir = machineDir;
        return machine;
    }());
    FakeDialogs dialogs;
};

QString Name(const char* array, int member) {
    return QString::fromStdString(ControlName(array, member));
}

// Every browse button: confirming puts the path in its field, cancelling changes nothing.
TEST_F(WindowBrowse, EveryButtonFillsItsFieldOrLeavesItOnCancel) {
    for (const BrowseDef& def : BrowseTable()) {
        if (def.Kind == BrowseKind::SerialTest) continue;
        SCOPED_TRACE(Name(def.Button, def.Member).toStdString());
        auto* button = w.findChild<QPushButton*>(Name(def.Button, def.Member));
        auto* field = w.findChild<QLineEdit*>(Name(def.Target, def.TargetMember));
        ASSERT_NE(button, nullptr);
        ASSERT_NE(field, nullptr);
        field->setText("avant");
        dialogs.answer.reset();
        w.SetFocusOnPanOfInfo(button);
        button->click();
        EXPECT_EQ(field->text(), "avant");
        EXPECT_EQ(dialogs.titles.back(), QString::fromUtf8(def.Title));

        const QString chosen = QDir::fromNativeSeparators(QString::fromStdString(f.dir / "choisi"));
        dialogs.answer = chosen;
        button->click();
        const QString expected = QDir::toNativeSeparators(chosen);
        EXPECT_EQ(field->text(), def.Kind == BrowseKind::Folder
                                     ? QString::fromStdString(AddTrailingBackslash(expected.toStdString()))
                                     : expected);
    }
    EXPECT_EQ(dialogs.folders, 2 * 7);
    EXPECT_EQ(dialogs.files, 2 * 19);
}

TEST_F(WindowBrowse, IsoConfigurationStartsInTheMachineFolderAndReloadsTheInsertions) {
    const std::string iso = f.dir / "Autre.ini";
    test::WriteBytes(iso,
                     "[INSERT]\r\nOrigine=iso:G90<R>M30|bmp:|Rac:1113|\r\n-\r\nFin=iso:M30|bmp:|Rac:|\r\n");
    dialogs.answer = QString::fromStdString(iso);
    w.findChild<QPushButton*>("cmdParcourir_12")->click();
    EXPECT_EQ(dialogs.starts.back(), QString::fromStdString(machineDir));
    EXPECT_EQ(dialogs.titles.back(), "Sélectionner un fichier de configuration ISO");
    EXPECT_EQ(f.Find<QLineEdit>("TxtTelvar_2")->text(),
              QDir::toNativeSeparators(QString::fromStdString(iso)));
    EXPECT_EQ(f.Find<QListWidget>("LstInsert")->count(), 3);
}

// The apply-side button follows the reference field one key behind.
TEST(WindowKeyRules, ReferenceEnablesTheFolderButtonOneKeyBehind) {
    WindowFixture f(1, 1);
    frmKirva& w = f.Open();
    int runs = 0;
    w.SetCommandAction(2, [&runs] { ++runs; });
    auto* reference = f.Find<QLineEdit>("TxtTelvar_1");
    auto* create = f.Find<QPushButton>("cmdExit_2");
    EXPECT_FALSE(create->isEnabled());
    // Each key, the text after it and whether the button is then enabled. Keys that type nothing (a
    // modifier, an arrow) do not count.
    const std::tuple<Qt::Key, const char*, bool> keys[] = {
        {Qt::Key_T, "t", false},       {Qt::Key_Shift, "t", false},   {Qt::Key_Left, "t", false},
        {Qt::Key_End, "t", false},     {Qt::Key_1, "t1", true},       {Qt::Key_Backspace, "t", true},
        {Qt::Key_Backspace, "", true}, {Qt::Key_Backspace, "", false}};
    for (const auto& [key, text, enabled] : keys) {
        QTest::keyClick(reference, key);
        EXPECT_EQ(reference->text(), text);
        EXPECT_EQ(create->isEnabled(), enabled) << reference->text().toStdString();
    }
    create->click();
    EXPECT_EQ(runs, 0);
}

// The "&Ping !" button, and Enter in the address box, run the network test of the panel (the echo is
// replaced: loopback only) and fill its four captions; a blank address sends nothing.
TEST_F(WindowButtons, PingRunsTheTestAndFillsTheCaptions) {
    std::vector<std::string> sentTo;
    int status = 0;
    w.Ping()->SetEchoService([&](const std::string& dotted, platform::EchoReply& reply, std::string&) {
        sentTo.push_back(dotted);
        reply.Status = status;
        reply.RoundTripTime = status == 0 ? 3 : 0;
        reply.DataSize = status == 0 ? 9 : 0;
        return std::int64_t{status == 0 ? 3 : -status};
    });
    w.SetCommandAction(0, [] { ADD_FAILURE() << "Enter in the address box applied the window"; });
    const auto captions = [this] {
        const std::array<QString, 4> c = w.Ping()->Captions();
        return QStringList(c.begin(), c.end()).join('|').toStdString();
    };
    auto* address = f.Find<QLineEdit>("txtPing");
    address->setText("127.0.0.1");
    f.Find<QPushButton>("cmdExit_4")->click();
    EXPECT_EQ(captions(), "Adresse IP : 127.0.0.1|Statut : 0   [ ip success ]|Temps d'attente : 3 ms|"
                          "Octets envoyés : 9");
    EXPECT_EQ(f.Find<QLabel>("lblPing_3")->text(), "Octets envoyés : 9");
    status = 11010; // a silent machine
    address->setText(" 127.0.0.1 ");
    QTest::keyClick(address, Qt::Key_Return);
    EXPECT_EQ(captions(),
              "Adresse IP : 127.0.0.1|Statut : 11010   [ ip req timed out ]|Temps d'attente : 0 ms|"
              "Octets envoyés : 0");
    address->setText("   ");
    QTest::keyClick(address, Qt::Key_Return);
    EXPECT_EQ(sentTo, (std::vector<std::string>{"127.0.0.1", "127.0.0.1"}));
    EXPECT_EQ(captions(), "Adresse IP : |Statut : 11018   [ ip bad destination ]|Temps d'attente : 0 ms|"
                          "Octets envoyés : 0");
}

// Alt and the underlined letter press a button of the panel in front (the button goes down at
// once; its click follows when the button comes back up).
TEST_F(WindowButtons, MnemonicsPressTheirButtons) {
    w.ShowPanel("3.3");
    w.show();
    w.activateWindow();
    QCoreApplication::processEvents(); // the activation arrives as an event
    ASSERT_EQ(QGuiApplication::focusWindow(), w.windowHandle());
    auto* ping = f.Find<QPushButton>("cmdExit_4");
    EXPECT_FALSE(ping->isDown());
    QTest::keyClick(&w, Qt::Key_P, Qt::AltModifier);
    EXPECT_TRUE(ping->isDown());
}

#ifndef _WIN32
// Each test button reads the port number of its own box: COM 1 is a pseudo-terminal of this test
// (KIRVA_SERIAL_PORTS), COM 2 does not exist. Whether a held port counts as busy is the platform's.
TEST(WindowSerialTest, TellsWhetherThePortIsFree) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const test::ScopedEnv ports("KIRVA_SERIAL_PORTS", std::string(::ptsname(master)));
    WindowFixture f;
    f.Open();
    f.Find<QComboBox>("cboDnc_20")->setEditText("COM1");
    f.Find<QComboBox>("cboDnc_220")->setEditText("2");
    f.Find<QPushButton>("cmdParcourir_3")->click();
    f.Find<QPushButton>("cmdParcourir_5")->click();
    ::close(master);
    ASSERT_EQ(f.messages.entries.size(), 2u);
    EXPECT_EQ(f.messages.entries[0].text, "Le port COM 1 existe et n'est occupé par aucune application !");
    EXPECT_EQ(f.messages.entries[1].text, "Le port COM 2 est occupé par une application ou n'existe pas !");
}
#endif

using WindowFocus = test::OpenWindow<>;

// The keyboard focus entering a field selects its text and lights it; leaving restores the colour
// and the selection.
TEST_F(WindowFocus, HighlightsTheFieldBeingEdited) {
    w.show();
    for (const char* name : {"TxtTelvar_1", "TxtDnc_25", "txtIso_124", "cboDnc_24", "cboDnc_23", "txtPlan_0",
                             "txtCanaux_1", "TxtChain"}) {
        SCOPED_TRACE(name);
        auto* field = f.Find<QWidget>(name);
        ASSERT_NE(field, nullptr);
        QLineEdit* text = f.Line(name);
        if (text != nullptr) text->setText("12345");
        const QColor before = field->palette().color(QPalette::Base);
        w.SetFocusOnPanOfInfo(field);
        test::SendFocus(field, QEvent::FocusIn);
        EXPECT_EQ(field->palette().color(QPalette::Base), HighlightColour());
        EXPECT_TRUE(text == nullptr || text->selectedText() == "12345");
        test::SendFocus(field, QEvent::FocusOut);
        EXPECT_EQ(field->palette().color(QPalette::Base), before);
        EXPECT_TRUE(text == nullptr || !text->hasSelectedText());
    }
}

// Each command, cmdExit_0 to cmdExit_13 then CmdService_1 to CmdService_5, stands on its panel ("" for
// the window's own button bar) with its caption.
TEST_F(WindowButtons, StandOnTheirPanels) {
    const QStringList captions =
        QString(
            "&Modifier|&Annuler|&Créer...|&Créer...|&Ping !|Paramètres standards|Paramètres standards|&Ok|"
            "&Créer...|&Charger...|&Exporter...|&Executer|&Stopper|&Créer...|Installer le service|"
            "Etat du service|Désinstaller le service|Démarrer le service|Arrêter le service")
            .split('|');
    const QStringList panels = QString("||1|1.2|3.3|3|2.2|2.4|1.2|1|1|1|1|1.2|5|5|5|5|5").split('|');
    ASSERT_TRUE(captions.size() == 19 && panels.size() == 19);
    for (int i = 0; i < captions.size(); ++i) {
        const std::string name =
            i < 14 ? "cmdExit_" + std::to_string(i) : "CmdService_" + std::to_string(i - 13);
        SCOPED_TRACE(name);
        auto* button = f.Find<QPushButton>(name.c_str());
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->text(), captions[i]);
        // Every command works; the server folder's waits for a reference (none in this window).
        EXPECT_EQ(button->isEnabled(), name != "cmdExit_2");
        w.ShowPanel("7");
        w.SetFocusOnPanOfInfo(button);
        EXPECT_EQ(w.CurrentPanel(), panels[i].isEmpty() ? "7" : panels[i]);
    }
    // The machine file's commands stand in their own frame.
    auto* frame = qobject_cast<QGroupBox*>(f.Find<QPushButton>("cmdExit_9")->parentWidget()->parentWidget());
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->title(), "Paramètres du Telvareur :");
}

TEST_F(WindowScreenshots, RenderEveryPanelToItsNumber) {
    w.resize(1280, 800);
    w.show();
    const QString folder = QString::fromStdString(f.dir / "images");
    QString error;
    ASSERT_TRUE(w.SaveScreenshots(folder, &error)) << error.toStdString();
    for (const TreeNodeDef& node : TreeNodes()) {
        const QImage image(folder + "/" + QString::fromUtf8(node.Panel) + ".png");
        EXPECT_EQ(image.size(), QSize(1280, 800)) << node.Panel;
    }
}

} // namespace
} // namespace kirva
