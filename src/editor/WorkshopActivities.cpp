#include "editor/WorkshopActivities.h"
#include "editor/QtText.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "translate/translate.h"

namespace kirva {

namespace {

enum Column { ColCode = 0, ColRef = 1, ColCar = 2 };

std::int32_t CodeOf(const QString& text) {
    return ParseInt32(Trim(text.toStdString())).value_or(0);
}

} // namespace

WorkshopActivities::WorkshopActivities(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    table_ = new QTableWidget(0, 3);
    table_->setObjectName(QStringLiteral("tblActivity"));
    // Column titles are not captions of the window: they are translated here.
    table_->setHorizontalHeaderLabels({Tr("Code"), Tr("Référence"), Tr("Caractère")});
    table_->horizontalHeader()->setSectionResizeMode(ColRef, QHeaderView::Stretch);
    table_->verticalHeader()->setVisible(false);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setTabKeyNavigation(false);
    table_->setMinimumHeight(140);
    layout->addWidget(table_);

    auto* buttons = new QHBoxLayout;
    auto* add = new QPushButton(QStringLiteral("Ajouter une activité"));
    add->setObjectName(QStringLiteral("cmdActivity_0"));
    auto* del = new QPushButton(QStringLiteral("Supprimer l'activité"));
    del->setObjectName(QStringLiteral("cmdActivity_1"));
    buttons->addWidget(add);
    buttons->addWidget(del);
    buttons->addStretch();
    layout->addLayout(buttons);
    connect(add, &QPushButton::clicked, this, &WorkshopActivities::AddRow);
    connect(del, &QPushButton::clicked, this, &WorkshopActivities::DeleteSelectedRow);
}

void WorkshopActivities::Show(const MachineConfig& machine) {
    table_->setRowCount(0);
    for (std::int32_t n = 1; n <= machine.NbActivity && static_cast<std::size_t>(n) < machine.Activity.size();
         ++n) {
        const WorkshopActivity& a = machine.Activity[static_cast<std::size_t>(n)];
        const int row = table_->rowCount();
        table_->insertRow(row);
        table_->setItem(row, ColCode, new QTableWidgetItem(QString::number(a.CodeActivity)));
        table_->setItem(row, ColRef, new QTableWidgetItem(QString::fromStdString(a.RefActivity)));
        table_->setItem(row, ColCar, new QTableWidgetItem(QString::fromStdString(a.CarActivity)));
    }
}

void WorkshopActivities::Take(MachineConfig& machine) const {
    machine.SetNbActivity(table_->rowCount());
    auto text = [this](int row, int column) {
        const QTableWidgetItem* item = table_->item(row, column);
        return item == nullptr ? QString() : item->text();
    };
    for (int row = 0; row < table_->rowCount(); ++row) {
        WorkshopActivity& a = machine.Activity[static_cast<std::size_t>(row) + 1];
        a.CodeActivity = CodeOf(text(row, ColCode));
        a.RefActivity = text(row, ColRef).toStdString();
        a.CarActivity = text(row, ColCar).toStdString();
    }
}

void WorkshopActivities::AddRow() {
    const int row = table_->rowCount();
    table_->insertRow(row);
    table_->setItem(row, ColCode, new QTableWidgetItem(QStringLiteral("0")));
    table_->setItem(row, ColRef, new QTableWidgetItem());
    table_->setItem(row, ColCar, new QTableWidgetItem());
    table_->setCurrentCell(row, ColRef);
    table_->editItem(table_->item(row, ColRef));
}

void WorkshopActivities::DeleteSelectedRow() {
    const int row = table_->currentRow();
    if (row >= 0) table_->removeRow(row);
}

} // namespace kirva
