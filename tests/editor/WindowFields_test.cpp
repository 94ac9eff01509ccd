// The fields of the window: the opening in each mode, the transfer of every field both ways, the
// filled choice lists, the tooltips and the tab order.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTabBar>
#include <map>

#include "WindowFixture.h"
#include "app/FieldTable.h"
#include "editor/Vocabularies.h"
#include "machine/KeyTable.h"

namespace kirva {
namespace {

using test::WindowFixture;

// ---------------------------------------------------------------- opening

struct OpeningCase {
    int mode, appCalling;
    const char *apply, *titleEnd, *header;
};

class WindowOpening : public ::testing::TestWithParam<OpeningCase> {};

// Whether a field is hidden on its panel (pages of the panel stack and of tab strips are not counted).
bool HiddenOnItsPanel(QWidget* field) {
    for (QWidget* w = field; w != nullptr; w = w->parentWidget()) {
        if (w->objectName().startsWith("PanConfig_")) return false;
        if (qobject_cast<QStackedWidget*>(w->parentWidget()) != nullptr) continue;
        if (w->isHidden()) return true;
    }
    return false;
}

TEST_P(WindowOpening, SetsTitleCaptionsAndHiddenFields) {
    const OpeningCase& c = GetParam();
    WindowFixture f(c.mode, c.appCalling);
    MachineConfig machine;
    machine.RefMO = "TOUR1";
    machine.Name = "TOUR1";
    frmKirva& w = f.Open(machine);

    EXPECT_EQ(w.windowTitle(), QString("Configuration des Connexions Machines - Version 2.1.0.14 - ") +
                                   QString::fromUtf8(c.titleEnd));
    EXPECT_EQ(f.Find<QPushButton>("cmdExit_0")->text(), QString::fromUtf8(c.apply));
    EXPECT_EQ(f.Find<QLabel>("lblInfoHeader")->text(), QString::fromUtf8(c.header));
    EXPECT_TRUE(w.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    auto* tabs = f.Find<QTabBar>("tabInfo");
    ASSERT_EQ(tabs->count(), 6);
    for (int i = 0; i < 6; ++i) EXPECT_FALSE(tabs->tabIcon(i).isNull());
    // In modify mode the machine is in the fields; a new machine starts on the first transfer method.
    EXPECT_EQ(f.Find<QLineEdit>("TxtTelvar_1")->text(), c.appCalling == 2 ? "TOUR1" : "");
    if (c.appCalling == 1) { // only the transfer method is preset
        EXPECT_EQ(f.Find<QComboBox>("cboTelvar_31")->currentText(), "Bloc à Bloc");
        EXPECT_EQ(f.Find<QComboBox>("cboDnc_230")->currentIndex(), -1);
        EXPECT_EQ(f.Taken().Methode, 1);
        EXPECT_EQ(f.Taken().CallMethode, 0);
    }

    for (const FieldDef& def : FieldTable()) {
        const bool hidden = c.mode == 2 && (def.Flags & FlagHiddenInMode2);
        QWidget* field = f.Find<QWidget>(FieldObjectName(def).c_str());
        ASSERT_NE(field, nullptr) << FieldObjectName(def);
        EXPECT_EQ(HiddenOnItsPanel(field), hidden) << FieldObjectName(def);
    }
    if (c.mode == 2) {
        EXPECT_TRUE(f.Find<QLabel>("lblTelvar_250")->isHidden());
        EXPECT_TRUE(HiddenOnItsPanel(f.Find<QPushButton>("cmdParcourir_55")));
        EXPECT_FALSE(f.Find<QLineEdit>("TxtTelvar_48")->isHidden());
        // The editor panel keeps nothing for the transfer program and says so.
        EXPECT_NE(f.Find<QLabel>("PanConfig_14_note"), nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, WindowOpening,
                         ::testing::Values(OpeningCase{1, 2, "&Modifier", "Configurer...", "TOUR1"},
                                           OpeningCase{2, 1, "&Ajouter", "Ajouter...",
                                                       "Ajouter une machine"}));

// ---------------------------------------------------------------- transfer

// A value of the right shape for each field, different from field to field and from the defaults.
MachineConfig MachineWithEveryField(RemonteState& remonte) {
    MachineConfig machine;
    int n = 0;
    for (const FieldDef& def : FieldTable()) {
        ++n;
        if (def.Store == FieldStore::WindowOnly) continue;
        const KeyDef* key = FieldKey(def);
        std::string value = "Valeur é " + std::to_string(n);
        const auto items = ListItems(def.List, ProgramSettings());
        const std::map<FieldConv, std::string> coded = {{FieldConv::Parity, "O"},
                                                        {FieldConv::FlowControl, "4"},
                                                        {FieldConv::StartCondition, "#-5"},
                                                        {FieldConv::ServicePort, "21"}};
        if (coded.count(def.Conv) != 0)
            value = coded.at(def.Conv);
        else if (def.Conv == FieldConv::Index)
            value = std::to_string(def.List == FieldList::OpeningModes ? 3 : items.back().Index);
        else if (def.Conv == FieldConv::CatalogueCode)
            value = def.List == FieldList::CatalogueGroups ? "5" : "51";
        else if (def.Widget == FieldWidget::Check)
            value = n % 2 == 0 ? "1" : "0";
        else if (def.Widget == FieldWidget::Combo)
            value = items[1].Entry;
        else if (key != nullptr && key->Kind == KeyKind::Double)
            value = std::to_string(n) + ".25";
        else if (key != nullptr && key->Kind != KeyKind::String)
            value = std::to_string(100 + n);
        EXPECT_TRUE(SetFieldStoredText(def, machine, remonte, value)) << FieldObjectName(def) << " " << value;
    }
    machine.CanalAnalyse = {{"Broche", "1001", "B"}};
    machine.SetNbActivity(2);
    machine.Activity[1] = {"Production", 1001, "P"};
    machine.Activity[2] = {"Réglage", 1002, "R"};
    return machine;
}

void ExpectSameFields(const MachineConfig& expected, const RemonteState& expectedRemonte,
                      const MachineConfig& got, const RemonteState& gotRemonte) {
    for (const FieldDef& def : FieldTable()) {
        if (def.Store == FieldStore::WindowOnly) continue;
        EXPECT_EQ(FieldStoredText(def, got, gotRemonte), FieldStoredText(def, expected, expectedRemonte))
            << FieldObjectName(def) << " (" << (def.Section ? def.Section : "") << " " << def.Key << ")";
    }
}

// Shown, then taken back into a fresh record: every field carries its value. What the window shows,
// typed again into a window that showed nothing, gives the same record: the conversions work from
// the fields themselves, not from what was shown.
TEST(WindowTransfer, EveryFieldGoesBothWays) {
    WindowFixture f;
    RemonteState remonte;
    const MachineConfig machine = MachineWithEveryField(remonte);
    frmKirva& shown = f.Open(machine, remonte);
    MachineConfig back;
    RemonteState backRemonte;
    shown.TakeMachine(back, backRemonte);
    ExpectSameFields(machine, remonte, back, backRemonte);
    EXPECT_EQ(back.NbActivity, 2);
    EXPECT_EQ(back.Activity[2].RefActivity, "Réglage");
    EXPECT_EQ(back.Activity[2].CodeActivity, 1002);
    ASSERT_EQ(back.CanalAnalyse.size(), 1u);
    EXPECT_EQ(back.CanalAnalyse[0].CodeCanal, "1001");

    Machine() = MachineConfig();
    ProgramState adding = f.state; // a window that shows no machine
    adding.Settings.AppCalling = 1;
    frmKirva typed(adding);
    for (const FieldDef& def : FieldTable()) {
        for (QWidget* from : shown.findChildren<QWidget*>()) {
            const QString name = from->objectName();
            const QString base = QString::fromStdString(FieldObjectName(def));
            if (name != base &&
                !(def.Widget == FieldWidget::Options && name.startsWith(QString(def.Array) + "_")))
                continue;
            QWidget* to = typed.findChild<QWidget*>(name);
            ASSERT_NE(to, nullptr) << name.toStdString();
            if (auto* line = qobject_cast<QLineEdit*>(from))
                qobject_cast<QLineEdit*>(to)->setText(line->text());
            if (auto* check = qobject_cast<QCheckBox*>(from))
                qobject_cast<QCheckBox*>(to)->setChecked(check->isChecked());
            if (auto* radio = qobject_cast<QRadioButton*>(from); radio != nullptr && radio->isChecked())
                qobject_cast<QRadioButton*>(to)->setChecked(true);
            if (auto* box = qobject_cast<QComboBox*>(from)) {
                auto* target = qobject_cast<QComboBox*>(to);
                const int index = target->findText(box->currentText());
                if (index >= 0) test::Choose(target, index);
                if (index < 0) target->setEditText(box->currentText());
            }
        }
    }
    MachineConfig retyped;
    RemonteState retypedRemonte;
    typed.TakeMachine(retyped, retypedRemonte);
    ExpectSameFields(machine, remonte, retyped, retypedRemonte);
}

// Values that a list cannot show one to one come back unchanged when the user left them alone;
// members that no field edits are left as they were.
TEST(WindowTransfer, UntouchedFieldsKeepAwkwardValues) {
    WindowFixture f;
    MachineConfig machine;
    machine.CheckModeRecep = ""; // shows "Rien", which is stored "NS"
    machine.Parite = "m";        // not a parity letter
    machine.Methode = 0;         // the empty entry is not offered
    machine.CtrlFlux = 9;        // beyond the list
    machine.CodeCN = 77;         // not in the catalogue
    machine.RemotePort = " 21";  // typed with a blank
    machine.TempoBloc = 0.1;     // no short binary form
    machine.FileExt = "nc";      // written with a dot, held without
    machine.Socket = 12;         // read, never edited
    machine.MachineDir = f.dir / "M1/";
    RemonteState remonte;
    frmKirva& w = f.Open(machine, remonte);
    MachineConfig back = machine;
    RemonteState backRemonte;
    w.TakeMachine(back, backRemonte);
    for (const KeyDef& key : KeyTable()) {
        EXPECT_EQ(GetKeyText(back, backRemonte, key), GetKeyText(machine, remonte, key))
            << key.Section << " " << key.Key;
    }
    EXPECT_EQ(back.FileExt, "nc");
    EXPECT_EQ(back.MachineDir, machine.MachineDir);
}

// ---------------------------------------------------------------- lists, tooltips, order

struct FillCase {
    const char* control;
    int count;
    const char *first, *last;
};
class WindowChoiceLists : public test::OpenWindow<::testing::TestWithParam<FillCase>> {};

TEST_P(WindowChoiceLists, OfferTheirEntriesInOrder) {
    const FillCase& c = GetParam();
    auto* box = f.Find<QComboBox>(c.control);
    ASSERT_NE(box, nullptr);
    ASSERT_EQ(box->count(), c.count);
    EXPECT_EQ(box->itemText(0), QString::fromUtf8(c.first));
    EXPECT_EQ(box->itemText(c.count - 1), QString::fromUtf8(c.last));
}

INSTANTIATE_TEST_SUITE_P(
    Fills, WindowChoiceLists,
    ::testing::Values(
        FillCase{"cboDnc_23", 4, "Paire", "Marque"}, FillCase{"cboDnc_24", 11, "110", "115200"},
        FillCase{"cboDnc_26", 7, "Aucun", "RTS/Xon/DTR"}, FillCase{"cboDnc_70", 9, "1", "1024"},
        FillCase{"cboDnc_28", 12, "10", "65"}, FillCase{"cboDnc_92", 9, "10", "240"},
        FillCase{"cboTelvar_31", 21, "Bloc à Bloc", "FANUC Focas"},
        FillCase{"cboTelvar_50", 5, "Windows", "Lect Cart"},
        FillCase{"cboIso_110", 2, "Fraisage", "Tournage"}, FillCase{"cboDnc_22", 3, "1", "2"},
        FillCase{"cboTelvar_2", 2, "", "Lecture code barre"}, FillCase{"cboDnc_1", 2, "Normal", "Multi-prog"},
        FillCase{"cboDnc_39", 9, "", "TELNET"}, FillCase{"cboDnc_31", 6, "Rien", "RS232"},
        FillCase{"cboDnc_2", 2, "Extension", "Incrément"},
        FillCase{"cboIso_109", 3, "Après caractère de début de programme", "Après le caractère :"},
        FillCase{"cboIso_108", 3, "Dans la ligne", "Dans un commentaire"},
        FillCase{"cboTelvar_1", 2, "Atelier A", "Atelier B"},
        FillCase{"cboDnc_3", 1, "LECT_CART", "LECT_CART"}, FillCase{"cboIso_2", 2, "Tours", "Fraiseuses"}));

using WindowFieldTable = test::OpenWindow<>;

// Every field says where its value is kept; the table names each control once.
TEST_F(WindowFieldTable, TooltipsNameFileSectionAndKey) {
    for (const FieldDef& def : FieldTable()) {
        EXPECT_EQ(FindField(def.Array, def.Member), &def) << FieldObjectName(def);
        if (def.Store == FieldStore::Registry) continue;
        const QString tip = f.Find<QWidget>(FieldObjectName(def).c_str())->toolTip();
        EXPECT_TRUE(tip.contains(def.Key)) << FieldObjectName(def) << ": " << tip.toStdString();
        if (def.Section != nullptr) {
            EXPECT_TRUE(tip.contains(QString("[") + def.Section + "]")) << tip.toStdString();
        }
    }
    EXPECT_EQ(f.Find<QWidget>("TxtTelvar_53")->toolTip(), "Kalderon.ini [CNC1] PathFileHead");
    EXPECT_EQ(f.Find<QWidget>("cboDnc_23")->toolTip(), "Telvar.ini [COMM] Parite");
    EXPECT_TRUE(f.Find<QWidget>("chkTelvar_1")->toolTip().contains("CURRENTVERSION\\RUN"));
    EXPECT_EQ(f.Find<QWidget>("TxtTelvar_49")->toolTip(),
              "Telvar.ini [DNC] PathFileProgOpen\nKalderon.ini [CNC1] PathFileProgOpen");
}

// Every editable key of Telvar.ini has exactly one field ("Socket" is read and never written).
TEST(WindowFieldKeys, EveryEditableKeyHasOneField) {
    for (const KeyDef& key : KeyTable()) {
        if ((key.Source != KeySource::Record && key.Source != KeySource::Remonte) || !IsWritten(key.Access))
            continue;
        int fields = 0;
        for (const FieldDef& def : FieldTable())
            fields += def.Store != FieldStore::WindowOnly && FieldKey(def) == &key;
        EXPECT_EQ(fields, 1) << key.Section << " " << key.Key;
    }
}

// Tab moves through a panel's fields in the order they stand.
TEST_F(WindowFieldTable, TabOrderFollowsThePanel) {
    std::vector<QWidget*> expected;
    for (const FieldDef& def : FieldTable()) {
        if (std::string_view(def.Panel) == "3.2" && def.Widget != FieldWidget::Check) {
            expected.push_back(f.Find<QWidget>(FieldObjectName(def).c_str()));
        }
    }
    std::vector<QWidget*> chain;
    QWidget* w = expected.front();
    for (int guard = 0; guard < 2000 && chain.size() < expected.size(); ++guard, w = w->nextInFocusChain()) {
        if (std::find(expected.begin(), expected.end(), w) != expected.end()) chain.push_back(w);
    }
    EXPECT_EQ(chain, expected);
}

} // namespace
} // namespace kirva
