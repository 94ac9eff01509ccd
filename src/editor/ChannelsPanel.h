// The multi-channel panel: frame "Edition Mutli-canaux :" with the channel list and the fields of
// the selected channel.
//
// Children (object names): LbCanaux (QListWidget), txtCanaux_0 "Nom Canal :", txtCanaux_1
// "Numéro Canal :", txtCanaux_2 "Prefixe :", txtCanaux_3 "Suffixe :" (QLineEdit), CmdCanaux_0
// "Ajouter", CmdCanaux_1 "Modifier", CmdCanaux_2 "Supprimer" (QPushButton), FraCanaux (the QGroupBox).
#pragma once

#include <QWidget>
#include <string>

#include "lists/clsCanaux.h"

class QLineEdit;
class QListWidget;

namespace kirva {

class ChannelsPanel : public QWidget {
    Q_OBJECT

  public:
    explicit ChannelsPanel(QWidget* parent = nullptr);

    // Loads section "CANAUX" of the machine's Telvar.ini (a missing file gives an empty list that
    // is saved to that path later).
    void Load(const std::string& telvarPath);
    // Writes section "CANAUX" (gone when there is no channel). False when the file could not be written.
    bool Save() { return list_.Save(); }
    clsCanaux& List() { return list_; }

    void Refill();
    // Shows the channel selected in LbCanaux in the fields.
    void ShowSelected();
    // CmdCanaux_0, CmdCanaux_1, CmdCanaux_2.
    void AddFromFields();
    void ModifyFromFields();
    void DeleteFromFields();

  private:
    void Select(const std::string& name);

    clsCanaux list_;
    QListWidget* lbCanaux_ = nullptr;
    QLineEdit* txtCanaux_[4] = {};
};

} // namespace kirva
