// frmKirva: the controls by name, the choice lists and the rules between fields (catalogue group
// and model, start condition), the fields hidden for the DNC transfer program, the focus watch
// and the lists the machine holds.
#include "editor/QtText.h"
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTabWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <map>

#include "editor/CatalogueWidgets.h"
#include "editor/ChannelsPanel.h"
#include "editor/FieldRules.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PlansPanel.h"
#include "editor/frmKirva.h"
#include "machine/TelvarFile.h"
#include "translate/translate.h"

namespace kirva {

// ====================================================================== controls by name

QWidget* frmKirva::Control(const QString& array, int member) const {
    const QString name = Q(ControlName(array.toStdString(), member));
    if (QWidget* w = controls_.value(name, nullptr)) return w;
    return findChild<QWidget*>(name);
}

std::vector<QWidget*> frmKirva::ArrayControls(const QStringList& arrays) const {
    std::vector<QWidget*> controls;
    const QList<QWidget*> all = findChildren<QWidget*>();
    for (const QString& array : arrays) {
        std::vector<std::pair<int, QWidget*>> members;
        const QString prefix = array + QLatin1Char('_');
        for (QWidget* w : all) {
            const QString name = w->objectName();
            if (!name.startsWith(prefix)) continue;
            bool number = false;
            const int member = name.mid(prefix.size()).toInt(&number);
            if (number) members.emplace_back(member, w);
        }
        std::sort(members.begin(), members.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& m : members) controls.push_back(m.second);
    }
    return controls;
}

// ====================================================================== lists and modes

void frmKirva::FillChoiceLists() {
    for (const FieldDef& def : FieldTable()) {
        if (def.Widget != FieldWidget::Combo && def.Widget != FieldWidget::EditCombo) continue;
        if (def.List == FieldList::CatalogueGroups || def.List == FieldList::CatalogueModels) continue;
        auto* box = qobject_cast<QComboBox*>(Control(QString::fromUtf8(def.Array), def.Member));
        if (box == nullptr) continue;
        FillComboBox(box, vocabularies_.Items(def.List));
        if (def.List == FieldList::TransferMethods) {
            box->setCurrentIndex(0); // entry 1, "Bloc à Bloc"
        } else {
            box->setCurrentIndex(-1);
            if (box->isEditable()) box->setEditText(QString());
        }
    }
    if (auto* groups = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 2))) {
        groups->setCurrentIndex(-1);
        connect(groups, &QComboBox::activated, this, &frmKirva::OnGroupChosen);
    }
    if (auto* models = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 3))) {
        connect(models, &QComboBox::activated, this, &frmKirva::OnModelChosen);
    }
    if (auto* start = qobject_cast<QComboBox*>(Control(QStringLiteral("cboDnc"), 31))) {
        connect(start, &QComboBox::currentIndexChanged, this, &frmKirva::UpdateStartConditionCompanions);
    }
    UpdateStartConditionCompanions();
}

void frmKirva::HideProgramManagerFields() {
    std::map<QGroupBox*, bool> anyShown;
    for (const FieldDef& def : FieldTable()) {
        const auto place =
            rowOf_.find(Q(FieldObjectName(def)) +
                        (def.Widget == FieldWidget::Options ? QStringLiteral("_group") : QString()));
        if (place == rowOf_.end()) continue;
        auto* box = qobject_cast<QGroupBox*>(place->Row->parentWidget());
        if (def.Flags & FlagHiddenInMode2) {
            place->Form->setRowVisible(place->Row, false);
            if (box != nullptr) anyShown.try_emplace(box, false);
        } else if (box != nullptr) {
            anyShown[box] = true;
        }
    }
    for (const auto& [box, shown] : anyShown) {
        if (!shown) box->setVisible(false);
    }
    // A panel left without any field says why.
    for (QWidget* panel : panConfig_) {
        auto* area = qobject_cast<QScrollArea*>(panel);
        QWidget* content = area == nullptr ? nullptr : area->widget();
        if (content == nullptr) continue;
        bool hasVisibleGroup = false;
        bool hasGroup = false;
        for (QWidget* child : content->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (qobject_cast<QGroupBox*>(child) == nullptr && qobject_cast<QTabWidget*>(child) == nullptr)
                continue;
            hasGroup = true;
            if (!child->isHidden()) hasVisibleGroup = true;
        }
        if (hasGroup && !hasVisibleGroup) {
            auto* note = new QLabel(Tr("Ces paramètres ne concernent que le gestionnaire de programmes."));
            note->setObjectName(panel->objectName() + QStringLiteral("_note"));
            note->setWordWrap(true);
            qobject_cast<QVBoxLayout*>(content->layout())->insertWidget(1, note);
        }
    }
}

void frmKirva::LoadMachineLists() {
    const QString iso = qobject_cast<QLineEdit*>(Control(QStringLiteral("TxtTelvar"), 2))->text();
    isoInsert_->Load(iso.toStdString());
    if (!machineDir_.isEmpty()) {
        const std::string telvar = TelvarIniPathIn(machineDir_.toStdString());
        plans_->Load(telvar);
        channels_->Load(telvar);
    }
}

void frmKirva::WatchEditingFields() {
    focusWatcher_ = new FieldFocusWatcher(
        this, [this](QWidget* w) { CtrlGotFocus(w); }, [this](QWidget* w) { CtrlLostFocus(w); });
    for (QLineEdit* line : stack_->findChildren<QLineEdit*>()) {
        if (qobject_cast<QComboBox*>(line->parentWidget()) == nullptr) focusWatcher_->Watch(line);
    }
    for (QComboBox* box : stack_->findChildren<QComboBox*>()) focusWatcher_->Watch(box);
}

// ====================================================================== field rules

void frmKirva::UpdateStartConditionCompanions() {
    auto* start = qobject_cast<QComboBox*>(Control(QStringLiteral("cboDnc"), 31));
    const FieldDef* def = FindField("cboDnc", 31);
    if (start == nullptr || def == nullptr) return;
    const StartCompanions companions = StartConditionCompanions(*def);
    StartConditionView view;
    const int index = ShownIndex(start, -1);
    view.Index = index;
    if (QWidget* c = Control(QString::fromUtf8(companions.Array), companions.Character)) {
        c->setEnabled(view.CharacterEnabled());
    }
    if (QWidget* w = Control(QString::fromUtf8(companions.Array), companions.WaitTime)) {
        w->setEnabled(view.WaitTimeEnabled());
    }
}

void frmKirva::OnGroupChosen(int index) {
    auto* groups = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 2));
    auto* models = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 3));
    if (groups == nullptr || models == nullptr || index < 0) return;
    const std::int32_t code = CatalogueWidgets::SelectedCode(groups);
    CatalogueWidgets::FillModels(models, catalogue_, code);
    models->setCurrentIndex(-1);
    const std::optional<SyntaxPreset> preset = catalogue_.FNSyntaxPreset(code);
    if (!preset) return;
    for (const auto& [key, value] : preset->Fields) {
        const FieldDef* def = FindFieldForKey("SYNTAXE_MO", key);
        if (def == nullptr) continue;
        if (auto* line = qobject_cast<QLineEdit*>(Control(QString::fromUtf8(def->Array), def->Member))) {
            line->setText(Q(value));
        }
    }
    auto setFlag = [this](const char* key, bool value) {
        if (const FieldDef* def = FindFieldForKey("SYNTAXE_MO", key)) {
            if (auto* check = qobject_cast<QCheckBox*>(Control(QString::fromUtf8(def->Array), def->Member))) {
                check->setChecked(value);
            }
        }
    };
    setFlag("ForceSepDec", preset->ForceSepDec);
    setFlag("IJRel", preset->IJRel);
}

void frmKirva::OnModelChosen(int index) {
    auto* models = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 3));
    if (models == nullptr || index < 0 || infoBox_ == nullptr) return;
    CatalogueWidgets::ShowInformation(infoBox_, state_.Settings.PathDirData,
                                      static_cast<int>(InfoFileKind::Model),
                                      models->itemText(index).toStdString());
}

} // namespace kirva
