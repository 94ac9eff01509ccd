#include "editor/PlansPanel.h"

namespace kirva {

PlansPanel::PlansPanel(QWidget* parent)
    : NamedListPanel({.panelName = "PlansPanel",
                      .frameName = "FraPlans",
                      .frameTitle = "Definition des plans :",
                      .listName = "LstPlans",
                      .fieldPrefix = "txtPlan_",
                      .fieldLabels = {"Nom du plan :", "LAD Abscisses :", "LAD Ordonnées :",
                                      "Coeff Abscisses :", "Coeff Ordonnées :"},
                      .checkName = "ChkPlan_0",
                      .checkCaption = "Programmation R",
                      .buttonPrefix = "CmdPlan_"},
                     parent) {}

void PlansPanel::Load(const std::string& telvarPath) {
    list_.Init(telvarPath);
    Refill();
}

void PlansPanel::ShowRecord(const std::string& name) {
    SetField(1, list_.FNGetLadX(name));
    SetField(2, list_.FNGetLadY(name));
    SetField(3, CoefficientToText(list_.FNGetCoeffX(name)));
    SetField(4, CoefficientToText(list_.FNGetCoeffY(name)));
    SetChecked(list_.FNGetProgR(name));
}

void PlansPanel::AddRecord() {
    list_.AddPlan(Field(0), Field(1), Field(2), CoefficientFromText(Field(3)), CoefficientFromText(Field(4)),
                  Checked());
}

bool PlansPanel::ModifyRecord(const std::string& oldName) {
    return list_.ModifPlan(oldName, Field(0), Field(1), Field(2), CoefficientFromText(Field(3)),
                           CoefficientFromText(Field(4)), Checked());
}

} // namespace kirva
