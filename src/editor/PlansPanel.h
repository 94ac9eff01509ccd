// The reference plans panel: frame "Definition des plans :" with the plan list and the fields of
// the selected plan.
//
// Children (object names): LstPlans (QListWidget), txtPlan_0 "Nom du plan :", txtPlan_1
// "LAD Abscisses :", txtPlan_2 "LAD Ordonnées :", txtPlan_3 "Coeff Abscisses :", txtPlan_4
// "Coeff Ordonnées :" (QLineEdit), ChkPlan_0 "Programmation R" (QCheckBox), CmdPlan_0 "Ajouter",
// CmdPlan_1 "Modifier", CmdPlan_2 "Supprimer" (QPushButton), FraPlans (the QGroupBox).
#pragma once

#include <QWidget>
#include <string>

#include "lists/clsPlansPDC.h"

class QCheckBox;
class QLineEdit;
class QListWidget;

namespace kirva {

class PlansPanel : public QWidget {
    Q_OBJECT

  public:
    explicit PlansPanel(QWidget* parent = nullptr);

    // Loads section "PLANS" of the machine's Telvar.ini (a missing file gives an empty list that
    // is saved to that path later).
    void Load(const std::string& telvarPath);
    // Writes section "PLANS" (gone when there is no plan). False when the file could not be written.
    bool Save() { return list_.Save(); }
    clsPlansPDC& List() { return list_; }

    void Refill();
    // Shows the plan selected in LstPlans in the fields.
    void ShowSelected();
    // CmdPlan_0, CmdPlan_1, CmdPlan_2.
    void AddFromFields();
    void ModifyFromFields();
    void DeleteFromFields();

  private:
    void Select(const std::string& name);

    clsPlansPDC list_;
    QListWidget* lstPlans_ = nullptr;
    QLineEdit* txtPlan_[5] = {};
    QCheckBox* chkPlan_ = nullptr;
};

} // namespace kirva
