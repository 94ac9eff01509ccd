// The window stores exactly what it shows: number fields, the start condition's companion boxes,
// lists that a stray wheel turn leaves alone, the catalogue presets the user is told about, the
// keyboard, the first size and the language of Qt's own texts.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTest>
#include <QTextEdit>
#include <QTranslator>
#include <QWheelEvent>
#include <QtTest/qtestspontaneevent.h>

#include "WindowFixture.h"
#include "editor/FieldInput.h"
#include "editor/WindowFrame.h"

namespace kirva {
namespace {

using test::SendFocus;
using test::TempDir;
using test::WindowFixture;
using test::WriteBytes;

// A machine with a value in each number field the tests type into.
MachineConfig NumberedMachine() {
    MachineConfig m;
    m.RefMO = "TOUR1";
    m.TempoBloc = 4;
    m.PortListen = 8000;
    m.NumPort = 2;
    m.NumBloc1 = 10;
    return m;
}

struct Opened : WindowFixture {
    frmKirva& w;
    explicit Opened(const MachineConfig& machine = NumberedMachine(), int appCalling = 2)
        : WindowFixture(1, appCalling), w(Open(machine)) {}
};

// Pasting text over the whole field, as the user's Ctrl+V over a selection would.
void Paste(QLineEdit* line, const QString& text) {
    line->selectAll();
    line->insert(text);
}

// Types text key by key; a character that has no key of its own is pasted.
void TypeOrPaste(QLineEdit* line, const QString& text) {
    for (const QChar c : text) {
        if (c.unicode() < 0x80)
            QTest::keyClicks(line, QString(c));
        else
            line->insert(QString(c));
    }
}

// Each case pastes or types into a field shown with the machine above, leaves the field, and
// checks what the field shows and what the record takes from it.
TEST(WindowNumberFields, ShowWhatTheRecordKeeps) {
    struct Case {
        const char *Field, *Input;
        bool Typed; // key by key instead of pasted
        const char* Shown;
        double Stored;
    };
    const Case cases[] = {
        {"TxtDnc_35", "0,5", false, "0.5", 0.5}, // the decimal comma is the decimal point
        {"TxtDnc_35", "0,5", true, "0.5", 0.5},  // typed too
        {"TxtDnc_35", "1e400", false, "4", 4},   // no exponent: refused, the value stays
        {"TxtDnc_35", "1e3", true, "13", 13},    // the "e" key does nothing
        {"TxtDnc_35", "2.250", false, "2.25", 2.25},
        {"TxtDnc_35", "-1,5", false, "-1.5", -1.5},
        {"TxtDnc_35", "1234567890.1234567", false, "4", 4}, // more digits than the file keeps
        {"TxtDnc_35", "5.", true, "5", 5},
        {"TxtTelvar_6", "9999999999", false, "8000", 8000}, // beyond 32 bits: refused
        {"TxtTelvar_6", "70000", false, "70000", 70000},    // a 32-bit key takes it
        {"TxtTelvar_6", " 21", false, "8000", 8000},        // a blank is no digit
        {"TxtTelvar_6", "007", true, "7", 7},
        {"TxtTelvar_6", "-", true, "8000", 8000},   // not a number when left: the value comes back
        {"cboDnc_20", "99999", false, "2", 2},      // "Port COM :" holds 16 bits
        {"cboDnc_20", "99999", true, "9999", 9999}, // the fifth 9 is refused as it is typed
        {"txtIso_6", "1.5", true, "15", 15},        // an integer takes no decimal point
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.Field) + " <- " + c.Input + (c.Typed ? " typed" : " pasted"));
        Opened o;
        QLineEdit* line = o.Line(c.Field);
        ASSERT_NE(line, nullptr);
        QWidget* field = o.Find<QWidget>(c.Field);
        SendFocus(field, QEvent::FocusIn);
        if (c.Typed) {
            line->selectAll();
            QTest::keyClicks(line, QString::fromUtf8(c.Input));
        } else {
            Paste(line, QString::fromUtf8(c.Input));
        }
        SendFocus(field, QEvent::FocusOut);
        EXPECT_EQ(line->text(), QString::fromUtf8(c.Shown));
        const MachineConfig m = o.Taken();
        const std::string_view name = c.Field;
        const double stored = name == "TxtDnc_35"     ? m.TempoBloc
                              : name == "TxtTelvar_6" ? m.PortListen
                              : name == "cboDnc_20"   ? m.NumPort
                                                      : m.NumBloc1;
        EXPECT_EQ(stored, c.Stored);
    }
}

TEST(WindowStartCondition, CompanionsHoldOnlyWhatReadsBackAsTheSameCondition) {
    struct Case {
        int Condition; // index in the start-condition list
        const char *Character, *Wait, *ShownCharacter, *ShownWait, *Code;
    };
    const Case cases[] = {
        {0, "", "", "", "", ""},      // "Rien" as shown: neither box takes input, nothing to take
        {1, "RTS", "", "R", "", "R"}, // one character: "RTS" cannot become "Montée RTS"
        {1, " ", "", "", "", "QCQ"},  // a blank is refused (the file would trim it away)
        {1, "\xc2\xa4", "", "\xc2\xa4", "", "\xc2\xa4"}, // a code page 1252 character
        {1, "\xce\xa9", "", "", "", "QCQ"},              // Omega: the file's code page cannot hold it
        {4, "A", "5s", "A", "5", "A-5"},                 // the waiting time is a number
        {4, "-", "12", "-", "12", "--12"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.Character) + " / " + c.Wait);
        Opened o;
        auto* condition = o.Find<QComboBox>("cboDnc_31");
        condition->setCurrentIndex(c.Condition);
        QLineEdit* character = o.Line("TxtDnc_37");
        QLineEdit* wait = o.Line("TxtDnc_65");
        EXPECT_EQ(character->isEnabled(), c.Condition != 0); // "Caractère" and "Attente" use it
        EXPECT_EQ(wait->isEnabled(), c.Condition == 4);      // only "Attente" waits
        if (character->isEnabled()) TypeOrPaste(character, QString::fromUtf8(c.Character));
        if (wait->isEnabled()) TypeOrPaste(wait, QString::fromUtf8(c.Wait));
        EXPECT_EQ(character->text(), QString::fromUtf8(c.ShownCharacter));
        EXPECT_EQ(wait->text(), QString::fromUtf8(c.ShownWait));
        MachineConfig m = o.Taken();
        EXPECT_EQ(m.CheckModeRecep, c.Code);
        // Shown again, the machine reads back as the condition it was given.
        o.w.ShowMachine(m, RemonteState());
        EXPECT_TRUE(std::string_view(c.Code) == "QCQ" || condition->currentIndex() == c.Condition);
        EXPECT_EQ(character->text(), QString::fromUtf8(c.ShownCharacter));
    }
}

// A wheel turn as the system delivers it (spontaneous): over an unfocused list nothing changes,
// and the list does not take the focus from it either.
bool TurnWheel(QWidget* over) {
    const QPointF centre(over->width() / 2.0, over->height() / 2.0);
    QWheelEvent wheel(centre, over->mapToGlobal(centre), QPoint(), QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&wheel);
    return QApplication::instance()->notify(over, &wheel);
}

TEST(WindowWheel, NoListChangesUnderAWheelTurnWithoutTheFocus) {
    Opened o;
    o.Show();
    auto* hand = o.Line("txtIso_1");
    hand->setText("hand-made");
    int lists = 0;
    for (QComboBox* box : o.w.findChildren<QComboBox*>()) {
        if (box->count() < 2) continue;
        ++lists;
        o.w.ShowPanel(QStringLiteral("1"));
        box->setCurrentIndex(0);
        TurnWheel(box);
        EXPECT_EQ(box->currentIndex(), 0) << box->objectName().toStdString();
        EXPECT_FALSE(box->hasFocus()) << box->objectName().toStdString();
    }
    EXPECT_GT(lists, 20);
    // Not even the catalogue's group list re-presets the syntax.
    EXPECT_EQ(hand->text(), "hand-made");
    // A list that has the focus follows the wheel.
    auto* parity = o.Find<QComboBox>("cboDnc_23");
    o.w.ShowPanel(QStringLiteral("3.2"));
    parity->setFocus();
    ASSERT_TRUE(parity->hasFocus());
    TurnWheel(parity);
    EXPECT_EQ(parity->currentIndex(), 1);
}

// Picking a group fills its models and presets the syntax: the group's keys (an absent one empties
// its field) and the program's own standard codes; the user is told what changed.
TEST(WindowCatalogue, GroupPresetTellsAndMarksTheFieldsItChanged) {
    Opened o;
    WriteBytes(o.dir / "Data/INFOCN/MO_TC-100.RTF", "Tour a deux axes");
    auto* groups = o.Find<QComboBox>("cboIso_2");
    auto* models = o.Find<QComboBox>("cboIso_3");
    auto* info = o.Find<QTextEdit>("rtbInfoMOCN");
    o.Line("txtIso_4")->setText("(");
    o.Line("txtIso_20")->setText("G0");
    ASSERT_EQ(groups->itemData(0).toInt(), 3);
    test::Choose(groups, 0);
    EXPECT_EQ(models->itemText(1), "TC-200");
    EXPECT_EQ(o.Line("txtIso_1")->text(), "%");
    EXPECT_EQ(o.Line("txtIso_4")->text(), "");
    EXPECT_EQ(o.Line("txtIso_20")->text(), "G90");
    EXPECT_EQ(o.Line("txtIso_21")->text(), "G91");
    EXPECT_TRUE(o.Find<QCheckBox>("chkIso_0")->isChecked());
    test::Choose(models, 0);
    ASSERT_EQ(info->toPlainText(), "Tour a deux axes");

    o.Line("txtIso_20")->setText("G0"); // by hand; group 5 gives ":" and "G90" back
    test::Choose(groups, 1);
    // No model is chosen: no model's information stays on screen.
    EXPECT_EQ(models->currentIndex(), -1);
    EXPECT_EQ(info->toPlainText(), "");
    const QString status = o.w.statusBar()->currentMessage();
    EXPECT_TRUE(status.contains("Fraiseuses")) << status.toStdString();
    EXPECT_TRUE(status.contains("Caractère de début de programme")) << status.toStdString();
    EXPECT_TRUE(status.contains("Code absolu")) << status.toStdString();
    EXPECT_FALSE(status.contains("Type de bloc")) << status.toStdString(); // empty before, empty after

    auto* label = o.Find<QLabel>("lbl_txtIso_1");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->palette().color(QPalette::WindowText), PresetMarkColour());
    QTest::keyClicks(o.Line("txtIso_1"), "#");
    EXPECT_NE(label->palette().color(QPalette::WindowText), PresetMarkColour());
    EXPECT_EQ(o.Find<QLabel>("lbl_txtIso_20")->palette().color(QPalette::WindowText), PresetMarkColour());
}

TEST(WindowCatalogue, ANumberTheFieldCannotHoldIsNotPresetAsIfItWere) {
    WindowFixture f;
    WriteBytes(f.state.InfoCNPath, "[CN_GROUP]\r\nListeCodeGroup=7\r\n[GROUP_7]\r\nName=Vieux\r\n"
                                   "NumBloc1=99999\r\nIncrBloc=0010\r\n");
    frmKirva& w = f.Open(NumberedMachine());
    test::Choose(f.Find<QComboBox>("cboIso_2"), 0);
    EXPECT_EQ(f.Find<QLineEdit>("txtIso_6")->text(), "");
    EXPECT_EQ(f.Find<QLineEdit>("txtIso_7")->text(), "10");
    EXPECT_TRUE(w.statusBar()->currentMessage().contains("99999"));
}

TEST(WindowKeyboard, EnterAppliesAndEscapeCancels) {
    struct Case {
        const char* Focus;
        Qt::Key Key;
        int Applied, Cancelled;
    };
    const Case cases[] = {
        {"TxtTelvar_3", Qt::Key_Return, 1, 0},
        {"TxtDnc_35", Qt::Key_Enter, 1, 0},
        {"cboDnc_24", Qt::Key_Return, 1, 0},   // an editable list
        {"rtbInfoMOCN", Qt::Key_Return, 0, 0}, // a multi-line box keeps its Enter
        {"TvwCat", Qt::Key_Return, 1, 0},
        {"cmdExit_1", Qt::Key_Return, 0, 1}, // Enter on another button presses that button
        {"TxtTelvar_3", Qt::Key_Escape, 0, 1},
        {"cboDnc_23", Qt::Key_Escape, 0, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Focus);
        Opened o;
        int applied = 0, cancelled = 0;
        o.w.SetCommandAction(0, [&] { ++applied; });
        o.w.SetCommandAction(1, [&] { ++cancelled; });
        o.Show();
        QWidget* target = o.Find<QWidget>(c.Focus);
        o.w.SetFocusOnPanOfInfo(target);
        target->setFocus();
        ASSERT_NE(QApplication::focusWidget(), nullptr);
        QTest::keyClick(QApplication::focusWidget(), c.Key);
        EXPECT_EQ(applied, c.Applied);
        EXPECT_EQ(cancelled, c.Cancelled);
    }
}

// Enter settles the field being edited before the apply takes the fields.
TEST(WindowKeyboard, EnterTakesTheFieldAsLeavingItWould) {
    Opened o;
    std::int32_t portAtApply = -1;
    o.w.SetCommandAction(0, [&] { portAtApply = o.Taken().PortListen; });
    o.w.ShowPanel(QStringLiteral("1"));
    o.Show();
    QLineEdit* port = o.Line("TxtTelvar_6");
    port->setFocus();
    Paste(port, "-");
    QTest::keyClick(port, Qt::Key_Return);
    EXPECT_EQ(port->text(), "8000");
    EXPECT_EQ(portAtApply, 8000);
    const QString status = o.w.statusBar()->currentMessage();
    EXPECT_TRUE(status.contains("Port d'écoute") && status.contains("8000")) << status.toStdString();
}

// The offscreen screen is smaller than the size the panels are drawn for.
TEST(WindowSize, FirstSizeStaysInsideTheScreen) {
    // The size drawn for when it fits; else the screen less the frame (1024x768 less a 40-pixel task
    // bar), never below the minimum.
    EXPECT_EQ(BoundedWindowSize({1180, 740}, {0, 0, 1920, 1040}, {16, 48}, {480, 360}), QSize(1180, 740));
    EXPECT_EQ(BoundedWindowSize({1180, 740}, {0, 0, 1024, 728}, {16, 48}, {480, 360}), QSize(1008, 680));
    EXPECT_EQ(BoundedWindowSize({1180, 740}, {0, 0, 400, 300}, {16, 48}, {480, 360}), QSize(480, 360));
    Opened o;
    const QRect available = o.w.screen()->availableGeometry();
    ASSERT_LT(available.width(), 1180);
    EXPECT_LE(o.w.width(), available.width());
    EXPECT_LE(o.w.height(), available.height());
}

TEST(QtTranslations, FollowTheDictionaryLanguage) {
    EXPECT_EQ(DictionaryLanguage(""), "fr");
    EXPECT_EQ(DictionaryLanguage("C:\\talm\\exe\\Lng\\EN.lng"), "en");

    for (const auto& [dictionary, cancel] : {std::pair{"FR.lng", "Annuler"}, std::pair{"EN.lng", "Cancel"}}) {
        TempDir dir;
        const std::string path = dir / (std::string("Lng/") + dictionary);
        WriteBytes(path, "[KIRVA]\r\n");
        TK_TRANSLATE::Shared().Init(path);
        const std::unique_ptr<QTranslator> translations =
            InstallQtTranslations(TK_TRANSLATE::Shared().PathDico());
        TK_TRANSLATE::Shared().Init("");
        // Qt ships French texts; its English texts are its own (the English file holds none).
        ASSERT_TRUE(std::string_view(dictionary) != "FR.lng" || translations != nullptr);
        QDialogButtonBox buttons(QDialogButtonBox::Cancel);
        EXPECT_EQ(buttons.button(QDialogButtonBox::Cancel)->text().remove('&'), cancel);
    }
}

} // namespace
} // namespace kirva
