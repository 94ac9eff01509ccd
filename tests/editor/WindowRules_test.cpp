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
using WindowArrays = test::OpenWindow<>;
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

// The "&Ping !" button runs the network test of the panel (echo replaced: loopback only).
TEST_F(WindowButtons, PingButtonRunsTheTest) {
    int echoes = 0;
    w.Ping()->SetEchoService([&echoes](const std::string& dotted, platform::EchoReply& reply, std::string&) {
        ++echoes;
        EXPECT_EQ(dotted, "127.0.0.1");
        reply.Status = 0;
        reply.RoundTripTime = 3;
        reply.DataSize = 9;
        return std::int64_t{3};
    });
    f.Find<QLineEdit>("txtPing")->setText("127.0.0.1");
    f.Find<QPushButton>("cmdExit_4")->click();
    EXPECT_EQ(echoes, 1);
    EXPECT_EQ(f.Find<QLabel>("lblPing_3")->text(), "Octets envoyés : 9");
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

// The controls of the arrays, in the order the apply step visits them.
TEST_F(WindowArrays, ListTheirMembersInOrder) {
    const std::vector<QWidget*> controls = w.ArrayControls({"TxtTelvar", "txtIso"});
    ASSERT_GE(controls.size(), 4u);
    EXPECT_EQ(controls.front()->objectName(), "TxtTelvar_1");
    const auto bitmap = std::find_if(controls.begin(), controls.end(),
                                     [](QWidget* c) { return c->objectName() == "TxtTelvar_55"; });
    ASSERT_NE(bitmap, controls.end());
    EXPECT_EQ((*std::next(bitmap))->objectName(), "TxtTelvar_56");
    EXPECT_EQ(controls.back()->objectName(), "txtIso_130");
}

#ifndef _WIN32
// Each test button reads the port of its own box: COM 1 is a pseudo-terminal of this test
// (KIRVA_SERIAL_PORTS), COM 2 does not exist. Whether a held port counts as busy is the platform's.
TEST(WindowSerialTest, TellsWhetherThePortIsFree) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const test::ScopedEnv ports("KIRVA_SERIAL_PORTS", std::string(::ptsname(master)));
    WindowFixture f;
    f.Open();
    f.Find<QComboBox>("cboDnc_20")->setEditText("1");
    f.Find<QComboBox>("cboDnc_220")->setEditText("2");
    f.Find<QPushButton>("cmdParcourir_3")->click();
    f.Find<QPushButton>("cmdParcourir_5")->click();
    ::close(master);
    ASSERT_EQ(f.messages.entries.size(), 2u);
    EXPECT_EQ(f.messages.entries[0].text, "Le port COM 1 existe et n'est occupé par aucune application !");
    EXPECT_EQ(f.messages.entries[1].text, "Le port COM 2 est occupé par une application ou n'existe pas !");
}
#endif

TEST(WindowSerialTest, ReadsThePortNumberFromItsText) {
    EXPECT_EQ(PortNumberOf("3"), 3);
    EXPECT_EQ(PortNumberOf("COM12"), 12);
    EXPECT_EQ(PortNumberOf(""), 0);
    EXPECT_EQ(PortNumberOf("aucun"), 0);
}

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
        if (text != nullptr) {
            EXPECT_EQ(text->selectedText(), "12345");
        }
        test::SendFocus(field, QEvent::FocusOut);
        EXPECT_EQ(field->palette().color(QPalette::Base), before);
        if (text != nullptr) {
            EXPECT_FALSE(text->hasSelectedText());
        }
    }
}

// Each command stands on its panel ("" for the window's own button bar) with its caption.
TEST_F(WindowButtons, StandOnTheirPanels) {
    struct Case {
        const char *name, *caption, *panel;
    };
    const Case cases[] = {{"cmdExit_0", "&Modifier", ""},
                          {"cmdExit_1", "&Annuler", ""},
                          {"cmdExit_2", "&Créer...", "1"},
                          {"cmdExit_3", "&Créer...", "1.2"},
                          {"cmdExit_4", "&Ping !", "3.3"},
                          {"cmdExit_5", "Paramètres standards", "3"},
                          {"cmdExit_6", "Paramètres standards", "2.2"},
                          {"cmdExit_7", "&Ok", "2.4"},
                          {"cmdExit_8", "&Créer...", "1.2"},
                          {"cmdExit_9", "&Charger...", "1"},
                          {"cmdExit_10", "&Exporter...", "1"},
                          {"cmdExit_11", "&Executer", "1"},
                          {"cmdExit_12", "&Stopper", "1"},
                          {"cmdExit_13", "&Créer...", "1.2"},
                          {"CmdService_1", "Installer le service", "5"},
                          {"CmdService_2", "Etat du service", "5"},
                          {"CmdService_3", "Désinstaller le service", "5"},
                          {"CmdService_4", "Démarrer le service", "5"},
                          {"CmdService_5", "Arrêter le service", "5"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto* button = f.Find<QPushButton>(c.name);
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->text(), QString::fromUtf8(c.caption));
        // Every command works; the server folder's waits for a reference (none in this window).
        EXPECT_EQ(button->isEnabled(), std::string_view(c.name) != "cmdExit_2");
        w.ShowPanel("7");
        w.SetFocusOnPanOfInfo(button);
        EXPECT_EQ(w.CurrentPanel(), *c.panel != '\0' ? c.panel : "7");
    }
}

TEST_F(WindowButtons, TelvarFrameHoldsTheTelvarCommands) {
    auto* frame = qobject_cast<QGroupBox*>(f.Find<QPushButton>("cmdExit_9")->parentWidget()->parentWidget());
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->title(), "Paramètres du Telvareur :");
}

TEST(WindowCatalogue, ShowsTheGroupOfTheMachineModel) {
    WindowFixture f;
    MachineConfig machine;
    machine.CodeCN = 51;
    f.Open(machine);
    EXPECT_EQ(f.Find<QComboBox>("cboIso_2")->currentText(), "Fraiseuses");
    EXPECT_EQ(f.Find<QComboBox>("cboIso_3")->currentText(), "FR-1");
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
