#include "editor/frmKirva.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QDoubleValidator>
#include <QFileInfo>
#include <QFormLayout>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QTextEdit>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <map>

#include "editor/ActivityChannelsPanel.h"
#include "editor/BrowseTable.h"
#include "editor/CatalogueWidgets.h"
#include "editor/ChannelsPanel.h"
#include "editor/FieldRules.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PanelTree.h"
#include "editor/PingWidgets.h"
#include "editor/PlansPanel.h"
#include "editor/TranslateForm.h"
#include "editor/WorkshopActivities.h"
#include "ini/helpers.h"
#include "machine/TelvarFile.h"
#include "translate/translate.h"

namespace kirva {

namespace {

QString Tr(const char* text) {
    return QString::fromStdString(TK_TRANSLATE::TranslateText(text, kDicoSection));
}

QString Q(const std::string& text) {
    return QString::fromStdString(text);
}

// Captions of the command buttons cmdExit 0..13 (member 0 is set to "&Ajouter" or "&Modifier").
constexpr std::array<const char*, 14> kCommandCaptions{"&Ajouter",
                                                       "&Annuler",
                                                       "&Créer...",
                                                       "&Créer...",
                                                       "&Ping !",
                                                       "Paramètres standards",
                                                       "Paramètres standards",
                                                       "&Ok",
                                                       "&Créer...",
                                                       "&Charger...",
                                                       "&Exporter...",
                                                       "&Executer",
                                                       "&Stopper",
                                                       "&Créer..."};

// The service panel's buttons CmdService 1..5.
constexpr std::array<const char*, 5> kServiceCaptions{"Installer le service", "Etat du service",
                                                      "Désinstaller le service", "Démarrer le service",
                                                      "Arrêter le service"};

// Tabs of the information tab strip: the six themes with a panel of their own.
struct InfoTab {
    const char* Text;
    const char* Panel;
    QRgb Colour;
};
constexpr std::array<InfoTab, 6> kInfoTabs{{
    {"Général", "1", 0xFF2E6DB4},
    {"Programmation", "2", 0xFF3C8D40},
    {"DNC", "3", 0xFFC0641A},
    {"Editeur", "4", 0xFF7B4BA8},
    {"Service", "5", 0xFF5A6770},
    {"PDC, Chainage", "6", 0xFFB03A48}, // the last tab also stands for the chaining panel
}};

// A small drawn icon for information tab `index`: a coloured badge with a sign of its theme.
QIcon InfoTabIcon(int index) {
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor::fromRgba(kInfoTabs[static_cast<std::size_t>(index)].Colour));
    p.drawRoundedRect(QRectF(1, 1, 30, 30), 7, 7);
    p.setPen(QPen(Qt::white, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    switch (index) {
    case 0: // a machine: a frame on a base
        p.drawRect(QRectF(8, 8, 16, 11));
        p.drawLine(QPointF(16, 19), QPointF(16, 24));
        p.drawLine(QPointF(10, 24), QPointF(22, 24));
        break;
    case 1: // a program: lines of text
        for (int y : {9, 14, 19, 24}) p.drawLine(QPointF(8, y), QPointF(y == 24 ? 17 : 24, y));
        break;
    case 2: // a transfer: two opposite arrows
        p.drawLine(QPointF(7, 11), QPointF(24, 11));
        p.drawLine(QPointF(19, 7), QPointF(24, 11));
        p.drawLine(QPointF(25, 21), QPointF(8, 21));
        p.drawLine(QPointF(13, 25), QPointF(8, 21));
        break;
    case 3: // an editor: a pencil
        p.drawLine(QPointF(9, 23), QPointF(22, 10));
        p.drawLine(QPointF(8, 25), QPointF(12, 24));
        break;
    case 4: // a service: a power sign
        p.drawArc(QRectF(8, 9, 16, 16), 60 * 16, 300 * 16);
        p.drawLine(QPointF(16, 6), QPointF(16, 16));
        break;
    default: // a workstation: a grid
        p.drawRect(QRectF(8, 8, 16, 16));
        p.drawLine(QPointF(16, 8), QPointF(16, 24));
        p.drawLine(QPointF(8, 16), QPointF(24, 16));
        break;
    }
    return QIcon(pixmap);
}

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

// ====================================================================== opening the window

frmKirva::frmKirva(ProgramState& state, QWidget* parent)
    : QMainWindow(parent), state_(state),
      catalogue_(state.InfoCNPath.empty() ? ControlCatalogue::InDataFolder(state.Settings.PathDirData)
                                          : ControlCatalogue(state.InfoCNPath)) {
    setObjectName(QStringLiteral("frmKirva"));
    BuildWindow();
    // Captions are written in French; the dictionary gives the user's words.
    TK_TRANSLATE::TranslateForm(this, kDicoSection);
    AlignLabels();

    // 1. The tree, as wide as its longest node in the user's language.
    BuildPanelTree();
    if (auto* splitter = findChild<QSplitter*>(QStringLiteral("splitCat"))) {
        tvwCat_->resizeColumnToContents(0);
        const int treeWidth = std::max(190, tvwCat_->columnWidth(0) + 2 * tvwCat_->frameWidth() + 12);
        splitter->setSizes({treeWidth, std::max(600, width() - treeWidth)});
    }
    // 2. The catalogue's groups, the fixed lists and the other lists of the window.
    CatalogueWidgets::FillGroups(qobject_cast<QComboBox*>(Control(QStringLiteral("cboIso"), 2)), catalogue_);
    vocabularies_.Fill(state_.Settings);
    FillChoiceLists();
    // 3. and 4. Title and apply button.
    SetTitle();
    if (auto* apply = qobject_cast<QPushButton*>(Control(QStringLiteral("cmdExit"), 0))) {
        apply->setText(AddMode() ? Tr("&Ajouter") : Tr("&Modifier"));
    }
    // 5. The information tabs, then the DNC and ISO tab strips.
    SetInfoTabs();
    tabDnc_->setCurrentIndex(0);
    tabIso_->setCurrentIndex(0);
    // 6. Header caption and, in modify mode, the machine.
    if (AddMode()) {
        infoHeader_->setText(Tr("Ajouter une machine"));
    } else {
        infoHeader_->setText(Q(Machine().RefMO));
        ShowMachine(Machine(), Remonte());
    }
    // 7. The machine's lists.
    LoadMachineLists();
    // 8. What only the program manager uses is hidden for the DNC transfer program.
    if (state_.Settings.Mode == 2) HideProgramManagerFields();
    // 9. The window stays above the others.
    setProperty("Tag", QStringLiteral("topmost"));
    setWindowFlag(Qt::WindowStaysOnTopHint, true);

    SetCommandAction(4, [this] { ping_->RunTest(); });
    UpdateApplyButtons();
    ShowPanel(QStringLiteral("1"));
    if (QTreeWidgetItem* first = tvwCat_->topLevelItem(0)) {
        const QSignalBlocker block(tvwCat_);
        tvwCat_->setCurrentItem(first);
    }
}

frmKirva::~frmKirva() = default;

bool frmKirva::AddMode() const {
    return state_.Settings.AppCalling == 1;
}

void frmKirva::SetTitle() {
    using TK_TRANSLATE::TranslateText;
    std::string title = TranslateText("Configuration des Connexions Machines - Version x1x -", kDicoSection,
                                      state_.VersionText.empty() ? VersionText() : state_.VersionText);
    title += " ";
    title +=
        AddMode() ? TranslateText("Ajouter...", kDicoSection) : TranslateText("Configurer...", kDicoSection);
    setWindowTitle(Q(title));
}

void frmKirva::SetInfoTabs() {
    for (int i = 0; i < tabInfo_->count(); ++i) tabInfo_->setTabIcon(i, InfoTabIcon(i));
}

void frmKirva::BuildWindow() {
    auto* central = new QWidget(this);
    central->setObjectName(QStringLiteral("centralArea"));
    setCentralWidget(central);
    auto* outer = new QVBoxLayout(central);
    outer->setContentsMargins(8, 8, 8, 8);

    auto* splitter = new QSplitter(Qt::Horizontal);
    splitter->setObjectName(QStringLiteral("splitCat"));
    splitter->setChildrenCollapsible(false);
    outer->addWidget(splitter, 1);

    tvwCat_ = new QTreeWidget;
    tvwCat_->setObjectName(QStringLiteral("TvwCat"));
    tvwCat_->setHeaderHidden(true);
    tvwCat_->setColumnCount(1);
    tvwCat_->setMinimumWidth(170);
    tvwCat_->setRootIsDecorated(true);
    splitter->addWidget(tvwCat_);
    connect(tvwCat_, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { OnNodeChosen(item); });
    connect(tvwCat_, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* item) { OnNodeChosen(item); });

    auto* right = new QWidget;
    right->setObjectName(QStringLiteral("PanInfo"));
    auto* rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(6, 0, 0, 0);
    auto* header = new QHBoxLayout;
    infoHeader_ = new QLabel;
    infoHeader_->setObjectName(QStringLiteral("lblInfoHeader"));
    QFont big = infoHeader_->font();
    big.setPointSizeF(big.pointSizeF() * 1.35);
    big.setBold(true);
    infoHeader_->setFont(big);
    header->addWidget(infoHeader_, 1);
    tabInfo_ = new QTabBar;
    tabInfo_->setObjectName(QStringLiteral("tabInfo"));
    tabInfo_->setExpanding(false);
    tabInfo_->setDrawBase(false);
    tabInfo_->setIconSize(QSize(16, 16));
    for (const InfoTab& tab : kInfoTabs) tabInfo_->addTab(QString::fromUtf8(tab.Text));
    header->addWidget(tabInfo_);
    rightLayout->addLayout(header);
    connect(tabInfo_, &QTabBar::tabBarClicked, this, [this](int index) {
        if (index < 0 || index >= static_cast<int>(kInfoTabs.size())) return;
        const QString panel = QString::fromUtf8(kInfoTabs[static_cast<std::size_t>(index)].Panel);
        for (const TreeNodeDef& node : TreeNodes()) {
            if (panel == QString::fromUtf8(node.Panel)) {
                tvwCat_->setCurrentItem(FindTreeNode(tvwCat_, Tr(node.Text)));
            }
        }
        ShowPanel(panel);
    });

    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    rightLayout->addWidget(line);

    stack_ = new QStackedWidget;
    stack_->setObjectName(QStringLiteral("stkPanConfig"));
    rightLayout->addWidget(stack_, 1);
    int index = 0;
    for (const TreeNodeDef& node : TreeNodes()) {
        QWidget* panel = BuildPanel(index++, node.Panel, node.Text);
        panConfig_.push_back(panel);
        stack_->addWidget(panel);
    }
    splitter->addWidget(right);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({210, 1000});

    auto* bottom = new QHBoxLayout;
    bottom->addStretch();
    bottom->addWidget(CommandButton(0));
    bottom->addWidget(CommandButton(1));
    outer->addLayout(bottom);

    WatchEditingFields();
    if (auto* reference = qobject_cast<QLineEdit*>(Control(QStringLiteral("TxtTelvar"), 1))) {
        new KeyRuleFilter(this, reference, [this](const QString& textBeforeKey) {
            referenceTyped_ = !textBeforeKey.isEmpty();
            UpdateApplyButtons();
        });
    }
    resize(1180, 740);
}

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
    const KeyDef* key = FieldKey(def);
    QWidget* field = nullptr;
    QWidget* focusTarget = nullptr;

    auto numberValidator = [&](QObject* owner) -> QValidator* {
        if (key == nullptr || (def.Store == FieldStore::WindowOnly)) return nullptr;
        if (key->Kind == KeyKind::Int16 || key->Kind == KeyKind::Int32) {
            return new QIntValidator(static_cast<int>(KindMin(key->Kind)),
                                     static_cast<int>(KindMax(key->Kind)), owner);
        }
        if (key->Kind == KeyKind::Double) {
            auto* v = new QDoubleValidator(owner);
            v->setLocale(QLocale::c());
            v->setNotation(QDoubleValidator::ScientificNotation);
            return v;
        }
        return nullptr;
    };

    switch (def.Widget) {
    case FieldWidget::Line:
    case FieldWidget::Password:
    case FieldWidget::Info: {
        auto* line = new QLineEdit;
        if (def.Widget == FieldWidget::Password) line->setEchoMode(QLineEdit::PasswordEchoOnEdit);
        if (def.Widget == FieldWidget::Info) line->setEnabled(false);
        QValidator* v = numberValidator(line);
        if (v != nullptr) line->setValidator(v);
        // A number or a companion box (a character, a delay) needs no more room than a few characters.
        if (v != nullptr || def.Store == FieldStore::WindowOnly) {
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
        if (box->isEditable()) {
            if (QValidator* v = numberValidator(box)) box->setValidator(v);
        }
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

QPushButton* frmKirva::CommandButton(int member) {
    auto* button = new QPushButton(QString::fromUtf8(kCommandCaptions[static_cast<std::size_t>(member)]));
    button->setObjectName(Q(ControlName("cmdExit", member)));
    button->setEnabled(false);
    controls_.insert(button->objectName(), button);
    connect(button, &QPushButton::clicked, this, [this, member] { RunCommand(member); });
    return button;
}

QPushButton* frmKirva::BrowseButton(const BrowseDef& def) {
    const bool test = def.Kind == BrowseKind::SerialTest;
    auto* button = new QPushButton(test ? QStringLiteral("Tester le port") : QStringLiteral("Parcourir..."));
    const QString name = Q(ControlName(def.Button, def.Member));
    button->setObjectName(name);
    if (!test) button->setToolTip(QString::fromUtf8(def.Title));
    controls_.insert(name, button);
    const QString array = QString::fromUtf8(def.Button);
    const int member = def.Member;
    connect(button, &QPushButton::clicked, this, [this, array, member] { Browse(array, member); });
    return button;
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

QWidget* frmKirva::ServiceGroup() {
    auto* box = new QGroupBox(QStringLiteral("Service du Telvareur"));
    box->setObjectName(QStringLiteral("fraService"));
    auto* l = new QVBoxLayout(box);
    auto* form = new QFormLayout;
    auto* name = new QLineEdit;
    name->setObjectName(QStringLiteral("TxtService"));
    auto* label = new QLabel(QStringLiteral("Nom du service :"));
    label->setObjectName(QStringLiteral("lbl_TxtService"));
    label->setBuddy(name);
    form->addRow(label, name);
    l->addLayout(form);
    auto* buttons = new QHBoxLayout;
    for (int member = 1; member <= 5; ++member) {
        auto* button =
            new QPushButton(QString::fromUtf8(kServiceCaptions[static_cast<std::size_t>(member - 1)]));
        button->setObjectName(Q(ControlName("CmdService", member)));
        // The service commands are wired with the service module; until then they stay disabled.
        button->setEnabled(false);
        controls_.insert(button->objectName(), button);
        buttons->addWidget(button);
    }
    buttons->addStretch();
    l->addLayout(buttons);
    auto* log = new QTextEdit;
    log->setObjectName(QStringLiteral("RtbServices"));
    log->setReadOnly(true);
    log->setMinimumHeight(220);
    l->addWidget(log);
    return box;
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

void frmKirva::ReloadIsoInsertions(const QString& path) {
    isoInsert_->Load(path.toStdString());
}

QString frmKirva::MachineFolder() const {
    if (!machineDir_.isEmpty()) return machineDir_;
    if (auto* folder = qobject_cast<QLineEdit*>(Control(QStringLiteral("TxtTelvar"), 48)))
        return folder->text();
    return QString();
}

void frmKirva::WatchEditingFields() {
    focusWatcher_ = new FieldFocusWatcher(
        this, [this](QWidget* w) { CtrlGotFocus(w); }, [this](QWidget* w) { CtrlLostFocus(w); });
    for (QLineEdit* line : stack_->findChildren<QLineEdit*>()) {
        if (qobject_cast<QComboBox*>(line->parentWidget()) == nullptr) focusWatcher_->Watch(line);
    }
    for (QComboBox* box : stack_->findChildren<QComboBox*>()) focusWatcher_->Watch(box);
}

// ====================================================================== navigation

void frmKirva::BuildPanelTree() {
    const QSignalBlocker block(tvwCat_);
    kirva::BuildPanelTree(tvwCat_);
}

void frmKirva::OnNodeChosen(QTreeWidgetItem* item) {
    if (item == nullptr) return;
    const QString panel = PanelOfTag(item->data(0, kNodeTagRole).toString());
    ShowPanel(panel);
    // The information tab of the node's theme follows.
    QTreeWidgetItem* top = item;
    while (top->parent() != nullptr) top = top->parent();
    const int topIndex = std::min(tvwCat_->indexOfTopLevelItem(top), tabInfo_->count() - 1);
    const QSignalBlocker block(tabInfo_);
    if (topIndex >= 0) tabInfo_->setCurrentIndex(topIndex);
}

void frmKirva::ShowPanel(const QString& panel) {
    for (QWidget* member : panConfig_) {
        if (PanelOfTag(WidgetTag(member)) == panel) {
            stack_->setCurrentWidget(member);
            return;
        }
    }
}

void frmKirva::SetFocusOnPanOfInfo(QWidget* control) {
    for (QWidget* container = control == nullptr ? nullptr : control->parentWidget();
         container != nullptr && container != this; container = container->parentWidget()) {
        // A field on a page of a tab strip is shown with its page.
        if (auto* pages = qobject_cast<QStackedWidget*>(container->parentWidget())) {
            if (auto* tabs = qobject_cast<QTabWidget*>(pages->parentWidget()))
                tabs->setCurrentWidget(container);
        }
        if (!PanelOfTag(WidgetTag(container)).isEmpty()) {
            if (auto* pages = qobject_cast<QStackedWidget*>(container->parentWidget()))
                pages->setCurrentWidget(container);
            return;
        }
    }
}

void frmKirva::CtrlGotFocus(QWidget* control) {
    HighlightField(control);
}

void frmKirva::CtrlLostFocus(QWidget* control) {
    UnhighlightField(control);
}

void frmKirva::SetOnglet() {}

QString frmKirva::CurrentPanel() const {
    return PanelOfTag(WidgetTag(stack_->currentWidget()));
}

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

// ====================================================================== commands and field rules

void frmKirva::SetCommandAction(int member, std::function<void()> action) {
    if (member < 0 || member >= static_cast<int>(commandActions_.size())) return;
    commandActions_[static_cast<std::size_t>(member)] = std::move(action);
    UpdateApplyButtons();
}

void frmKirva::UpdateApplyButtons() {
    for (int member = 0; member < static_cast<int>(commandActions_.size()); ++member) {
        QWidget* button = Control(QStringLiteral("cmdExit"), member);
        if (button == nullptr) continue;
        bool enabled = static_cast<bool>(commandActions_[static_cast<std::size_t>(member)]);
        // The server folder can be made once the machine has a reference (one key behind).
        if (member == 2) enabled = enabled && referenceTyped_;
        button->setEnabled(enabled);
    }
}

void frmKirva::RunCommand(int member) {
    const auto& action = commandActions_[static_cast<std::size_t>(member)];
    if (action) action();
}

void frmKirva::Browse(const QString& button, int member) {
    const BrowseDef* def = FindBrowse(button.toStdString(), member);
    if (def == nullptr) return;
    QWidget* target = Control(QString::fromUtf8(def->Target), def->TargetMember);
    if (def->Kind == BrowseKind::SerialTest) {
        if (auto* port = qobject_cast<QComboBox*>(target))
            TestSerialPortAndTell(PortNumberOf(port->currentText()));
        return;
    }
    auto* field = qobject_cast<QLineEdit*>(target);
    if (field == nullptr) return;
    const QString title = Tr(def->Title);
    QString start = MachineFolder();
    if (def->Kind != BrowseKind::IsoFile && !field->text().trimmed().isEmpty()) {
        const QFileInfo current(QDir::fromNativeSeparators(field->text().trimmed()));
        start = def->Kind == BrowseKind::Folder ? current.filePath() : current.path();
    }
    if (def->Kind == BrowseKind::Folder) {
        const auto chosen = Dialogs().SelectFolder(this, title, start);
        if (!chosen) return;
        field->setText(Q(AddTrailingBackslash(QDir::toNativeSeparators(*chosen).toStdString())));
        return;
    }
    const auto chosen = Dialogs().OpenFile(this, title, start, AllFilesFilter());
    if (!chosen) return;
    field->setText(QDir::toNativeSeparators(*chosen));
    if (def->Kind == BrowseKind::IsoFile) ReloadIsoInsertions(field->text());
}

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

// ====================================================================== pictures of the panels

bool frmKirva::SaveScreenshots(const QString& folder, QString* error) {
    QDir dir(folder);
    if (!dir.exists() && !QDir().mkpath(folder)) {
        if (error) *error = QStringLiteral("cannot create the folder ") + folder;
        return false;
    }
    for (const TreeNodeDef& node : TreeNodes()) {
        if (QTreeWidgetItem* item = FindTreeNode(tvwCat_, Tr(node.Text))) tvwCat_->setCurrentItem(item);
        ShowPanel(QString::fromUtf8(node.Panel));
        QCoreApplication::processEvents();
        const QString file = dir.filePath(QString::fromUtf8(node.Panel) + QStringLiteral(".png"));
        if (!grab().save(file, "PNG")) {
            if (error) *error = QStringLiteral("cannot write ") + file;
            return false;
        }
    }
    return true;
}

} // namespace kirva
