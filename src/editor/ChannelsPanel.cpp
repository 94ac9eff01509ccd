#include "editor/ChannelsPanel.h"

namespace kirva {

ChannelsPanel::ChannelsPanel(QWidget* parent)
    : NamedListPanel({.panelName = "ChannelsPanel",
                      .frameName = "FraCanaux",
                      .frameTitle = "Edition Mutli-canaux :",
                      .listName = "LbCanaux",
                      .fieldPrefix = "txtCanaux_",
                      .fieldLabels = {"Nom Canal :", "Numéro Canal :", "Prefixe :", "Suffixe :"},
                      .buttonPrefix = "CmdCanaux_"},
                     parent) {}

void ChannelsPanel::Load(const std::string& telvarPath) {
    list_.Init(telvarPath);
    Refill();
}

void ChannelsPanel::ShowRecord(const std::string& name) {
    SetField(1, std::to_string(list_.FNGetNumCanal(name)));
    SetField(2, list_.FNGetPref(name));
    SetField(3, list_.FNGetSuff(name));
}

void ChannelsPanel::AddRecord() {
    list_.Add(Field(0), ChannelNumberFromText(Field(1)), Field(2), Field(3));
}

bool ChannelsPanel::ModifyRecord(const std::string& oldName) {
    return list_.Modif(oldName, Field(0), ChannelNumberFromText(Field(1)), Field(2), Field(3));
}

} // namespace kirva
