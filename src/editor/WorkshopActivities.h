// The machine's workshop activities (section "WORKSHOP ACTIVITY" of Telvar.ini): one table row
// an activity with its code, reference and character, and two buttons to add and delete rows.
//
// Children (object names): tblActivity (QTableWidget, columns code, reference, character),
// cmdActivity_0 "Ajouter une activité", cmdActivity_1 "Supprimer l'activité" (QPushButton).
#pragma once

#include <QWidget>

#include "machine/MachineConfig.h"

class QTableWidget;

namespace kirva {

class WorkshopActivities : public QWidget {
    Q_OBJECT

  public:
    explicit WorkshopActivities(QWidget* parent = nullptr);

    // Activities 1..NbActivity of the record, one row each, in order.
    void Show(const MachineConfig& machine);
    // The rows into the record (NbActivity and the activities); a code is read as a number.
    void Take(MachineConfig& machine) const;

    void AddRow();
    void DeleteSelectedRow();

  private:
    QTableWidget* table_ = nullptr;
};

} // namespace kirva
