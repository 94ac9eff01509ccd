// Translating a whole window: which captions change and which are left alone.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "editor/TranslateForm.h"
#include "ini/profile.h"
#include "support/TempDir.h"
#include "translate/translate.h"

namespace kirva {
namespace {

// A small window with one control of each kind, the texts in French.
struct Window {
    QMainWindow main;
    QMenu* menu = main.menuBar()->addMenu("&Fichier");
    QAction* open = menu->addAction("&Ouvrir");
    QAction* separator = menu->addSeparator();
    QAction* dash = menu->addAction("-");
    QWidget* central = new QWidget(&main);
    QGroupBox* group = new QGroupBox("Général", central);
    QLabel* label = new QLabel("Nom du plan :", group);
    QLabel* emptyLabel = new QLabel(group);
    QCheckBox* check = new QCheckBox("Lancer au démarrage", group);
    QRadioButton* radio = new QRadioButton("Réseau", group);
    QPushButton* button = new QPushButton("&Ajouter", central);
    QTabWidget* tabs = new QTabWidget(central);
    QTabBar* bar = new QTabBar(central);
    QLineEdit* edit = new QLineEdit("Général", central);
    QComboBox* combo = new QComboBox(central);
    QToolButton* tool = new QToolButton(central);

    Window() {
        main.setWindowTitle("Configurer...");
        tabs->addTab(new QWidget(tabs), "Général");
        tabs->addTab(new QWidget(tabs), "");
        tabs->addTab(new QWidget(tabs), "Réseau");
        bar->addTab("Syntaxe");
        combo->addItem("Général");
        tool->setText("Général");
        auto* layout = new QVBoxLayout(central);
        for (QWidget* w : std::initializer_list<QWidget*>{group, button, tabs, bar, edit, combo, tool})
            layout->addWidget(w);
        main.setCentralWidget(central);
    }
};

class TranslateFormTest : public ::testing::Test {
  protected:
    void Use(const std::string& name) {
        ini::ClearCache();
        TK_TRANSLATE::Shared().Init(dir / name);
    }
    void TearDown() override { TK_TRANSLATE::Shared().Init(""); }
    test::TempDir dir;
};

TEST_F(TranslateFormTest, TranslatesCaptionsOfTheNamedKindsOnly) {
    test::WriteBytes(dir / "EN.lng",
                     "[KIRVA]\r\nConfigurer...=Configure...\r\n&Fichier=&File\r\n&Ouvrir=&Open\r\n"
                     "-=NOT A SEPARATOR\r\nG\xE9n\xE9ral=General\r\nGeneral=TRANSLATED TWICE\r\n"
                     "Nom du plan :=Plan name:\r\nLancer au d\xE9marrage=Start at logon\r\n"
                     "R\xE9seau=Network\r\n&Ajouter=&Add\r\nSyntaxe=Syntax\r\n");
    Use("EN.lng");
    Window w;
    TK_TRANSLATE::TranslateForm(&w.main, kDicoSection);

    EXPECT_EQ(w.main.windowTitle(), "Configure...");
    EXPECT_EQ(w.menu->title(), "&File");
    EXPECT_EQ(w.open->text(), "&Open");
    EXPECT_TRUE(w.separator->text().isEmpty());
    EXPECT_EQ(w.dash->text(), "-");
    EXPECT_EQ(w.group->title(), "General");
    EXPECT_EQ(w.label->text(), "Plan name:");
    EXPECT_TRUE(w.emptyLabel->text().isEmpty());
    EXPECT_EQ(w.check->text(), "Start at logon");
    EXPECT_EQ(w.radio->text(), "Network");
    EXPECT_EQ(w.button->text(), "&Add");
    EXPECT_EQ(w.tabs->tabText(0), "General"); // once, not twice
    EXPECT_EQ(w.tabs->tabText(1), "");
    EXPECT_EQ(w.tabs->tabText(2), "Network");
    EXPECT_EQ(w.bar->tabText(0), "Syntax");
    // Text boxes, lists and other buttons keep what they hold.
    EXPECT_EQ(w.edit->text(), "Général");
    EXPECT_EQ(w.combo->itemText(0), "Général");
    EXPECT_EQ(w.tool->text(), "Général");
}

} // namespace
} // namespace kirva
