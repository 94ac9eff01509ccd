#include "editor/PlansPanel.h"

#include <QCheckBox>
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

PlansPanel::PlansPanel(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("PlansPanel"));
    auto* frame = new QGroupBox(QStringLiteral("Definition des plans :"), this);
    frame->setObjectName(QStringLiteral("FraPlans"));

    lstPlans_ = new QListWidget(frame);
    lstPlans_->setObjectName(QStringLiteral("LstPlans"));

    static const char* const kLabels[5] = {
        "Nom du plan :", "LAD Abscisses :", "LAD Ordonnées :", "Coeff Abscisses :", "Coeff Ordonnées :"};
    auto* fields = new QGridLayout;
    for (int i = 0; i < 5; ++i) {
        txtPlan_[i] = new QLineEdit(frame);
        txtPlan_[i]->setObjectName(QStringLiteral("txtPlan_%1").arg(i));
        auto* label = new QLabel(QString::fromUtf8(kLabels[i]), frame);
        label->setBuddy(txtPlan_[i]);
        fields->addWidget(label, i, 0);
        fields->addWidget(txtPlan_[i], i, 1);
    }
    chkPlan_ = new QCheckBox(QStringLiteral("Programmation R"), frame);
    chkPlan_->setObjectName(QStringLiteral("ChkPlan_0"));
    fields->addWidget(chkPlan_, 5, 1);
    fields->setRowStretch(6, 1);

    static const char* const kButtons[3] = {"Ajouter", "Modifier", "Supprimer"};
    auto* buttons = new QHBoxLayout;
    QPushButton* cmd[3];
    for (int i = 0; i < 3; ++i) {
        cmd[i] = new QPushButton(QString::fromUtf8(kButtons[i]), frame);
        cmd[i]->setObjectName(QStringLiteral("CmdPlan_%1").arg(i));
        buttons->addWidget(cmd[i]);
    }
    buttons->addStretch();

    auto* grid = new QGridLayout(frame);
    grid->addWidget(lstPlans_, 0, 0);
    grid->addLayout(fields, 0, 1);
    grid->addLayout(buttons, 1, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 2);
    auto* outer = new QHBoxLayout(this);
    outer->addWidget(frame);

    setTabOrder(lstPlans_, txtPlan_[0]);
    for (int i = 0; i < 4; ++i) setTabOrder(txtPlan_[i], txtPlan_[i + 1]);
    setTabOrder(txtPlan_[4], chkPlan_);
    setTabOrder(chkPlan_, cmd[0]);
    setTabOrder(cmd[0], cmd[1]);
    setTabOrder(cmd[1], cmd[2]);

    connect(lstPlans_, &QListWidget::currentRowChanged, this, [this] { ShowSelected(); });
    connect(cmd[0], &QPushButton::clicked, this, [this] { AddFromFields(); });
    connect(cmd[1], &QPushButton::clicked, this, [this] { ModifyFromFields(); });
    connect(cmd[2], &QPushButton::clicked, this, [this] { DeleteFromFields(); });
}

void PlansPanel::Load(const std::string& telvarPath) {
    list_.Init(telvarPath);
    Refill();
}

void PlansPanel::Refill() {
    const QSignalBlocker block(lstPlans_);
    lstPlans_->clear();
    for (std::int32_t i = 1; i <= list_.NbElt(); ++i)
        lstPlans_->addItem(QString::fromStdString(list_.FNGetRefPlan(i)));
}

void PlansPanel::Select(const std::string& name) {
    const auto found =
        lstPlans_->findItems(QString::fromStdString(name), Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (!found.isEmpty()) lstPlans_->setCurrentItem(found.front());
}

void PlansPanel::ShowSelected() {
    QListWidgetItem* item = lstPlans_->currentItem();
    if (item == nullptr) return;
    const std::string name = item->text().toStdString();
    txtPlan_[0]->setText(item->text());
    txtPlan_[1]->setText(QString::fromStdString(list_.FNGetLadX(name)));
    txtPlan_[2]->setText(QString::fromStdString(list_.FNGetLadY(name)));
    txtPlan_[3]->setText(QString::fromStdString(CoefficientToText(list_.FNGetCoeffX(name))));
    txtPlan_[4]->setText(QString::fromStdString(CoefficientToText(list_.FNGetCoeffY(name))));
    chkPlan_->setChecked(list_.FNGetProgR(name));
}

void PlansPanel::AddFromFields() {
    list_.AddPlan(txtPlan_[0]->text().toStdString(), txtPlan_[1]->text().toStdString(),
                  txtPlan_[2]->text().toStdString(), CoefficientFromText(txtPlan_[3]->text().toStdString()),
                  CoefficientFromText(txtPlan_[4]->text().toStdString()), chkPlan_->isChecked());
    Refill();
    lstPlans_->setCurrentRow(lstPlans_->count() - 1);
}

void PlansPanel::ModifyFromFields() {
    QListWidgetItem* item = lstPlans_->currentItem();
    const std::string oldName = item != nullptr ? item->text().toStdString() : std::string();
    const std::string name = txtPlan_[0]->text().toStdString();
    const int before = list_.NbElt();
    if (!list_.ModifPlan(oldName, name, txtPlan_[1]->text().toStdString(), txtPlan_[2]->text().toStdString(),
                         CoefficientFromText(txtPlan_[3]->text().toStdString()),
                         CoefficientFromText(txtPlan_[4]->text().toStdString()), chkPlan_->isChecked())) {
        ShowMessage("Le nom x1x est déjà utilisé !", IconCritical, MsgButtons::Ok, name);
        return;
    }
    Refill();
    if (list_.NbElt() > before)
        lstPlans_->setCurrentRow(lstPlans_->count() - 1);
    else
        Select(name);
}

void PlansPanel::DeleteFromFields() {
    list_.DeletePlan(txtPlan_[0]->text().toStdString());
    Refill();
}

} // namespace kirva
