// The list panels of the window: ISO insertions, reference plans, channels and the
// activity-analysis channels, driven through their widgets found by object name.
#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QToolButton>

#include "editor/ActivityChannelsPanel.h"
#include "editor/ChannelsPanel.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PlansPanel.h"
#include "ini/profile.h"
#include "support/TestSupport.h"

namespace kirva {
namespace {

using test::ReadBytes;
using test::RecordingMessages;
using test::TempDir;
using test::WriteBytes;

template <typename W>
W* Find(QWidget* root, const char* name) {
    W* w = root->findChild<W*>(QString::fromUtf8(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
}

QStringList Rows(QListWidget* list) {
    QStringList rows;
    for (int i = 0; i < list->count(); ++i) rows << list->item(i)->text();
    return rows;
}

void Press(QWidget* root, const char* button) {
    QTest::mouseClick(Find<QAbstractButton>(root, button), Qt::LeftButton);
}

// The line fields <prefix>0 .. <prefix>count-1 of a panel.
std::vector<QLineEdit*> Fields(QWidget* root, const std::string& prefix, int count) {
    std::vector<QLineEdit*> fields;
    for (int i = 0; i < count; ++i)
        fields.push_back(Find<QLineEdit>(root, (prefix + std::to_string(i)).c_str()));
    return fields;
}

void ClickRow(QListWidget* list, int row) {
    const QRect rect = list->visualItemRect(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
}

class EditorListsTest : public ::testing::Test {
  protected:
    void SetUp() override { ini::ClearCache(); }
    void TearDown() override { ini::ClearCache(); }
    TempDir dir_;
    RecordingMessages messages_{MsgAnswer::No};
};

// ---------------------------------------------------------------- ISO insertions

class EditorListsIso : public EditorListsTest {
  protected:
    void SetUp() override {
        EditorListsTest::SetUp();
        panel_.SetInputService([this](QWidget*, const QString& prompt) -> std::optional<QString> {
            prompts_ << prompt;
            if (answers_.isEmpty()) return std::nullopt;
            return answers_.takeFirst();
        });
        panel_.resize(800, 500);
        panel_.show();
        lst_ = Find<QListWidget>(&panel_, "LstInsert");
        rtb_ = Find<QTextEdit>(&panel_, "RtbInsert");
        bmp_ = Find<QLineEdit>(&panel_, "TxtTelvar_55");
        rac_ = Find<QLineEdit>(&panel_, "TxtTelvar_56");
    }
    void Press(const char* name) { kirva::Press(&panel_, name); }
    void Add(const QString& name) {
        answers_ << name;
        Press("Cmd_2");
    }
    void ChooseShortcut(const QString& text) {
        auto* button = Find<QToolButton>(&panel_, "CmdRac");
        for (QAction* action : button->menu()->findChildren<QAction*>())
            if (action->text() == text) return action->trigger();
        ADD_FAILURE() << "no shortcut " << text.toStdString();
    }

    IsoInsertPanel panel_;
    QStringList answers_, prompts_;
    QListWidget* lst_ = nullptr;
    QTextEdit* rtb_ = nullptr;
    QLineEdit* bmp_ = nullptr;
    QLineEdit* rac_ = nullptr;
};

TEST_F(EditorListsIso, EditsAreStoredWhenAnotherInsertionIsSelected) {
    const std::string path = dir_ / "Iso.ini";
    panel_.Load(path);
    Add("  Origine ");
    EXPECT_EQ(prompts_, QStringList{QStringLiteral("Référence du cycle")});
    EXPECT_EQ(Rows(lst_), QStringList{"Origine"});
    EXPECT_EQ(lst_->currentRow(), 0);

    rtb_->setPlainText("G90\nM30");
    bmp_->setText("o.bmp");
    ChooseShortcut("Shift + F2");
    rac_->setFocus(); // the shortcut field takes no key press
    QTest::keyClicks(rac_, "xyz");
    QTest::keyClick(rac_, Qt::Key_Backspace);
    QTest::keyClick(rac_, Qt::Key_Delete);
    EXPECT_EQ(rac_->text(), "Shift + F2");
    Add("Fin");
    EXPECT_EQ(lst_->currentRow(), 1);
    EXPECT_EQ(rtb_->toPlainText(), "");
    ChooseShortcut("Ctrl + F12");
    ChooseShortcut(QStringLiteral("Aucun raccourci"));

    ClickRow(lst_, 0);
    EXPECT_EQ(rtb_->toPlainText(), "G90\nM30");
    EXPECT_EQ(bmp_->text(), "o.bmp");
    EXPECT_EQ(rac_->text(), "Shift + F2");

    rtb_->setPlainText("G91");
    Press("Cmd_3");
    EXPECT_EQ(panel_.List().GetIso("Origine"), "G91");
    ASSERT_TRUE(panel_.Save());
    EXPECT_EQ(ReadBytes(path), "[INSERT]\r\nOrigine=iso:G91|bmp:o.bmp|Rac:1113|\r\nFin=iso:|bmp:|Rac:|\r\n");
}

TEST_F(EditorListsIso, RenameDeleteAndMove) {
    WriteBytes(dir_ / "Iso.ini",
               "[INSERT]\r\nA=iso:a|bmp:|Rac:|\r\nB=iso:b|bmp:|Rac:|\r\nC=iso:c|bmp:|Rac:|\r\n");
    panel_.Load(dir_ / "Iso.ini");
    EXPECT_EQ(Rows(lst_), (QStringList{"A", "B", "C"}));
    EXPECT_EQ(lst_->currentRow(), -1);

    ClickRow(lst_, 1);
    answers_ << "B2";
    Press("Cmd_4");
    EXPECT_EQ(prompts_.last(), QStringLiteral("Nouvelle référence du cycle"));
    EXPECT_EQ(Rows(lst_), (QStringList{"A", "B2", "C"}));
    EXPECT_EQ(lst_->currentRow(), 1);
    EXPECT_EQ(rtb_->toPlainText(), "b");

    ClickRow(lst_, 0);
    Press("UpDownInsertUp"); // the first one up: nothing moves
    EXPECT_EQ(Rows(lst_), (QStringList{"A", "B2", "C"}));
    rtb_->setPlainText("a changed");
    Press("UpDownInsertDown");
    EXPECT_EQ(Rows(lst_), (QStringList{"B2", "A", "C"}));
    EXPECT_EQ(lst_->currentRow(), 1);
    EXPECT_EQ(rtb_->toPlainText(), "a changed"); // what was typed went with the move
    lst_->setFocus();
    QTest::keyClick(lst_, Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(Rows(lst_), (QStringList{"B2", "C", "A"}));
    Press("UpDownInsertDown"); // the last one down: nothing moves
    EXPECT_EQ(Rows(lst_), (QStringList{"B2", "C", "A"}));

    // The delete button removes the insertion at the selected position of the collection.
    ClickRow(lst_, 1);
    Press("Cmd_1");
    EXPECT_EQ(Rows(lst_), (QStringList{"C", "A"}));
    // Cancelled or blank answers add nothing and rename nothing.
    Press("Cmd_2");
    Add("   ");
    ClickRow(lst_, 0);
    Press("Cmd_4");
    answers_ << "   ";
    Press("Cmd_4");
    EXPECT_TRUE(answers_.isEmpty());
    EXPECT_EQ(Rows(lst_), (QStringList{"C", "A"}));
    ASSERT_TRUE(panel_.Save());
    EXPECT_EQ(ReadBytes(dir_ / "Iso.ini"),
              "[INSERT]\r\nC=iso:c|bmp:|Rac:|\r\nA=iso:a changed|bmp:|Rac:|\r\n");
}

// ---------------------------------------------------------------- plans and channels

TEST_F(EditorListsTest, PlansPanelAddsModifiesAndDeletes) {
    const std::string path = dir_ / "Telvar.ini";
    PlansPanel panel;
    panel.Load(path);
    auto* list = Find<QListWidget>(&panel, "LstPlans");
    const auto txt = Fields(&panel, "txtPlan_", 5);
    auto* chk = Find<QCheckBox>(&panel, "ChkPlan_0");

    txt[0]->setText("P");
    txt[1]->setText("");
    txt[3]->setText("1,5");
    Press(&panel, "CmdPlan_0");
    Press(&panel, "CmdPlan_0");
    EXPECT_EQ(Rows(list), (QStringList{"P", "P_1"}));
    EXPECT_EQ(txt[1]->text(), "X"); // the new plan is shown, defaults applied
    EXPECT_EQ(txt[3]->text(), "1");

    ClickRow(list, 0);
    txt[0]->setText("Q");
    txt[2]->setText("Z");
    txt[4]->setText("2.5");
    chk->setChecked(true);
    Press(&panel, "CmdPlan_1");
    EXPECT_EQ(Rows(list), (QStringList{"Q", "P_1"}));

    txt[0]->setText("P_1"); // renaming Q onto P_1 is refused
    Press(&panel, "CmdPlan_1");
    EXPECT_TRUE(messages_.Only("Le nom P_1 est déjà utilisé !", IconCritical));
    EXPECT_EQ(Rows(list), (QStringList{"Q", "P_1"}));

    Press(&panel, "CmdPlan_2");
    EXPECT_EQ(Rows(list), QStringList{"Q"});
    ASSERT_TRUE(panel.Save());
    EXPECT_EQ(ReadBytes(path), "[PLANS]\r\nref:Q|LadX:X|LadY:Z|CoeffX:1|CoeffY:2.5|R:1|\r\n");
}

TEST_F(EditorListsTest, ChannelsPanelAddsModifiesAndDeletes) {
    const std::string path = dir_ / "Telvar.ini";
    ChannelsPanel panel;
    panel.Load(path);
    auto* list = Find<QListWidget>(&panel, "LbCanaux");
    const auto txt = Fields(&panel, "txtCanaux_", 4);

    txt[0]->setText("CH");
    txt[1]->setText("2a");
    txt[2]->setText("$1");
    Press(&panel, "CmdCanaux_0");
    Press(&panel, "CmdCanaux_0");
    EXPECT_EQ(Rows(list), (QStringList{"CH", "CH_1"}));
    EXPECT_EQ(txt[1]->text(), "2");

    ClickRow(list, 1);
    txt[1]->setText("abc");
    txt[3]->setText("E");
    Press(&panel, "CmdCanaux_1");

    ClickRow(list, 0);
    Press(&panel, "CmdCanaux_2");
    EXPECT_EQ(Rows(list), QStringList{"CH_1"});
    ASSERT_TRUE(panel.Save());
    EXPECT_EQ(ReadBytes(path), "[CANAUX]\r\nref:CH_1|Pref:$1|Suff:E|Canal:0|\r\n");
}

// ---------------------------------------------------------------- activity-analysis channels

class EditorListsActivity : public EditorListsTest {
  protected:
    void SetUp() override {
        EditorListsTest::SetUp();
        panel_.show();
        lvw_ = Find<QListWidget>(&panel_, "lvwCanal");
    }
    void Menu(int entry) {
        QAction* action = panel_.PopupMenu()->findChild<QAction*>(QStringLiteral("mnuCanal_%1").arg(entry));
        ASSERT_NE(action, nullptr);
        action->trigger();
    }
    ActivityChannelsPanel panel_;
    QListWidget* lvw_ = nullptr;
};

TEST_F(EditorListsActivity, ThePopupMenuOpensOnARightClick) {
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5),
                            lvw_->viewport()->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(lvw_->viewport(), &event);
    QMenu* menu = Find<QMenu>(&panel_, "popmnuCanal");
    EXPECT_TRUE(menu->isVisible());
    QStringList entries;
    for (QAction* a : menu->actions()) entries << a->text();
    EXPECT_EQ(entries, (QStringList{"Ajouter", "Supprimer", "Modifier"}));
    menu->close();
}

TEST_F(EditorListsActivity, TheThirtyThirdChannelIsRefused) {
    for (int i = 0; i < 33; ++i) Menu(0);
    EXPECT_EQ(lvw_->count(), 32);
    EXPECT_EQ(panel_.Channels().size(), 32u);
    EXPECT_TRUE(messages_.Only("Le nombre maximal de canaux est atteint !", IconCritical));
    EXPECT_EQ(lvw_->item(31)->text(), "REFERENCE DU CANAL");
    EXPECT_EQ(lvw_->currentRow(), 31);
}

TEST_F(EditorListsActivity, DeletingAsksFirst) {
    panel_.SetChannels({{"A", "1001", "a"}, {"B", "1002", "b"}});
    lvw_->setCurrentRow(0);
    Menu(1);
    ASSERT_TRUE(messages_.Only("Voulez-vous supprimer le canal sélectionné ?", IconQuestion));
    EXPECT_EQ(messages_.entries[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(lvw_->count(), 2);
    messages_.Answer(MsgAnswer::Yes);
    Menu(1);
    EXPECT_EQ(Rows(lvw_), QStringList{"B"});
    ASSERT_EQ(panel_.Channels().size(), 1u);
    EXPECT_EQ(panel_.Channels()[0].CodeCanal, "1002");
}

TEST_F(EditorListsActivity, ModifyShowsTheRecordAndEditsGoBackToIt) {
    panel_.SetChannels({{"A", "1001", "a"}, {"B", "1002", "b"}});
    const auto field = Fields(&panel_, "txtCanalAnalyse_", 3);
    lvw_->setCurrentRow(1);
    Menu(2);
    EXPECT_EQ(field[0]->text(), "B");
    EXPECT_EQ(field[1]->text(), "1002");
    EXPECT_EQ(field[2]->text(), "b");
    field[1]->selectAll();
    QTest::keyClicks(field[1], "2000");
    EXPECT_EQ(panel_.Channels()[1].CodeCanal, "2000");

    // The label edited in place becomes the record's reference.
    lvw_->editItem(lvw_->item(1));
    auto* editor = lvw_->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    editor->selectAll();
    QTest::keyClicks(editor, "BROCHE");
    QTest::keyClick(editor, Qt::Key_Return);
    QApplication::processEvents(); // the view commits the edit from its event queue
    EXPECT_EQ(panel_.Channels()[1].RefCanal, "BROCHE");
    EXPECT_EQ(field[0]->text(), "BROCHE");
}

} // namespace
} // namespace kirva
