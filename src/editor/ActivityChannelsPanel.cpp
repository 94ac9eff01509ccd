#include "editor/ActivityChannelsPanel.h"

#include <QAction>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QSignalBlocker>
#include <algorithm>

#include "translate/messages.h"
#include "translate/translate.h"

namespace kirva {

namespace {

std::string& FieldOf(AnalysisChannel& channel, int field) {
    return field == 0 ? channel.RefCanal : field == 1 ? channel.CodeCanal : channel.CarCanal;
}

QListWidgetItem* NewItem(const QString& text) {
    auto* item = new QListWidgetItem(text);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    return item;
}

} // namespace

ActivityChannelsPanel::ActivityChannelsPanel(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("ActivityChannelsPanel"));

    auto* caption = new QLabel(QStringLiteral("Liste des Canaux d'analyse de l'activité :"), this);
    caption->setObjectName(QStringLiteral("lblCanal"));
    lvwCanal_ = new QListWidget(this);
    lvwCanal_->setObjectName(QStringLiteral("lvwCanal"));
    lvwCanal_->setViewMode(QListView::ListMode);
    lvwCanal_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::DoubleClicked |
                               QAbstractItemView::SelectedClicked);
    lvwCanal_->setContextMenuPolicy(Qt::CustomContextMenu);
    caption->setBuddy(lvwCanal_);

    popmnuCanal_ = new QMenu(this);
    popmnuCanal_->setObjectName(QStringLiteral("popmnuCanal"));
    static const char* const kEntries[3] = {"Ajouter", "Supprimer", "Modifier"};
    QAction* entries[3];
    for (int i = 0; i < 3; ++i) {
        entries[i] = popmnuCanal_->addAction(QString::fromUtf8(kEntries[i]));
        entries[i]->setObjectName(QStringLiteral("mnuCanal_%1").arg(i));
    }

    static const char* const kLabels[3] = {"Référence du canal :", "Code du canal :", "Caractères :"};
    auto* grid = new QGridLayout(this);
    grid->addWidget(caption, 0, 0, 1, 3);
    grid->addWidget(lvwCanal_, 1, 0, 5, 1);
    for (int i = 0; i < 3; ++i) {
        txtField_[i] = new QLineEdit(this);
        txtField_[i]->setObjectName(QStringLiteral("txtCanalAnalyse_%1").arg(i));
        auto* label = new QLabel(QString::fromUtf8(kLabels[i]), this);
        label->setBuddy(txtField_[i]);
        grid->addWidget(label, 1 + i, 1);
        grid->addWidget(txtField_[i], 1 + i, 2);
        connect(txtField_[i], &QLineEdit::textEdited, this,
                [this, i](const QString& text) { OnFieldEdited(i, text); });
    }
    auto* hint = new QLabel(QStringLiteral("(Code > 1000)"), this);
    hint->setObjectName(QStringLiteral("lblCodeCanal"));
    grid->addWidget(hint, 2, 3);
    grid->setRowStretch(5, 1);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(2, 1);

    setTabOrder(lvwCanal_, txtField_[0]);
    setTabOrder(txtField_[0], txtField_[1]);
    setTabOrder(txtField_[1], txtField_[2]);

    connect(lvwCanal_, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& pos) { popmnuCanal_->popup(lvwCanal_->viewport()->mapToGlobal(pos)); });
    connect(entries[0], &QAction::triggered, this, [this] { AddChannel(); });
    connect(entries[1], &QAction::triggered, this, [this] { DeleteSelected(); });
    connect(entries[2], &QAction::triggered, this, [this] { ShowSelected(); });
    connect(lvwCanal_, &QListWidget::currentRowChanged, this, [this](int row) { ShowRecord(row); });
    connect(lvwCanal_, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
        const int row = lvwCanal_->row(item);
        if (row < 0 || row >= static_cast<int>(records_.size())) return;
        records_[static_cast<std::size_t>(row)].RefCanal = item->text().toStdString();
        if (row == shown_) txtField_[0]->setText(item->text());
    });
}

void ActivityChannelsPanel::SetChannels(const std::vector<AnalysisChannel>& channels) {
    records_.assign(channels.begin(), channels.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                             channels.size(), kMaxAnalysisChannels)));
    {
        const QSignalBlocker block(lvwCanal_);
        lvwCanal_->clear();
        for (const AnalysisChannel& channel : records_)
            lvwCanal_->addItem(NewItem(QString::fromStdString(channel.RefCanal)));
    }
    ShowRecord(-1);
}

void ActivityChannelsPanel::AddChannel() {
    if (records_.size() >= kMaxAnalysisChannels) {
        ShowMessage("Le nombre maximal de canaux est atteint !", IconCritical);
        return;
    }
    const std::string text = TK_TRANSLATE::TranslateText("REFERENCE DU CANAL", kDicoSection);
    records_.push_back(AnalysisChannel{text, "", ""});
    {
        const QSignalBlocker block(lvwCanal_);
        lvwCanal_->addItem(NewItem(QString::fromStdString(text)));
    }
    lvwCanal_->setCurrentRow(lvwCanal_->count() - 1);
}

void ActivityChannelsPanel::DeleteSelected() {
    if (ShowMessage("Voulez-vous supprimer le canal sélectionné ?", IconQuestion, MsgButtons::YesNo) !=
        MsgAnswer::Yes)
        return;
    const int row = lvwCanal_->currentRow();
    if (row < 0 || row >= static_cast<int>(records_.size())) return;
    records_.erase(records_.begin() + row);
    {
        const QSignalBlocker block(lvwCanal_);
        delete lvwCanal_->takeItem(row);
    }
    ShowRecord(lvwCanal_->currentRow());
}

void ActivityChannelsPanel::ShowSelected() {
    ShowRecord(lvwCanal_->currentRow());
    if (shown_ >= 0) txtField_[0]->setFocus();
}

void ActivityChannelsPanel::ShowRecord(int row) {
    shown_ = row >= 0 && row < static_cast<int>(records_.size()) ? row : -1;
    for (int i = 0; i < 3; ++i) {
        txtField_[i]->setText(
            shown_ >= 0 ? QString::fromStdString(FieldOf(records_[static_cast<std::size_t>(shown_)], i))
                        : QString());
        txtField_[i]->setEnabled(shown_ >= 0);
    }
}

void ActivityChannelsPanel::TakeShownChannel() {
    if (shown_ < 0) return;
    for (int i = 0; i < 3; ++i) OnFieldEdited(i, txtField_[i]->text());
    lvwCanal_->setCurrentRow(shown_);
    lvwCanal_->setFocus();
}

void ActivityChannelsPanel::OnFieldEdited(int field, const QString& text) {
    if (shown_ < 0) return;
    FieldOf(records_[static_cast<std::size_t>(shown_)], field) = text.toStdString();
    if (field == 0) {
        const QSignalBlocker block(lvwCanal_);
        lvwCanal_->item(shown_)->setText(text);
    }
}

} // namespace kirva
