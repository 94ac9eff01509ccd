// The multi-channel panel: frame "Edition Mutli-canaux :" with the channel list and the fields of
// the selected channel.
//
// Children (object names): LbCanaux (QListWidget), txtCanaux_0 "Nom Canal :", txtCanaux_1
// "Numéro Canal :", txtCanaux_2 "Prefixe :", txtCanaux_3 "Suffixe :" (QLineEdit), CmdCanaux_0
// "Ajouter", CmdCanaux_1 "Modifier", CmdCanaux_2 "Supprimer" (QPushButton), FraCanaux (the QGroupBox).
#pragma once

#include <string>

#include "editor/NamedListPanel.h"
#include "lists/clsCanaux.h"

namespace kirva {

class ChannelsPanel : public NamedListPanel {
    Q_OBJECT

  public:
    explicit ChannelsPanel(QWidget* parent = nullptr);

    // Loads section "CANAUX" of the machine's Telvar.ini (a missing file gives an empty list that
    // is saved to that path later).
    void Load(const std::string& telvarPath);
    // Writes section "CANAUX" (gone when there is no channel). False when the file could not be written.
    bool Save() { return list_.Save(); }
    clsCanaux& List() { return list_; }

    // Refill, ShowSelected (the channel selected in LbCanaux) and AddFromFields, ModifyFromFields,
    // DeleteFromFields (CmdCanaux_0, CmdCanaux_1, CmdCanaux_2) come from NamedListPanel.

  private:
    int RecordCount() override { return list_.NbElt(); }
    std::string NameAt(int position) override { return list_.FNGetRefCanal(position); }
    void ShowRecord(const std::string& name) override;
    void AddRecord() override;
    bool ModifyRecord(const std::string& oldName) override;
    void DeleteRecord(const std::string& name) override { list_.Delete(name); }

    clsCanaux list_;
};

} // namespace kirva
