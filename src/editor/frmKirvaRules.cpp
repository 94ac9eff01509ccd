// frmKirva: the controls by name, the choice lists and the rules between fields (catalogue group
// and model, start condition), the fields hidden for the DNC transfer program, the focus watch
// and the lists the machine holds.
#include "editor/QtText.h"
#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTextEdit>
#include <QTimer>
#include <QVBoxLayout>
#include <QValidator>
#include <QVariant>
#include <algorithm>
#include <map>
#include <string_view>

#include "editor/CatalogueWidgets.h"
#include "editor/ChannelsPanel.h"
#include "editor/FieldInput.h"
#include "editor/FieldRules.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PlansPanel.h"
#include "editor/frmKirva.h"
#include "machine/TelvarFile.h"
#include "translate/translate.h"

namespace kirva {

namespace {

constexpr const char* kPaletteBeforeMark = "kirvaPaletteBeforeMark";
constexpr const char* kMarkWatched = "kirvaMarkWatched";

// The caption of a field as the user reads it: its label without the closing colon.
QString FieldCaption(const QWidget* field) {
    const QString name = field->objectName();
    for (const FieldDef& def : FieldTable()) {
        if (Q(FieldObjectName(def)) != name) continue;
        QString caption = Tr(def.Label).trimmed();
        if (caption.endsWith(QLatin1Char(':'))) caption.chop(1);
        return caption.trimmed();
    }
    return name;
}

// The text box of a field: the field itself or the text box of an editable choice list.
QLineEdit* TextBoxOf(QWidget* field) {
    if (auto* line = qobject_cast<QLineEdit*>(field)) return line;
    if (auto* box = qobject_cast<QComboBox*>(field)) return box->lineEdit();
    return nullptr;
}

} // namespace

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
        // Only the machine's transfer method starts on entry 1, "Bloc à Bloc"; the call method of
        // the remote-call port (the same list) starts empty like every other list.
        if (def.List == FieldList::TransferMethods && std::string_view(def.Array) == "cboTelvar" &&
            def.Member == 31) {
            box->setCurrentIndex(0);
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
        connect(line, &QLineEdit::textChanged, this, [this] { ScheduleChangeMarks(); });
    }
    for (QComboBox* box : stack_->findChildren<QComboBox*>()) {
        focusWatcher_->Watch(box);
        connect(box, &QComboBox::currentIndexChanged, this, [this] { ScheduleChangeMarks(); });
    }
    for (const FieldDef& def : FieldTable()) {
        if (!FieldHasHint(def)) continue;
        const FieldDef* row = &def;
        if (auto* line = qobject_cast<QLineEdit*>(WidgetOf(def)))
            connect(line, &QLineEdit::textChanged, this, [this, row] { UpdateHint(*row); });
        if (auto* box = qobject_cast<QComboBox*>(WidgetOf(def)))
            connect(box, &QComboBox::currentTextChanged, this, [this, row] { UpdateHint(*row); });
    }
    QTimer::singleShot(0, this, [this] { LoadWorkshopPorts(); });
    ScheduleChangeMarks(); // and the header preview of the machine shown
    for (QAbstractButton* button : stack_->findChildren<QAbstractButton*>()) {
        if (button->isCheckable())
            connect(button, &QAbstractButton::toggled, this, [this] { ScheduleChangeMarks(); });
    }
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
    // No model is chosen any more: the previous model's information goes with it.
    if (infoBox_ != nullptr) infoBox_->clear();
    const std::optional<SyntaxPreset> preset = catalogue_.FNSyntaxPreset(code);
    if (!preset) return;

    // What each field of the preset showed before, to tell the user what the preset changed.
    std::vector<std::pair<QWidget*, QString>> before;
    auto shown = [](QWidget* w) {
        if (auto* line = qobject_cast<QLineEdit*>(w)) return line->text();
        if (auto* check = qobject_cast<QCheckBox*>(w))
            return QString(check->isChecked() ? QLatin1Char('1') : QLatin1Char('0'));
        return QString();
    };
    auto fieldOf = [this](const char* key) -> QWidget* {
        const FieldDef* def = FindFieldForKey("SYNTAXE_MO", key);
        return def == nullptr ? nullptr : Control(QString::fromUtf8(def->Array), def->Member);
    };
    QStringList refused;
    for (const auto& [key, value] : preset->Fields) {
        auto* line = qobject_cast<QLineEdit*>(fieldOf(key.c_str()));
        if (line == nullptr) continue;
        before.emplace_back(line, line->text());
        QString text = Q(value);
        // A catalogue value that the field could not store is not shown as if it were.
        if (const QValidator* validator = line->validator(); validator != nullptr && !text.isEmpty()) {
            int pos = 0;
            if (validator->validate(text, pos) != QValidator::Acceptable) {
                refused << FieldCaption(line) + QStringLiteral(" (") + Q(value) + QLatin1Char(')');
                text.clear();
            } else {
                text = NormalNumberText(text);
            }
        }
        line->setText(text);
    }
    auto setFlag = [&](const char* key, bool value) {
        if (auto* check = qobject_cast<QCheckBox*>(fieldOf(key))) {
            before.emplace_back(check, shown(check));
            check->setChecked(value);
        }
    };
    setFlag("ForceSepDec", preset->ForceSepDec);
    setFlag("IJRel", preset->IJRel);

    QList<QWidget*> changed;
    QStringList captions;
    for (const auto& [field, was] : before) {
        if (shown(field) == was) continue;
        changed << field;
        captions << FieldCaption(field);
    }
    MarkPresetFields(changed);
    using TK_TRANSLATE::TranslateText;
    std::string status = captions.isEmpty()
                             ? TranslateText("Groupe x1x : aucun champ modifié.", kDicoSection,
                                             groups->currentText().toStdString())
                             : TranslateText("Groupe x1x : champs modifiés : x2x.", kDicoSection,
                                             groups->currentText().toStdString(),
                                             captions.join(QStringLiteral(", ")).toStdString());
    if (!refused.isEmpty()) {
        status += " " + TranslateText("Valeurs du catalogue refusées, champs vidés : x1x.", kDicoSection,
                                      refused.join(QStringLiteral(", ")).toStdString());
    }
    ShowStatus(Q(status));
}

void frmKirva::OnModelChosen(int index) {
    auto* models = qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 3));
    if (models == nullptr || index < 0 || infoBox_ == nullptr) return;
    CatalogueWidgets::ShowInformation(infoBox_, state_.Settings.PathDirData,
                                      static_cast<int>(InfoFileKind::Model),
                                      models->itemText(index).toStdString());
}

// ====================================================================== input rules

void frmKirva::InstallInputRules() {
    for (const FieldDef& def : FieldTable()) {
        const std::optional<NumberRule> rule = NumberRuleOf(def);
        if (!rule) continue;
        // The field's own validator gives way to the one that knows what the record keeps.
        if (QLineEdit* line = TextBoxOf(WidgetOf(def))) line->setValidator(new NumberValidator(*rule, line));
    }
    if (const FieldDef* start = FindField("cboDnc", 31)) {
        const StartCompanions companions = StartConditionCompanions(*start);
        const QString array = QString::fromUtf8(companions.Array);
        if (auto* character = qobject_cast<QLineEdit*>(Control(array, companions.Character)))
            character->setValidator(new StartCharacterValidator(character));
        if (auto* wait = qobject_cast<QLineEdit*>(Control(array, companions.WaitTime)))
            wait->setValidator(new WaitTimeValidator(wait));
    }
    (new WheelGuard(this))->Guard(this);
}

void frmKirva::SettleFieldOnLeave(QWidget* control) {
    QLineEdit* line = TextBoxOf(control);
    const auto* rule = line == nullptr ? nullptr : dynamic_cast<const NumberValidator*>(line->validator());
    if (rule == nullptr || line->text().isEmpty()) return;
    QString text = line->text();
    int pos = 0;
    QValidator::State state = rule->validate(text, pos);
    if (state != QValidator::Acceptable) {
        rule->fixup(text);
        state = rule->validate(text, pos);
    }
    if (state == QValidator::Acceptable) {
        // Shown as the record gives it back: "007" is 7, "0.50" is 0.5.
        const QString normal = NormalNumberText(text);
        if (normal != line->text()) line->setText(normal);
        return;
    }
    // Nothing storable ("-", "."): the value the field held when it was entered comes back.
    QString previous = control->property(kTextOnEntry).toString();
    if (rule->validate(previous, pos) != QValidator::Acceptable) previous.clear();
    const QString typed = line->text();
    line->setText(previous);
    ShowStatus(Q(TK_TRANSLATE::TranslateText("« x1x » n'est pas un nombre : x2x reprend sa valeur « x3x ».",
                                             kDicoSection, typed.toStdString(),
                                             FieldCaption(control).toStdString(), previous.toStdString())));
}

void frmKirva::MarkPresetFields(const QList<QWidget*>& changed) {
    QHash<QWidget*, QLabel*> labelOf;
    for (QLabel* label : findChildren<QLabel*>()) {
        if (label->buddy() != nullptr) labelOf.insert(label->buddy(), label);
    }
    for (QWidget* field : changed) {
        // A check box is its own label.
        QWidget* caption = labelOf.value(field, nullptr);
        if (caption == nullptr) caption = field;
        if (!caption->property(kPaletteBeforeMark).isValid()) {
            caption->setProperty(kPaletteBeforeMark, QVariant::fromValue(caption->palette()));
        }
        QPalette marked = caption->palette();
        marked.setColor(QPalette::WindowText, PresetMarkColour());
        caption->setPalette(marked);
        if (field->property(kMarkWatched).toBool()) continue;
        field->setProperty(kMarkWatched, true);
        // The mark stays until the user edits the field.
        auto unmark = [caption] {
            const QVariant saved = caption->property(kPaletteBeforeMark);
            if (!saved.isValid()) return;
            caption->setPalette(saved.value<QPalette>());
            caption->setProperty(kPaletteBeforeMark, QVariant());
        };
        if (auto* line = qobject_cast<QLineEdit*>(field))
            connect(line, &QLineEdit::textEdited, caption, unmark);
        if (auto* check = qobject_cast<QCheckBox*>(field))
            connect(check, &QCheckBox::clicked, caption, unmark);
    }
}

} // namespace kirva
