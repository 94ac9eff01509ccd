#include "editor/ChannelsPanel.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>

#include "app/messages.h"

namespace kirva {

ChannelsPanel::ChannelsPanel(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("ChannelsPanel"));
    auto* frame = new QGroupBox(QStringLiteral("Edition Mutli-canaux :"), this);
    frame->setObjectName(QStringLiteral("FraCanaux"));

    lbCanaux_ = new QListWidget(frame);
    lbCanaux_->setObjectName(QStringLiteral("LbCanaux"));

    static const char* const kLabels[4] = {"Nom Canal :", "Numéro Canal :", "Prefixe :", "Suffixe :"};
    auto* fields = new QGridLayout;
    for (int i = 0; i < 4; ++i) {
        txtCanaux_[i] = new QLineEdit(frame);
        txtCanaux_[i]->setObjectName(QStringLiteral("txtCanaux_%1").arg(i));
        auto* label = new QLabel(QString::fromUtf8(kLabels[i]), frame);
        label->setBuddy(txtCanaux_[i]);
        fields->addWidget(label, i, 0);
        fields->addWidget(txtCanaux_[i], i, 1);
    }
    fields->setRowStretch(4, 1);

    static const char* const kButtons[3] = {"Ajouter", "Modifier", "Supprimer"};
    auto* buttons = new QHBoxLayout;
    QPushButton* cmd[3];
    for (int i = 0; i < 3; ++i) {
        cmd[i] = new QPushButton(QString::fromUtf8(kButtons[i]), frame);
        cmd[i]->setObjectName(QStringLiteral("CmdCanaux_%1").arg(i));
        buttons->addWidget(cmd[i]);
    }
    buttons->addStretch();

    auto* grid = new QGridLayout(frame);
    grid->addWidget(lbCanaux_, 0, 0);
    grid->addLayout(fields, 0, 1);
    grid->addLayout(buttons, 1, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 2);
    auto* outer = new QHBoxLayout(this);
    outer->addWidget(frame);

    setTabOrder(lbCanaux_, txtCanaux_[0]);
    for (int i = 0; i < 3; ++i) setTabOrder(txtCanaux_[i], txtCanaux_[i + 1]);
    setTabOrder(txtCanaux_[3], cmd[0]);
    setTabOrder(cmd[0], cmd[1]);
    setTabOrder(cmd[1], cmd[2]);

    connect(lbCanaux_, &QListWidget::currentRowChanged, this, [this] { ShowSelected(); });
    connect(cmd[0], &QPushButton::clicked, this, [this] { AddFromFields(); });
    connect(cmd[1], &QPushButton::clicked, this, [this] { ModifyFromFields(); });
    connect(cmd[2], &QPushButton::clicked, this, [this] { DeleteFromFields(); });
}

void ChannelsPanel::Load(const std::string& telvarPath) {
    list_.Init(telvarPath);
    Refill();
}

void ChannelsPanel::Refill() {
    const QSignalBlocker block(lbCanaux_);
    lbCanaux_->clear();
    for (std::int32_t i = 1; i <= list_.NbElt(); ++i)
        lbCanaux_->addItem(QString::fromStdString(list_.FNGetRefCanal(i)));
}

void ChannelsPanel::Select(const std::string& name) {
    const auto found =
        lbCanaux_->findItems(QString::fromStdString(name), Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (!found.isEmpty()) lbCanaux_->setCurrentItem(found.front());
}

void ChannelsPanel::ShowSelected() {
    QListWidgetItem* item = lbCanaux_->currentItem();
    if (item == nullptr) return;
    const std::string name = item->text().toStdString();
    txtCanaux_[0]->setText(item->text());
    txtCanaux_[1]->setText(QString::number(list_.FNGetNumCanal(name)));
    txtCanaux_[2]->setText(QString::fromStdString(list_.FNGetPref(name)));
    txtCanaux_[3]->setText(QString::fromStdString(list_.FNGetSuff(name)));
}

void ChannelsPanel::AddFromFields() {
    list_.Add(txtCanaux_[0]->text().toStdString(), ChannelNumberFromText(txtCanaux_[1]->text().toStdString()),
              txtCanaux_[2]->text().toStdString(), txtCanaux_[3]->text().toStdString());
    Refill();
    lbCanaux_->setCurrentRow(lbCanaux_->count() - 1);
}

void ChannelsPanel::ModifyFromFields() {
    QListWidgetItem* item = lbCanaux_->currentItem();
    const std::string oldName = item != nullptr ? item->text().toStdString() : std::string();
    const std::string name = txtCanaux_[0]->text().toStdString();
    const int before = list_.NbElt();
    if (!list_.Modif(oldName, name, ChannelNumberFromText(txtCanaux_[1]->text().toStdString()),
                     txtCanaux_[2]->text().toStdString(), txtCanaux_[3]->text().toStdString())) {
        ShowMessage("Le nom x1x est déjà utilisé !", IconCritical, MsgButtons::Ok, name);
        return;
    }
    Refill();
    if (list_.NbElt() > before)
        lbCanaux_->setCurrentRow(lbCanaux_->count() - 1);
    else
        Select(name);
}

void ChannelsPanel::DeleteFromFields() {
    list_.Delete(txtCanaux_[0]->text().toStdString());
    Refill();
}

} // namespace kirva
