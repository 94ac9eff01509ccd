// Moving between the panels: by a node of the tree, by the panel number, and by a field.
#include <gtest/gtest.h>

#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTest>
#include <QTreeWidget>

#include "WindowFixture.h"
#include "editor/PanelTree.h"

namespace kirva {
namespace {

using WindowShowPanel = test::OpenWindow<>;

// What brings a panel forward (a node of the tree, a control on the panel), and the panel.
struct PanelCase {
    const char* name;
    const char* panel;
};

// Clicking a node brings forward the panel whose whole number is the node's ("Général" is 1, not 1.1);
// the nodes stand under their parents, expanded.
TEST_F(WindowShowPanel, ClickingANodeShowsItsPanel) {
    w.show();
    auto* tree = f.Find<QTreeWidget>("TvwCat");
    EXPECT_EQ(tree->topLevelItemCount(), 7);
    QTreeWidgetItem* iso = FindTreeNode(tree, "Iso");
    ASSERT_NE(iso, nullptr);
    EXPECT_EQ(iso->parent()->text(0), "Programmation");
    EXPECT_TRUE(iso->parent()->isExpanded());
    const PanelCase nodes[] = {{"Général", "1"},       {"Gestion", "1.1"},       {"Dossiers", "1.2"},
                               {"Programmation", "2"}, {"Syntaxe", "2.1"},       {"Cartouche", "2.2"},
                               {"Iso", "2.3"},         {"Canaux", "2.4"},        {"DNC", "3"},
                               {"Filtres", "3.1"},     {"RS 232", "3.2"},        {"Réseau", "3.3"},
                               {"Tempo", "3.4"},       {"Appel déporté", "3.5"}, {"Editeur", "4"},
                               {"Iso Formes", "4.1"},  {"Service", "5"},         {"PDC", "6"},
                               {"Chainage", "7"}};
    for (const PanelCase& c : nodes) {
        w.ShowPanel(std::string_view(c.panel) == "7" ? "1" : "7");
        QTreeWidgetItem* node = FindTreeNode(tree, QString::fromUtf8(c.name));
        ASSERT_NE(node, nullptr) << c.name;
        tree->scrollToItem(node);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(node).center());
        EXPECT_EQ(w.CurrentPanel(), c.panel) << c.name;
    }
}

// A control anywhere on a panel, on a tab page included, brings its panel (and page) forward; the
// tree's selection is left as it was, and a control on the window itself brings nothing forward.
TEST_F(WindowShowPanel, AControlBringsForwardItsPanel) {
    auto* tree = f.Find<QTreeWidget>("TvwCat");
    QTreeWidgetItem* before = tree->currentItem();
    const PanelCase controls[] = {
        {"TxtTelvar_1", "1"},    {"TxtTelvar_48", "1"}, {"cboTelvar_50", "1.1"}, {"TxtDnc_13", "1.2"},
        {"cboIso_3", "2"},       {"txtIso_13", "2.1"},  {"optIso_129", "2.2"},   {"txtIso_28", "2.3"},
        {"LbCanaux", "2.4"},     {"cboDnc_2", "3"},     {"TxtDnc_44", "3.1"},    {"cboDnc_23", "3.2"},
        {"txtPing", "3.3"},      {"cboDnc_93", "3.4"},  {"cboDnc_223", "3.5"},   {"TxtTelvar_162", "4"},
        {"TxtTelvar_56", "4.1"}, {"RtbServices", "5"},  {"LstPlans", "6"},       {"TxtChain", "7"}};
    for (const PanelCase& c : controls) {
        w.ShowPanel(std::string_view(c.panel) == "7" ? "1" : "7");
        auto* control = f.Find<QWidget>(c.name);
        ASSERT_NE(control, nullptr) << c.name;
        w.SetFocusOnPanOfInfo(control);
        EXPECT_EQ(w.CurrentPanel(), c.panel) << c.name;
        EXPECT_TRUE(control->isVisibleTo(&w)) << c.name;
    }
    EXPECT_EQ(tree->currentItem(), before);
    w.SetFocusOnPanOfInfo(f.Find<QPushButton>("cmdExit_0"));
    EXPECT_EQ(w.CurrentPanel(), "7");
}

} // namespace
} // namespace kirva
