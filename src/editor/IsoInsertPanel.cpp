#include "editor/IsoInsertPanel.h"
#include "editor/QtText.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTextEdit>
#include <QToolButton>
#include <QVBoxLayout>

#include "translate/translate.h"

namespace kirva {

namespace {

std::optional<QString> AskWithDialog(QWidget* parent, const QString& prompt) {
    bool ok = false;
    const QString title = parent != nullptr ? parent->window()->windowTitle() : QString();
    QString answer = QInputDialog::getText(parent, title, prompt, QLineEdit::Normal, QString(), &ok);
    if (!ok) return std::nullopt;
    return answer;
}

// Every change of the list first stores what the controls hold for the displayed insertion, then
// refills the list box; the controls are emptied and show the insertion selected next.
void Forget(std::string& displayed, QTextEdit* rtb, QLineEdit* bmp, QLineEdit* rac) {
    displayed.clear();
    rtb->clear();
    bmp->clear();
    rac->clear();
}

} // namespace

IsoInsertPanel::IsoInsertPanel(QWidget* parent) : QWidget(parent), input_(AskWithDialog) {
    setObjectName(QStringLiteral("IsoInsertPanel"));

    lstInsert_ = new QListWidget(this);
    lstInsert_->setObjectName(QStringLiteral("LstInsert"));
    lstInsert_->installEventFilter(this);

    auto* upDown = new QWidget(this);
    upDown->setObjectName(QStringLiteral("UpDownInsert"));
    auto* upDownLayout = new QVBoxLayout(upDown);
    upDownLayout->setContentsMargins(0, 0, 0, 0);
    upDownLayout->setSpacing(2);
    auto* up = new QToolButton(upDown);
    up->setObjectName(QStringLiteral("UpDownInsertUp"));
    up->setArrowType(Qt::UpArrow);
    up->setFocusPolicy(Qt::StrongFocus);
    up->setToolTip(Tr("Monter"));
    auto* down = new QToolButton(upDown);
    down->setObjectName(QStringLiteral("UpDownInsertDown"));
    down->setArrowType(Qt::DownArrow);
    down->setFocusPolicy(Qt::StrongFocus);
    down->setToolTip(Tr("Descendre"));
    upDownLayout->addWidget(up);
    upDownLayout->addWidget(down);
    upDownLayout->addStretch();

    rtbInsert_ = new QTextEdit(this);
    rtbInsert_->setObjectName(QStringLiteral("RtbInsert"));
    rtbInsert_->setAcceptRichText(false);
    rtbInsert_->setTabChangesFocus(true);
    rtbInsert_->setLineWrapMode(QTextEdit::NoWrap);

    txtBmp_ = new QLineEdit(this);
    txtBmp_->setObjectName(QStringLiteral("TxtTelvar_55"));
    txtRac_ = new QLineEdit(this);
    txtRac_->setObjectName(QStringLiteral("TxtTelvar_56"));
    txtRac_->setContextMenuPolicy(Qt::NoContextMenu);
    txtRac_->setAcceptDrops(false);
    txtRac_->installEventFilter(this);
    cmdRac_ = new QToolButton(this);
    cmdRac_->setObjectName(QStringLiteral("CmdRac"));
    cmdRac_->setText(QStringLiteral("..."));
    cmdRac_->setToolTip(Tr("Choisir le raccourci clavier"));
    cmdRac_->setPopupMode(QToolButton::InstantPopup);
    cmdRac_->setFocusPolicy(Qt::StrongFocus);
    BuildShortcutMenu();

    static const char* const kCaptions[5] = {nullptr, "Supprimer", "Nouveau", "Valider", "Renommer"};
    for (int i = 1; i <= 4; ++i) {
        cmd_[i] = new QPushButton(QString::fromUtf8(kCaptions[i]), this);
        cmd_[i]->setObjectName(QStringLiteral("Cmd_%1").arg(i));
    }

    auto* labelBmp = new QLabel(QStringLiteral("Image :"), this);
    labelBmp->setBuddy(txtBmp_);
    auto* labelRac = new QLabel(QStringLiteral("Raccourci clavier :"), this);
    labelRac->setBuddy(txtRac_);

    auto* fields = fields_ = new QGridLayout;
    fields->addWidget(labelBmp, 0, 0);
    fields->addWidget(txtBmp_, 0, 1, 1, 2);
    fields->addWidget(labelRac, 1, 0);
    fields->addWidget(txtRac_, 1, 1);
    fields->addWidget(cmdRac_, 1, 2);

    auto* right = new QVBoxLayout;
    right->addWidget(rtbInsert_, 1);
    right->addLayout(fields);

    auto* left = new QHBoxLayout;
    left->addWidget(lstInsert_, 1);
    left->addWidget(upDown);

    auto* buttons = new QHBoxLayout;
    for (int i : {2, 4, 1, 3}) buttons->addWidget(cmd_[i]);
    buttons->addStretch();

    auto* grid = new QGridLayout(this);
    grid->addLayout(left, 0, 0);
    grid->addLayout(right, 0, 1);
    grid->addLayout(buttons, 1, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 2);

    setTabOrder(lstInsert_, up);
    setTabOrder(up, down);
    setTabOrder(down, rtbInsert_);
    setTabOrder(rtbInsert_, txtBmp_);
    setTabOrder(txtBmp_, txtRac_);
    setTabOrder(txtRac_, cmdRac_);
    setTabOrder(cmdRac_, cmd_[2]);
    setTabOrder(cmd_[2], cmd_[4]);
    setTabOrder(cmd_[4], cmd_[1]);
    setTabOrder(cmd_[1], cmd_[3]);

    connect(lstInsert_, &QListWidget::currentRowChanged, this, [this] { OnSelectionChanged(); });
    connect(cmd_[1], &QPushButton::clicked, this, [this] { DeleteSelected(); });
    connect(cmd_[2], &QPushButton::clicked, this, [this] { AddInsertion(); });
    connect(cmd_[3], &QPushButton::clicked, this, [this] { StoreDisplayed(); });
    connect(cmd_[4], &QPushButton::clicked, this, [this] { RenameSelected(); });
    connect(up, &QToolButton::clicked, this, [this] { MoveSelected(true); });
    connect(down, &QToolButton::clicked, this, [this] { MoveSelected(false); });
}

void IsoInsertPanel::BuildShortcutMenu() {
    auto* menu = new QMenu(cmdRac_);
    menu->setObjectName(QStringLiteral("popmnuRac"));
    QAction* none = menu->addAction(Tr("Aucun raccourci"));
    connect(none, &QAction::triggered, this, [this] { SetShortcutText(QString()); });
    const auto addKeys = [&](const QString& title, const QString& prefix, bool functionKeys) {
        QMenu* sub = menu->addMenu(title);
        const int count = functionKeys ? 12 : 26;
        for (int i = 0; i < count; ++i) {
            const QString key = functionKeys ? QStringLiteral("F%1").arg(i + 1) : QString(QChar('A' + i));
            const QString text = prefix + key;
            connect(sub->addAction(text), &QAction::triggered, this, [this, text] { SetShortcutText(text); });
        }
    };
    addKeys(QStringLiteral("F1 - F12"), QString(), true);
    addKeys(QStringLiteral("Shift + F1 - F12"), QStringLiteral("Shift + "), true);
    addKeys(QStringLiteral("Ctrl + F1 - F12"), QStringLiteral("Ctrl + "), true);
    addKeys(QStringLiteral("Shift + A - Z"), QStringLiteral("Shift + "), false);
    addKeys(QStringLiteral("Ctrl + A - Z"), QStringLiteral("Ctrl + "), false);
    cmdRac_->setMenu(menu);
}

void IsoInsertPanel::AddBitmapBrowseButton(QWidget* button) {
    if (button == nullptr) return;
    button->setParent(this);
    fields_->addWidget(button, 0, 3);
    setTabOrder(txtBmp_, button);
    setTabOrder(button, txtRac_);
}

void IsoInsertPanel::SetShortcutText(const QString& text) {
    txtRac_->setText(text);
}

void IsoInsertPanel::SetInputService(InputService service) {
    input_ = service ? std::move(service) : AskWithDialog;
}

void IsoInsertPanel::Load(const std::string& path) {
    list_.Init(path);
    Refill();
    displayed_.clear();
    rtbInsert_->clear();
    txtRac_->clear();
}

bool IsoInsertPanel::Save() {
    StoreDisplayed();
    return list_.Save();
}

void IsoInsertPanel::Refill() {
    {
        const QSignalBlocker block(lstInsert_);
        lstInsert_->clear();
        for (const std::string& name : list_.RenumberByOrder())
            lstInsert_->addItem(QString::fromStdString(name));
    }
    txtBmp_->clear();
}

void IsoInsertPanel::StoreDisplayed() {
    if (displayed_.empty()) return;
    const std::string iso =
        rtbInsert_->toPlainText().replace(QStringLiteral("\n"), QStringLiteral("<R>")).toStdString();
    list_.SetKey(displayed_, iso, txtBmp_->text().toStdString(), TextToRac(txtRac_->text().toStdString()));
}

void IsoInsertPanel::OnSelectionChanged() {
    QListWidgetItem* item = lstInsert_->currentItem();
    const std::string selected = item != nullptr ? item->text().toStdString() : std::string();
    if (selected == displayed_) return;
    StoreDisplayed();
    displayed_ = selected;
    if (item != nullptr) ShowSelected();
}

void IsoInsertPanel::ShowSelected() {
    rtbInsert_->setPlainText(QString::fromStdString(list_.GetIso(displayed_))
                                 .replace(QStringLiteral("<R>"), QStringLiteral("\n")));
    txtBmp_->setText(QString::fromStdString(list_.GetBmp(displayed_)));
    txtRac_->setText(QString::fromStdString(RacToText(list_.GetRac(displayed_))));
}

void IsoInsertPanel::AddInsertion() {
    const std::optional<QString> answer = input_(this, Tr("Référence du cycle"));
    if (!answer) return;
    const std::string name = answer->trimmed().toStdString();
    if (name.empty()) return;
    StoreDisplayed();
    list_.AddIso(name);
    Refill();
    Forget(displayed_, rtbInsert_, txtBmp_, txtRac_);
    lstInsert_->setCurrentRow(lstInsert_->count() - 1);
}

void IsoInsertPanel::RenameSelected() {
    const std::optional<QString> answer = input_(this, Tr("Nouvelle référence du cycle"));
    if (!answer) return;
    const std::string name = answer->trimmed().toStdString();
    if (name.empty()) return;
    const int row = lstInsert_->currentRow();
    const std::string oldName = row >= 0 ? lstInsert_->item(row)->text().toStdString() : std::string();
    StoreDisplayed();
    list_.UpdateNameIso(oldName, name);
    Refill();
    Forget(displayed_, rtbInsert_, txtBmp_, txtRac_);
    lstInsert_->setCurrentRow(row);
}

void IsoInsertPanel::DeleteSelected() {
    const int row = lstInsert_->currentRow();
    if (row < 0 || lstInsert_->item(row)->text().isEmpty()) return;
    StoreDisplayed();
    list_.Delete(row + 1);
    Refill();
    Forget(displayed_, rtbInsert_, txtBmp_, txtRac_);
}

void IsoInsertPanel::MoveSelected(bool up) {
    const int row = lstInsert_->currentRow();
    if (row < 0) return;
    const int target = up ? row - 1 : row + 1;
    if (target < 0 || target >= lstInsert_->count()) return;
    StoreDisplayed();
    list_.SwitchOrdre(row + 1, target + 1);
    Refill();
    Forget(displayed_, rtbInsert_, txtBmp_, txtRac_);
    lstInsert_->setCurrentRow(target);
}

bool IsoInsertPanel::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (watched == txtRac_) {
            // The shortcut is set from the menu of CmdRac only; Tab still moves on.
            return key->key() != Qt::Key_Tab && key->key() != Qt::Key_Backtab;
        }
        if (watched == lstInsert_ && key->modifiers() == Qt::AltModifier &&
            (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down)) {
            MoveSelected(key->key() == Qt::Key_Up);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace kirva
