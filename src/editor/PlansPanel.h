// The reference plans panel: frame "Definition des plans :" with the plan list and the fields of
// the selected plan.
//
// Children (object names): LstPlans (QListWidget), txtPlan_0 "Nom du plan :", txtPlan_1
// "LAD Abscisses :", txtPlan_2 "LAD Ordonnées :", txtPlan_3 "Coeff Abscisses :", txtPlan_4
// "Coeff Ordonnées :" (QLineEdit), ChkPlan_0 "Programmation R" (QCheckBox), CmdPlan_0 "Ajouter",
// CmdPlan_1 "Modifier", CmdPlan_2 "Supprimer" (QPushButton), FraPlans (the QGroupBox).
#pragma once

#include <string>

#include "editor/NamedListPanel.h"
#include "lists/clsPlansPDC.h"

namespace kirva {

class PlansPanel : public NamedListPanel {
    Q_OBJECT

  public:
    explicit PlansPanel(QWidget* parent = nullptr);

    // Loads section "PLANS" of the machine's Telvar.ini (a missing file gives an empty list that
    // is saved to that path later).
    void Load(const std::string& telvarPath);
    // Writes section "PLANS" (gone when there is no plan). False when the file could not be written.
    bool Save() { return list_.Save(); }
    clsPlansPDC& List() { return list_; }

    // Refill, ShowSelected (the plan selected in LstPlans) and AddFromFields, ModifyFromFields,
    // DeleteFromFields (CmdPlan_0, CmdPlan_1, CmdPlan_2) come from NamedListPanel.

  private:
    int RecordCount() override { return list_.NbElt(); }
    std::string NameAt(int position) override { return list_.FNGetRefPlan(position); }
    void ShowRecord(const std::string& name) override;
    void AddRecord() override;
    bool ModifyRecord(const std::string& oldName) override;
    void DeleteRecord(const std::string& name) override { list_.DeletePlan(name); }

    clsPlansPDC list_;
};

} // namespace kirva
