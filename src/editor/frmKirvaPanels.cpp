// frmKirva: the panels laid out from the field table (groups, tab pages, one row per field with
// the buttons that go with it), and what some panels add to their fields: the list panels, rows
// of command buttons and the model information box.
#include "editor/QtText.h"
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QTextEdit>
#include <QVBoxLayout>
#include <algorithm>
#include <map>

#include "editor/ActivityChannelsPanel.h"
#include "editor/BrowseTable.h"
#include "editor/CatalogueWidgets.h"
#include "editor/ChannelsPanel.h"
#include "editor/FieldInput.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PanelTree.h"
#include "editor/PingWidgets.h"
#include "editor/PlansPanel.h"
#include "editor/WorkshopActivities.h"
#include "editor/frmKirva.h"

namespace kirva {

namespace {

// The label of a field: the labels of the Telvar arrays are members of lblTelvar (the label of
// TxtTelvar n is lblTelvar n, that of cboTelvar n is lblTelvar 200 + n); the others are named
// "lbl_" + the field's name.
QString LabelName(const FieldDef& def) {
    const std::string_view array = def.Array;
    if (array == "TxtTelvar") return Q(ControlName("lblTelvar", def.Member));
    if (array == "cboTelvar") return Q(ControlName("lblTelvar", 200 + def.Member));
    return QStringLiteral("lbl_") + Q(FieldObjectName(def));
}

QLayout* Row(std::initializer_list<QWidget*> widgets, bool stretchFirst) {
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    bool first = true;
    for (QWidget* w : widgets) {
        row->addWidget(w, first && stretchFirst ? 1 : 0);
        first = false;
    }
    if (!stretchFirst) row->addStretch();
    return row;
}

QWidget* Wrap(QLayout* layout) {
    auto* w = new QWidget;
    w->setLayout(layout);
    return w;
}

// The tab widget of a "tabX/Page" group, and the page title.
bool SplitTabGroup(const QString& group, QString& tabName, QString& page) {
    const int slash = group.indexOf(QLatin1Char('/'));
    if (!group.startsWith(QStringLiteral("tab")) || slash < 0) return false;
    tabName = group.left(slash);
    page = group.mid(slash + 1);
    return true;
}

} // namespace

// ====================================================================== panels from the field table

QWidget* frmKirva::BuildPanel(int index, const char* panel, const char* text) {
    auto* area = new QScrollArea;
    area->setObjectName(QStringLiteral("PanConfig_%1").arg(index));
    area->setProperty("Tag", PanelTag(panel));
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);

    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("PanContent_%1").arg(index));
    content->setMaximumWidth(1100);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(4, 4, 12, 4);
    auto* heading = new QLabel(QString::fromUtf8(text));
    heading->setObjectName(QStringLiteral("lblPanel_%1").arg(index));
    QFont font = heading->font();
    font.setPointSizeF(font.pointSizeF() * 1.2);
    font.setBold(true);
    heading->setFont(font);
    layout->addWidget(heading);

    const QString number = QString::fromUtf8(panel);
    std::vector<QString> groups; // in order of first appearance
    for (const FieldDef& def : FieldTable()) {
        if (number != QString::fromUtf8(def.Panel)) continue;
        const QString group = QString::fromUtf8(def.Group);
        if (std::find(groups.begin(), groups.end(), group) == groups.end()) groups.push_back(group);
    }
    std::map<QString, QTabWidget*> tabs;
    for (const QString& group : groups) {
        auto* form = new QFormLayout;
        form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
        form->setRowWrapPolicy(QFormLayout::DontWrapRows);
        form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        QString tabName;
        QString page;
        if (SplitTabGroup(group, tabName, page)) {
            QTabWidget*& tab = tabs[tabName];
            if (tab == nullptr) {
                tab = new QTabWidget;
                tab->setObjectName(tabName);
                layout->addWidget(tab);
                if (tabName == QStringLiteral("tabDnc")) tabDnc_ = tab;
                if (tabName == QStringLiteral("tabIso")) tabIso_ = tab;
            }
            auto* pageWidget = new QWidget;
            pageWidget->setObjectName(tabName + QStringLiteral("_%1").arg(tab->count()));
            pageWidget->setLayout(form);
            tab->addTab(pageWidget, page);
        } else {
            auto* box = new QGroupBox(group);
            box->setObjectName(QStringLiteral("fra_%1_%2").arg(index).arg(layout->count()));
            box->setLayout(form);
            layout->addWidget(box);
        }
        for (const FieldDef& def : FieldTable()) {
            if (number == QString::fromUtf8(def.Panel) && group == QString::fromUtf8(def.Group))
                AddFieldRow(form, def);
        }
        AddGroupExtras(number, group, form);
    }
    AddPanelExtras(number, layout);
    layout->addStretch(1);
    area->setWidget(content);
    return area;
}

void frmKirva::AddFieldRow(QFormLayout* form, const FieldDef& def) {
    const QString name = Q(FieldObjectName(def));
    QWidget* field = nullptr;
    QWidget* focusTarget = nullptr;

    switch (def.Widget) {
    case FieldWidget::Line:
    case FieldWidget::Password:
    case FieldWidget::Info: {
        auto* line = new QLineEdit;
        if (def.Widget == FieldWidget::Password) line->setEchoMode(QLineEdit::PasswordEchoOnEdit);
        if (def.Widget == FieldWidget::Info) line->setEnabled(false);
        // A number or a companion box (a character, a delay) needs no more room than a few characters
        // (what each field lets in is set by frmKirva::InstallInputRules).
        if (NumberRuleOf(def) || def.Store == FieldStore::WindowOnly) {
            line->setMaximumWidth(line->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 14);
        }
        field = line;
        break;
    }
    case FieldWidget::Combo:
    case FieldWidget::EditCombo: {
        auto* box = new QComboBox;
        box->setEditable(def.Widget == FieldWidget::EditCombo);
        box->setInsertPolicy(QComboBox::NoInsert);
        // As wide as its longest entry, never narrower than a few characters.
        box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
        box->setMinimumContentsLength(box->isEditable() ? 12 : 6);
        box->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
        field = box;
        break;
    }
    case FieldWidget::Check: {
        field = new QCheckBox(QString::fromUtf8(def.Label));
        break;
    }
    case FieldWidget::Options: {
        auto* holder = new QWidget;
        holder->setObjectName(name + QStringLiteral("_group"));
        auto* row = new QHBoxLayout(holder);
        row->setContentsMargins(0, 0, 0, 0);
        auto* group = new QButtonGroup(holder);
        int member = def.Member;
        for (const ListItem& item : ListItems(def.List, state_.Settings)) {
            auto* option = new QRadioButton(Q(item.Entry));
            const QString optionName = Q(ControlName(def.Array, member++));
            option->setObjectName(optionName);
            option->setToolTip(Q(FieldTooltip(def, state_.Settings)));
            group->addButton(option, item.Index);
            row->addWidget(option);
            controls_.insert(optionName, option);
            if (focusTarget == nullptr) focusTarget = option;
        }
        row->addStretch();
        field = holder;
        break;
    }
    }
    if (def.Widget != FieldWidget::Options) {
        field->setObjectName(name);
        field->setToolTip(Q(FieldTooltip(def, state_.Settings)));
        focusTarget = field;
    }
    controls_.insert(field->objectName(), field);

    // Browse and test buttons that fill or use this field, and the command beside it.
    std::vector<QWidget*> beside;
    for (const BrowseDef& browse : BrowseTable()) {
        if (def.Array == std::string_view(browse.Target) && def.Member == browse.TargetMember) {
            beside.push_back(BrowseButton(browse));
        }
    }
    if (def.Command >= 0) beside.push_back(CommandButton(def.Command));
    if (FieldHasHint(def)) {
        auto* hint = new QLabel;
        hint->setObjectName(name + QStringLiteral("_hint"));
        hints_.insert(name, hint);
        beside.push_back(hint);
    }
    QWidget* rowWidget = field;
    if (!beside.empty()) {
        auto* row = new QHBoxLayout;
        row->setContentsMargins(0, 0, 0, 0);
        // A field of fixed size keeps its buttons beside it; a growing one pushes them to the right.
        const bool grows = (field->sizePolicy().horizontalPolicy() & QSizePolicy::ExpandFlag) != 0 &&
                           field->maximumWidth() == QWIDGETSIZE_MAX;
        row->addWidget(field, grows ? 1 : 0);
        for (QWidget* b : beside) row->addWidget(b);
        if (!grows) row->addStretch(1);
        rowWidget = Wrap(row);
        rowWidget->setObjectName(name + QStringLiteral("_row"));
    }

    if (def.Widget == FieldWidget::Check) {
        form->addRow(QString(), rowWidget);
    } else {
        auto* label = new QLabel(QString::fromUtf8(def.Label));
        label->setObjectName(LabelName(def));
        label->setBuddy(focusTarget);
        form->addRow(label, rowWidget);
    }
    rowOf_.insert(field->objectName(), {form, rowWidget});
}

void frmKirva::AddGroupExtras(const QString& panel, const QString& group, QFormLayout* form) {
    if (panel == QStringLiteral("1") && group == QStringLiteral("Paramètres du Telvareur :")) {
        form->addRow(QString(), Wrap(Row({CommandButton(2), CommandButton(9), CommandButton(10),
                                          CommandButton(11), CommandButton(12)},
                                         false)));
    } else if (panel == QStringLiteral("2") && group == QStringLiteral("Commande numérique")) {
        infoBox_ = CatalogueWidgets::CreateInformationBox(nullptr);
        infoBox_->setMinimumHeight(160);
        form->addRow(new QLabel(QStringLiteral("Informations sur le modèle :")), infoBox_);
    }
}

void frmKirva::AddPanelExtras(const QString& panel, QVBoxLayout* layout) {
    auto boxed = [&](const char* title, QWidget* inside, const char* objectName) {
        auto* box = new QGroupBox(QString::fromUtf8(title));
        box->setObjectName(QString::fromUtf8(objectName));
        auto* l = new QVBoxLayout(box);
        l->addWidget(inside);
        layout->addWidget(box);
        return l;
    };
    if (panel == QStringLiteral("2.1") || panel == QStringLiteral("2.2")) {
        // The header preview stands beside the syntax and the header fields it is made of.
        auto* preview = new QPlainTextEdit;
        preview->setObjectName(panel == QStringLiteral("2.1") ? QStringLiteral("RtbHeaderPreview")
                                                              : QStringLiteral("RtbHeaderPreviewCartouche"));
        preview->setReadOnly(true);
        preview->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        preview->setMaximumHeight(150);
        preview->setToolTip(
            Tr("Illustration construite à partir des champs : le début d'un programme pour cette machine"));
        headerPreviews_.push_back(preview);
        boxed("Aperçu de l'en-tête de programme", preview,
              panel == QStringLiteral("2.1") ? "fraHeaderPreview" : "fraHeaderPreviewCartouche");
    }
    if (panel == QStringLiteral("2.2")) {
        layout->addLayout(Row({CommandButton(6)}, false));
    } else if (panel == QStringLiteral("2.4")) {
        channels_ = new ChannelsPanel;
        layout->addWidget(channels_);
        analysisChannels_ = new ActivityChannelsPanel;
        QVBoxLayout* l = boxed("Analyse de l'activité", analysisChannels_, "fraCanalAnalyse");
        l->addLayout(Row({CommandButton(7)}, false));
    } else if (panel == QStringLiteral("3")) {
        layout->addLayout(Row({CommandButton(5)}, false));
    } else if (panel == QStringLiteral("3.3")) {
        ping_ = new PingWidgets;
        QVBoxLayout* l = boxed("Test réseau", ping_, "fraPing");
        l->addLayout(Row({CommandButton(4)}, false));
    } else if (panel == QStringLiteral("4.1")) {
        isoInsert_ = new IsoInsertPanel;
        boxed("Insertions ISO", isoInsert_, "fraInsert");
        if (const BrowseDef* bitmap = FindBrowse("cmdParcourir", 10)) {
            isoInsert_->AddBitmapBrowseButton(BrowseButton(*bitmap));
        }
    } else if (panel == QStringLiteral("5")) {
        layout->addWidget(ServiceGroup());
    } else if (panel == QStringLiteral("6")) {
        plans_ = new PlansPanel;
        layout->addWidget(plans_);
        activities_ = new WorkshopActivities;
        boxed("Activités de l'atelier", activities_, "fraActivity");
    }
}

void frmKirva::AlignLabels() {
    // The forms of one panel share one label column, whatever the language.
    for (QWidget* panel : panConfig_) {
        const QList<QFormLayout*> forms = panel->findChildren<QFormLayout*>();
        std::vector<QWidget*> labels;
        int width = 0;
        for (QFormLayout* form : forms) {
            for (int row = 0; row < form->rowCount(); ++row) {
                QLayoutItem* item = form->itemAt(row, QFormLayout::LabelRole);
                if (item == nullptr || item->widget() == nullptr) continue;
                labels.push_back(item->widget());
                width = std::max(width, item->widget()->sizeHint().width());
            }
        }
        for (QWidget* label : labels) label->setMinimumWidth(width);
    }
}

} // namespace kirva
