// Moving between the panels: by a node of the tree, by the panel number, and by a field.
#include <gtest/gtest.h>

#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>

#include "WindowFixture.h"
#include "editor/PanelTree.h"

namespace kirva {
namespace {

using test::WindowFixture;

struct NodeCase {
    const char* text;
    const char* panel;
};

class WindowNodeClick : public ::testing::TestWithParam<NodeCase> {};

// Clicking a node brings forward the panel whose whole number is the node's ("Général" is 1, not 1.1).
TEST_P(WindowNodeClick, ShowsThePanelOfTheNode) {
    WindowFixture f;
    frmKirva& w = f.Open();
    w.show();
    auto* tree = f.Find<QTreeWidget>("TvwCat");
    w.ShowPanel(QString::fromUtf8(GetParam().panel) == "7" ? "1" : "7");
    QTreeWidgetItem* node = FindTreeNode(tree, QString::fromUtf8(GetParam().text));
    ASSERT_NE(node, nullptr);
    tree->scrollToItem(node);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(node).center());
    EXPECT_EQ(w.CurrentPanel(), QString::fromUtf8(GetParam().panel));
    EXPECT_EQ(PanelTag(GetParam().panel), node->data(0, kNodeTagRole).toString());
    EXPECT_EQ(node->data(0, kNodeKeyRole).toString(), node->text(0));
}

INSTANTIATE_TEST_SUITE_P(
    AllNodes, WindowNodeClick,
    ::testing::Values(NodeCase{"Général", "1"}, NodeCase{"Gestion", "1.1"}, NodeCase{"Dossiers", "1.2"},
                      NodeCase{"Programmation", "2"}, NodeCase{"Syntaxe", "2.1"},
                      NodeCase{"Cartouche", "2.2"}, NodeCase{"Iso", "2.3"}, NodeCase{"Canaux", "2.4"},
                      NodeCase{"DNC", "3"}, NodeCase{"Filtres", "3.1"}, NodeCase{"RS 232", "3.2"},
                      NodeCase{"Réseau", "3.3"}, NodeCase{"Tempo", "3.4"}, NodeCase{"Appel déporté", "3.5"},
                      NodeCase{"Editeur", "4"}, NodeCase{"Iso Formes", "4.1"}, NodeCase{"Service", "5"},
                      NodeCase{"PDC", "6"}, NodeCase{"Chainage", "7"}));

TEST(WindowTree, HoldsTheNineteenNodesUnderTheirParents) {
    WindowFixture f;
    f.Open();
    auto* tree = f.Find<QTreeWidget>("TvwCat");
    EXPECT_EQ(tree->topLevelItemCount(), 7);
    QTreeWidgetItem* iso = FindTreeNode(tree, "Iso");
    ASSERT_NE(iso, nullptr);
    EXPECT_EQ(iso->parent()->text(0), "Programmation");
    EXPECT_TRUE(iso->parent()->isExpanded());
    int count = 0;
    for (QTreeWidgetItemIterator it(tree); *it != nullptr; ++it) ++count;
    EXPECT_EQ(count, 19);
}

TEST(WindowTree, AddTreeNodeRefusesATakenKeyOrAnUnknownParent) {
    QTreeWidget tree;
    ASSERT_NE(AddTreeNode(&tree, "", "DNC", "pan:3|"), nullptr);
    EXPECT_EQ(AddTreeNode(&tree, "", "DNC", "pan:9|"), nullptr);
    EXPECT_EQ(AddTreeNode(&tree, "Absent", "Filtres", "pan:3.1|"), nullptr);
    QTreeWidgetItem* child = AddTreeNode(&tree, "DNC", "Filtres", "pan:3.1|");
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->parent()->text(0), "DNC");
    EXPECT_EQ(tree.topLevelItemCount(), 1);
}

TEST(WindowShowPanel, ComparesTheWholeNumberAndIgnoresUnknownOnes) {
    WindowFixture f;
    frmKirva& w = f.Open();
    w.ShowPanel("3.2");
    EXPECT_EQ(w.CurrentPanel(), "3.2");
    w.ShowPanel("3.");
    w.ShowPanel("9");
    w.ShowPanel("");
    EXPECT_EQ(w.CurrentPanel(), "3.2");
    EXPECT_EQ(f.Find<QStackedWidget>("stkPanConfig")->count(), 19);
}

// Another pair ahead of the identifier, and the name spelled in upper case, still give the panel.
TEST(WindowShowPanel, ReadsTheIdentifierAmongOtherPairs) {
    WindowFixture f;
    frmKirva& w = f.Open();
    auto* panel = f.Find<QScrollArea>("PanConfig_5");
    panel->setProperty("Tag", "aide:cartouche|PAN:2.2|");
    w.ShowPanel("1");
    w.ShowPanel("2.2");
    EXPECT_EQ(f.Find<QStackedWidget>("stkPanConfig")->currentWidget(), panel);
}

TEST(WindowPanels, CarryTheirIdentifierInTheirTag) {
    WindowFixture f;
    f.Open();
    int index = 0;
    for (const TreeNodeDef& node : TreeNodes()) {
        auto* panel = f.Find<QScrollArea>(("PanConfig_" + std::to_string(index++)).c_str());
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(WidgetTag(panel), PanelTag(node.Panel));
    }
}

struct FieldCase {
    const char* control;
    const char* panel;
};
class WindowFocusOnPanel : public ::testing::TestWithParam<FieldCase> {};

// A control anywhere on a panel, on a tab page included, brings its panel (and page) forward.
TEST_P(WindowFocusOnPanel, BringsForwardThePanelOfTheControl) {
    WindowFixture f;
    frmKirva& w = f.Open();
    w.ShowPanel(QString::fromUtf8(GetParam().panel) == "7" ? "1" : "7");
    auto* control = f.Find<QWidget>(GetParam().control);
    ASSERT_NE(control, nullptr) << GetParam().control;
    w.SetFocusOnPanOfInfo(control);
    EXPECT_EQ(w.CurrentPanel(), QString::fromUtf8(GetParam().panel));
    EXPECT_TRUE(control->isVisibleTo(&w)) << GetParam().control;
}

INSTANTIATE_TEST_SUITE_P(Fields, WindowFocusOnPanel,
                         ::testing::Values(FieldCase{"TxtTelvar_1", "1"}, FieldCase{"TxtTelvar_48", "1"},
                                           FieldCase{"cboTelvar_50", "1.1"}, FieldCase{"TxtDnc_13", "1.2"},
                                           FieldCase{"cboIso_3", "2"}, FieldCase{"txtIso_13", "2.1"},
                                           FieldCase{"optIso_129", "2.2"}, FieldCase{"txtIso_28", "2.3"},
                                           FieldCase{"LbCanaux", "2.4"}, FieldCase{"cboDnc_2", "3"},
                                           FieldCase{"TxtDnc_44", "3.1"}, FieldCase{"cboDnc_23", "3.2"},
                                           FieldCase{"txtPing", "3.3"}, FieldCase{"cboDnc_93", "3.4"},
                                           FieldCase{"cboDnc_223", "3.5"}, FieldCase{"TxtTelvar_162", "4"},
                                           FieldCase{"TxtTelvar_56", "4.1"}, FieldCase{"RtbServices", "5"},
                                           FieldCase{"LstPlans", "6"}, FieldCase{"TxtChain", "7"}));

// The tree's selection is left as it was; a control on the window itself brings nothing forward.
TEST(WindowFocusOnPanel, LeavesTheTreeAndIgnoresControlsOutsideThePanels) {
    WindowFixture f;
    frmKirva& w = f.Open();
    auto* tree = f.Find<QTreeWidget>("TvwCat");
    QTreeWidgetItem* before = tree->currentItem();
    w.ShowPanel("6");
    w.SetFocusOnPanOfInfo(f.Find<QPushButton>("cmdExit_0"));
    EXPECT_EQ(w.CurrentPanel(), "6");
    w.SetFocusOnPanOfInfo(f.Find<QWidget>("cboDnc_24"));
    EXPECT_EQ(w.CurrentPanel(), "3.2");
    EXPECT_EQ(tree->currentItem(), before);
}

} // namespace
} // namespace kirva
