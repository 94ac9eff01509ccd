// Field rules of the window: browse buttons, key rules, the serial-port test, the highlight of the
// field being edited, the command buttons, the catalogue presets and the panel pictures.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <cstdlib>
#include <optional>

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

namespace kirva {
namespace {

using test::FakeDialogs;
using test::WindowFixture;
using WindowButtons = test::OpenWindow<>;
using WindowArrays = test::OpenWindow<>;
using WindowCataloguePresets = test::OpenWindow<>;
using WindowScreenshots = test::OpenWindow<>;

QString Name(const char* array, int member) {
    return QString::fromStdString(ControlName(array, member));
}

// Every browse button: confirming puts the path in its field, cancelling changes nothing.
TEST(WindowBrowse, EveryButtonFillsItsFieldOrLeavesItOnCancel) {
    WindowFixture f;
    MachineConfig machine;
    machine.MachineDir = f.dir / "M1/";
    frmKirva& w = f.Open(machine);
    FakeDialogs dialogs;
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

TEST(WindowBrowse, IsoConfigurationStartsInTheMachineFolderAndReloadsTheInsertions) {
    WindowFixture f;
    MachineConfig machine;
    machine.MachineDir = f.dir / "M1/";
    frmKirva& w = f.Open(machine);
    const std::string iso = f.dir / "Autre.ini";
    test::WriteBytes(iso,
                     "[INSERT]\r\nOrigine=iso:G90<R>M30|bmp:|Rac:1113|\r\n-\r\nFin=iso:M30|bmp:|Rac:|\r\n");
    FakeDialogs dialogs;
    dialogs.answer = QString::fromStdString(iso);
    w.findChild<QPushButton*>("cmdParcourir_12")->click();
    EXPECT_EQ(dialogs.starts.back(), QString::fromStdString(machine.MachineDir));
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
    QTest::keyClick(reference, Qt::Key_T);
    EXPECT_EQ(reference->text(), "t");
    EXPECT_FALSE(create->isEnabled());
    // Keys that type nothing (a modifier, an arrow) do not count.
    QTest::keyClick(reference, Qt::Key_Shift);
    QTest::keyClick(reference, Qt::Key_Left);
    EXPECT_FALSE(create->isEnabled());
    QTest::keyClick(reference, Qt::Key_End);
    QTest::keyClick(reference, Qt::Key_1);
    EXPECT_TRUE(create->isEnabled());
    QTest::keyClick(reference, Qt::Key_Backspace);
    QTest::keyClick(reference, Qt::Key_Backspace);
    EXPECT_EQ(reference->text(), "");
    EXPECT_TRUE(create->isEnabled());
    QTest::keyClick(reference, Qt::Key_Backspace);
    EXPECT_FALSE(create->isEnabled());
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
    const std::string slave = ::ptsname(master);
    const char* before = std::getenv("KIRVA_SERIAL_PORTS");
    const std::string saved = before ? before : "";
    ::setenv("KIRVA_SERIAL_PORTS", slave.c_str(), 1);

    WindowFixture f;
    f.Open();
    f.Find<QComboBox>("cboDnc_20")->setEditText("1");
    f.Find<QComboBox>("cboDnc_220")->setEditText("2");
    f.Find<QPushButton>("cmdParcourir_3")->click();
    f.Find<QPushButton>("cmdParcourir_5")->click();
    ::close(master);
    if (before)
        ::setenv("KIRVA_SERIAL_PORTS", saved.c_str(), 1);
    else
        ::unsetenv("KIRVA_SERIAL_PORTS");

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
        QLineEdit* text = qobject_cast<QLineEdit*>(field);
        if (auto* box = qobject_cast<QComboBox*>(field)) text = box->lineEdit();
        if (text != nullptr) text->setText("12345");
        const QColor before = field->palette().color(QPalette::Base);
        w.SetFocusOnPanOfInfo(field);
        QFocusEvent in(QEvent::FocusIn, Qt::TabFocusReason);
        QApplication::sendEvent(field, &in);
        EXPECT_EQ(field->palette().color(QPalette::Base), HighlightColour());
        if (text != nullptr) {
            EXPECT_EQ(text->selectedText(), "12345");
        }
        QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(field, &out);
        EXPECT_EQ(field->palette().color(QPalette::Base), before);
        if (text != nullptr) {
            EXPECT_FALSE(text->hasSelectedText());
        }
    }
}

struct CommandCase {
    const char* name;
    const char* caption;
    const char* panel; // "" for the window's own button bar
};

class WindowCommands : public test::OpenWindow<::testing::TestWithParam<CommandCase>> {};

// Each command stands on its panel with its caption; only the network test has its action yet.
TEST_P(WindowCommands, StandOnTheirPanels) {
    const CommandCase& c = GetParam();
    auto* button = f.Find<QPushButton>(c.name);
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->text(), QString::fromUtf8(c.caption));
    // Every command works; the server folder's waits for a reference (none in this window).
    EXPECT_EQ(button->isEnabled(), std::string_view(c.name) != "cmdExit_2");
    w.ShowPanel("7");
    w.SetFocusOnPanOfInfo(button);
    EXPECT_EQ(w.CurrentPanel(), *c.panel != '\0' ? c.panel : "7");
}

INSTANTIATE_TEST_SUITE_P(
    AllMembers, WindowCommands,
    ::testing::Values(
        CommandCase{"cmdExit_0", "&Modifier", ""}, CommandCase{"cmdExit_1", "&Annuler", ""},
        CommandCase{"cmdExit_2", "&Créer...", "1"}, CommandCase{"cmdExit_3", "&Créer...", "1.2"},
        CommandCase{"cmdExit_4", "&Ping !", "3.3"}, CommandCase{"cmdExit_5", "Paramètres standards", "3"},
        CommandCase{"cmdExit_6", "Paramètres standards", "2.2"}, CommandCase{"cmdExit_7", "&Ok", "2.4"},
        CommandCase{"cmdExit_8", "&Créer...", "1.2"}, CommandCase{"cmdExit_9", "&Charger...", "1"},
        CommandCase{"cmdExit_10", "&Exporter...", "1"}, CommandCase{"cmdExit_11", "&Executer", "1"},
        CommandCase{"cmdExit_12", "&Stopper", "1"}, CommandCase{"cmdExit_13", "&Créer...", "1.2"},
        CommandCase{"CmdService_1", "Installer le service", "5"},
        CommandCase{"CmdService_2", "Etat du service", "5"},
        CommandCase{"CmdService_3", "Désinstaller le service", "5"},
        CommandCase{"CmdService_4", "Démarrer le service", "5"},
        CommandCase{"CmdService_5", "Arrêter le service", "5"}));

using WindowTelvarFrame = test::OpenWindow<>;

TEST_F(WindowTelvarFrame, HoldsTheTelvarCommands) {
    auto* frame = qobject_cast<QGroupBox*>(f.Find<QPushButton>("cmdExit_9")->parentWidget()->parentWidget());
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->title(), "Paramètres du Telvareur :");
}

// Picking a group fills its models and presets the syntax: the group's keys (an absent one empties
// its field) and the program's own standard codes.
TEST_F(WindowCataloguePresets, GroupChoicePresetsTheSyntax) {
    f.Find<QLineEdit>("txtIso_4")->setText("(");
    f.Find<QLineEdit>("txtIso_20")->setText("G0");
    auto* groups = f.Find<QComboBox>("cboIso_2");
    ASSERT_EQ(groups->itemData(0).toInt(), 3);
    groups->setCurrentIndex(0);
    emit groups->activated(0);
    EXPECT_EQ(f.Find<QComboBox>("cboIso_3")->itemText(1), "TC-200");
    EXPECT_EQ(f.Find<QLineEdit>("txtIso_1")->text(), "%");
    EXPECT_EQ(f.Find<QLineEdit>("txtIso_4")->text(), "");
    EXPECT_EQ(f.Find<QLineEdit>("txtIso_20")->text(), "G90");
    EXPECT_EQ(f.Find<QLineEdit>("txtIso_21")->text(), "G91");
    EXPECT_TRUE(f.Find<QCheckBox>("chkIso_0")->isChecked());
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
