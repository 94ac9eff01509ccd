// frmKirva: the transfer between the fields and MachineConfig, walking the field table.
//
// Each field remembers what it showed (its display state and the stored value behind it). A field
// that the user left as it was gives back the very value it was shown, so that a machine shown and
// taken back unchanged is the same record, even where a conversion is not one to one ("" and "NS"
// both show "Rien"; a model code missing from the catalogue shows nothing).
#include "editor/QtText.h"
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTimer>
#include <QVariant>

#include "editor/ActivityChannelsPanel.h"
#include "editor/CatalogueWidgets.h"
#include "editor/WorkshopActivities.h"
#include "editor/frmKirva.h"
#include "ini/clsIniVar.h"
#include "machine/HeaderPreview.h"
#include "machine/Vocabularies.h"
#include "translate/messages.h"

namespace kirva {

namespace {

constexpr const char* kShownState = "kirvaShownState";
constexpr const char* kShownValue = "kirvaShownValue";
constexpr const char* kValueRead = "Valeur lue : « x1x »";
constexpr const char* kDropChanges = "La machine a des modifications. Les abandonner ?";

int NumberOf(const std::string& text) {
    return ParseInt32(text).value_or(0);
}

QButtonGroup* GroupOf(QWidget* holder) {
    return holder == nullptr ? nullptr : holder->findChild<QButtonGroup*>();
}

void CheckOption(QButtonGroup* group, int id) {
    if (QAbstractButton* button = group->button(id)) {
        button->setChecked(true);
        return;
    }
    // A value without an option: none is checked.
    group->setExclusive(false);
    for (QAbstractButton* b : group->buttons()) b->setChecked(false);
    group->setExclusive(true);
}

} // namespace

QWidget* frmKirva::WidgetOf(const FieldDef& def) const {
    const QString name = Q(FieldObjectName(def));
    return controls_.value(def.Widget == FieldWidget::Options ? name + QStringLiteral("_group") : name,
                           nullptr);
}

void frmKirva::ShowMachine(const MachineConfig& machine, const RemonteState& remonte) {
    machineDir_ = Q(machine.MachineDir);
    for (const FieldDef& def : FieldTable()) {
        if (def.Store != FieldStore::WindowOnly) ShowField(def, FieldStoredText(def, machine, remonte));
    }
    for (const FieldDef& def : FieldTable()) {
        if (def.Store == FieldStore::WindowOnly) continue;
        QWidget* w = WidgetOf(def);
        if (w == nullptr) continue;
        w->setProperty(kShownState, DisplayState(def));
        w->setProperty(kShownValue, Q(FieldStoredText(def, machine, remonte)));
    }
    analysisChannels_->SetChannels(machine.CanalAnalyse);
    activities_->Show(machine);
    if (auto* models = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 3))) {
        if (models->currentIndex() >= 0) OnModelChosen(models->currentIndex());
    }
    if (auto* reference = qobject_cast<QLineEdit*>(Control(QStringLiteral("TxtTelvar"), 1))) {
        referenceTyped_ = !reference->text().isEmpty();
    }
    UpdateApplyButtons();
}

void frmKirva::ShowField(const FieldDef& def, const std::string& stored) {
    QWidget* w = WidgetOf(def);
    if (w == nullptr) return;
    auto* box = qobject_cast<QComboBox*>(w);
    switch (def.Conv) {
    case FieldConv::Text:
        if (auto* line = qobject_cast<QLineEdit*>(w))
            line->setText(Q(stored));
        else if (auto* check = qobject_cast<QCheckBox*>(w))
            check->setChecked(stored == "1");
        else if (box != nullptr)
            ShowEntry(box, Q(stored));
        break;
    case FieldConv::Index:
        if (QButtonGroup* group = GroupOf(w))
            CheckOption(group, NumberOf(stored));
        else if (box != nullptr)
            ShowIndex(box, NumberOf(stored), 0);
        break;
    case FieldConv::Parity:
        if (box != nullptr) {
            const std::string parity = LetterToParity(stored);
            ShowEntry(box, Q(parity.empty() ? stored : parity));
        }
        break;
    case FieldConv::FlowControl:
        if (box != nullptr) {
            const int index = NumberOf(stored);
            const bool known = index >= 0 && index < static_cast<int>(vocab::FlowControls.size());
            ShowEntry(box, known ? QString::fromUtf8(vocab::FlowControls[static_cast<std::size_t>(index)])
                                 : Q(stored));
        }
        break;
    case FieldConv::StartCondition:
        if (box != nullptr) {
            const StartConditionView view = CodeToStartCondition(stored);
            ShowEntry(box, QString::fromUtf8(vocab::StartConditions[static_cast<std::size_t>(view.Index)]));
            const StartCompanions companions = StartConditionCompanions(def);
            const QString array = QString::fromUtf8(companions.Array);
            if (auto* c = qobject_cast<QLineEdit*>(Control(array, companions.Character)))
                c->setText(Q(view.Character));
            if (auto* t = qobject_cast<QLineEdit*>(Control(array, companions.WaitTime)))
                t->setText(Q(view.WaitTime));
            UpdateStartConditionCompanions();
        }
        break;
    case FieldConv::ServicePort:
        if (box != nullptr) ShowEntry(box, Q(stored));
        break;
    case FieldConv::CatalogueCode: {
        auto* groups = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 2));
        auto* models = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 3));
        if (groups == nullptr || models == nullptr) break;
        const std::int32_t code = NumberOf(stored);
        // The group is never read back from the file: the model's group is shown when it is known.
        std::int32_t group =
            def.List == FieldList::CatalogueModels ? catalogue_.FNGroupCodeOfModel(code) : code;
        if (def.List == FieldList::CatalogueModels && group == 0)
            group = CatalogueWidgets::SelectedCode(groups);
        if (group != 0 && CatalogueWidgets::SelectCode(groups, group)) {
            CatalogueWidgets::FillModels(models, catalogue_, group);
        } else if (def.List == FieldList::CatalogueGroups) {
            groups->setCurrentIndex(-1);
            models->clear();
        }
        if (def.List == FieldList::CatalogueModels && !CatalogueWidgets::SelectCode(models, code)) {
            models->setCurrentIndex(-1);
        }
        break;
    }
    }
}

QString frmKirva::DisplayState(const FieldDef& def) const {
    QWidget* w = WidgetOf(def);
    QString state;
    if (auto* line = qobject_cast<QLineEdit*>(w))
        state = line->text();
    else if (auto* check = qobject_cast<QCheckBox*>(w))
        state = check->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    else if (auto* box = qobject_cast<QComboBox*>(w))
        state = QString::number(box->currentIndex()) + QChar(0x1f) + box->currentText();
    else if (QButtonGroup* group = GroupOf(w))
        state = QString::number(group->checkedId());
    if (def.Conv == FieldConv::StartCondition) {
        const StartCompanions companions = StartConditionCompanions(def);
        const QString array = QString::fromUtf8(companions.Array);
        for (int member : {companions.Character, companions.WaitTime}) {
            if (auto* c = qobject_cast<QLineEdit*>(Control(array, member))) state += QChar(0x1f) + c->text();
        }
    }
    return state;
}

std::string frmKirva::FieldValue(const FieldDef& def) const {
    QWidget* w = WidgetOf(def);
    if (w == nullptr) return {};
    const QVariant shownState = w->property(kShownState);
    if (shownState.isValid() && shownState.toString() == DisplayState(def)) {
        return w->property(kShownValue).toString().toStdString();
    }
    auto* box = qobject_cast<QComboBox*>(w);
    const std::string entry = box != nullptr ? ShownEntry(box).toStdString() : std::string();
    switch (def.Conv) {
    case FieldConv::Text:
        if (auto* line = qobject_cast<QLineEdit*>(w)) return line->text().toStdString();
        if (auto* check = qobject_cast<QCheckBox*>(w)) return check->isChecked() ? "1" : "0";
        return entry;
    case FieldConv::Index:
        if (QButtonGroup* group = GroupOf(w)) {
            return group->checkedId() >= 0 ? std::to_string(group->checkedId())
                                           : w->property(kShownValue).toString().toStdString();
        }
        return box != nullptr ? std::to_string(ShownIndex(box, 0)) : std::string();
    case FieldConv::Parity: {
        const std::string letter = ParityToLetter(entry);
        return letter.empty() ? entry : letter;
    }
    case FieldConv::FlowControl: {
        const int index = FlowControlIndex(entry);
        return index >= 0 ? std::to_string(index) : entry;
    }
    case FieldConv::StartCondition: {
        const StartCompanions companions = StartConditionCompanions(def);
        const QString array = QString::fromUtf8(companions.Array);
        auto text = [&](int member) {
            auto* c = qobject_cast<QLineEdit*>(Control(array, member));
            return c == nullptr ? std::string() : c->text().toStdString();
        };
        return StartConditionToCode(entry, text(companions.Character), text(companions.WaitTime));
    }
    case FieldConv::ServicePort:
        return box != nullptr ? NormalizeServicePort(box->currentText().toStdString()) : std::string();
    case FieldConv::CatalogueCode:
        return box != nullptr ? std::to_string(CatalogueWidgets::SelectedCode(box)) : std::string();
    }
    return {};
}

void frmKirva::TakeMachine(MachineConfig& machine, RemonteState& remonte) const {
    for (const FieldDef& def : FieldTable()) {
        if (def.Store == FieldStore::WindowOnly || WidgetOf(def) == nullptr) continue;
        SetFieldStoredText(def, machine, remonte, FieldValue(def));
    }
    // For the DNC transfer program the machine's name is its reference.
    if (state_.Settings.Mode == 2) machine.Name = machine.RefMO;
    machine.CanalAnalyse = analysisChannels_->Channels();
    activities_->Take(machine);
}

// ====================================================================== what changed

bool frmKirva::FieldChanged(const FieldDef& def) const {
    QWidget* w = WidgetOf(def);
    if (w == nullptr || def.Store == FieldStore::WindowOnly) return false;
    const QVariant shown = w->property(kShownState);
    return shown.isValid() && shown.toString() != DisplayState(def);
}

int frmKirva::ChangedFieldCount() const {
    int count = 0;
    for (const FieldDef& def : FieldTable()) count += FieldChanged(def) ? 1 : 0;
    return count;
}

void frmKirva::ScheduleChangeMarks() {
    // A burst of edits (a preset, a machine shown) is marked once, when the window is idle again.
    if (marksPending_) return;
    marksPending_ = true;
    QTimer::singleShot(0, this, [this] {
        marksPending_ = false;
        UpdateChangeMarks();
    });
}

void frmKirva::UpdateChangeMarks() {
    int changed = 0;
    for (const FieldDef& def : FieldTable()) {
        QWidget* w = WidgetOf(def);
        if (w == nullptr || def.Store == FieldStore::WindowOnly) continue;
        const bool differs = FieldChanged(def);
        changed += differs ? 1 : 0;
        // The label of the field's row, or the check box that is its own label.
        QWidget* label = w;
        const auto place = rowOf_.constFind(Q(FieldObjectName(def)));
        if (place != rowOf_.constEnd() && place->Form != nullptr) {
            if (QWidget* l = place->Form->labelForField(place->Row)) label = l;
        }
        QFont font = label->font();
        if (font.bold() != differs) {
            font.setBold(differs);
            label->setFont(font);
        }
        QString tip = Q(FieldTooltip(def, state_.Settings));
        if (differs)
            tip += QLatin1Char('\n') + Tr(kValueRead, w->property(kShownValue).toString().toStdString());
        if (w->toolTip() != tip) w->setToolTip(tip);
    }
    if (changed != changedFields_) {
        changedFields_ = changed;
        SetTitle();
    }
    UpdateHeaderPreview();
}

void frmKirva::UpdateHeaderPreview() {
    MachineConfig machine = Machine();
    RemonteState remonte = Remonte();
    TakeMachine(machine, remonte);
    QStringList lines;
    for (const std::string& line : HeaderPreview(machine)) lines << Q(line);
    for (QPlainTextEdit* preview : headerPreviews_) {
        if (preview->toPlainText() != lines.join(QLatin1Char('\n')))
            preview->setPlainText(lines.join(QLatin1Char('\n')));
    }
}

void frmKirva::closeEvent(QCloseEvent* event) {
    if (!applied_ && ChangedFieldCount() > 0 &&
        ShowMessage(kDropChanges, IconQuestion, MsgButtons::YesNo) != MsgAnswer::Yes) {
        event->ignore();
        return;
    }
    QMainWindow::closeEvent(event);
}

} // namespace kirva
