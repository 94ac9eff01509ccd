// frmKirva: opening the window (its frame and the opening steps), the navigation between the
// panels and the pictures of the panels. Beside it: frmKirvaPanels.cpp (the panels from the field
// table), frmKirvaCommands.cpp (the buttons), frmKirvaRules.cpp (choice lists and field rules) and
// frmKirvaTransfer.cpp (the record in and out).
#include "editor/frmKirva.h"
#include "editor/QtText.h"

#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "editor/CatalogueWidgets.h"
#include "editor/FieldInput.h"
#include "editor/FieldRules.h"
#include "editor/PanelTree.h"
#include "editor/PingWidgets.h"
#include "editor/TranslateForm.h"
#include "editor/WindowFrame.h"
#include "translate/translate.h"

namespace kirva {

namespace {

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

    WireCommands();
    SetUpKeyboard();
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
    if (changedFields_ > 0) title += " *"; // the machine has changes not written yet
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
    auto* restore = new QPushButton(Tr("&Restaurer..."));
    restore->setObjectName(QStringLiteral("cmdRestore"));
    restore->setToolTip(
        Tr("Remet une copie de sauvegarde du fichier Telvar.ini de la machine (dossier backup)"));
    restore->setEnabled(!AddMode());
    connect(restore, &QPushButton::clicked, this, [this] { RestoreMachine(); });
    bottom->addWidget(restore);
    bottom->addStretch();
    bottom->addWidget(CommandButton(0));
    bottom->addWidget(CommandButton(1));
    outer->addLayout(bottom);

    WatchEditingFields();
    InstallInputRules();
    if (auto* reference = qobject_cast<QLineEdit*>(Control(QStringLiteral("TxtTelvar"), 1))) {
        new KeyRuleFilter(this, reference, [this](const QString& textBeforeKey) {
            referenceTyped_ = !textBeforeKey.isEmpty();
            UpdateApplyButtons();
        });
    }
    FitToScreen();
}

void frmKirva::FitToScreen() {
    // The size the panels are drawn for, unless the screen is smaller (a 1024x768 workshop PC):
    // then the window takes the screen's free area, borders and title bar included, and the
    // panels scroll.
    const QSize wanted(1180, 740);
    const QSize frame(16, 48);
    const QScreen* screen = this->screen();
    if (screen == nullptr) {
        resize(wanted);
        return;
    }
    const QRect available = screen->availableGeometry();
    const QSize size = BoundedWindowSize(wanted, available, frame, QSize(480, 360));
    resize(size);
    move(available.x() + std::max(0, (available.width() - size.width() - frame.width()) / 2),
         available.y() + std::max(0, (available.height() - size.height() - frame.height()) / 2));
}

void frmKirva::SetUpKeyboard() {
    auto* apply = qobject_cast<QPushButton*>(Control(QStringLiteral("cmdExit"), 0));
    auto* cancel = qobject_cast<QPushButton*>(Control(QStringLiteral("cmdExit"), 1));
    if (apply != nullptr) apply->setDefault(true);
    new WindowKeys(this, apply, cancel, [this] {
        // The apply takes the field being edited as leaving it would.
        QWidget* focus = QApplication::focusWidget();
        if (focus == nullptr) return;
        if (auto* box = qobject_cast<QComboBox*>(focus->parentWidget());
            box != nullptr && box->lineEdit() == focus)
            focus = box;
        SettleFieldOnLeave(focus);
    });
}

void frmKirva::ShowStatus(const QString& text) {
    statusBar()->showMessage(text);
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
    if (auto* line = qobject_cast<QLineEdit*>(control))
        control->setProperty(kTextOnEntry, line->text());
    else if (auto* box = qobject_cast<QComboBox*>(control))
        control->setProperty(kTextOnEntry, box->currentText());
    HighlightField(control);
}

void frmKirva::CtrlLostFocus(QWidget* control) {
    SettleFieldOnLeave(control);
    UnhighlightField(control);
}

void frmKirva::SetOnglet() {}

QString frmKirva::CurrentPanel() const {
    return PanelOfTag(WidgetTag(stack_->currentWidget()));
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
