// The channels that analyse the machine's activity: the list view lvwCanal (at most 32 channels)
// with its popup menu, and the three fields of the channel shown.
//
// Children (object names): lvwCanal (QListWidget, labels editable in place), lblCanal (its caption
// "Liste des Canaux d'analyse de l'activité :"), popmnuCanal (QMenu) with the actions mnuCanal_0
// "Ajouter", mnuCanal_1 "Supprimer", mnuCanal_2 "Modifier", and the fields txtCanalAnalyse_0
// "Référence du canal :", txtCanalAnalyse_1 "Code du canal :" (hint "(Code > 1000)"),
// txtCanalAnalyse_2 "Caractères :" (QLineEdit).
#pragma once

#include <QWidget>
#include <vector>

#include "machine/MachineConfig.h"

class QLineEdit;
class QListWidget;
class QMenu;

namespace kirva {

class ActivityChannelsPanel : public QWidget {
    Q_OBJECT

  public:
    explicit ActivityChannelsPanel(QWidget* parent = nullptr);

    // The machine's channels (MachineConfig::CanalAnalyse); beyond the limit, the first 32 are kept.
    void SetChannels(const std::vector<AnalysisChannel>& channels);
    const std::vector<AnalysisChannel>& Channels() const { return records_; }

    // The popup menu's entries.
    void AddChannel();     // mnuCanal_0
    void DeleteSelected(); // mnuCanal_1, after the question
    void ShowSelected();   // mnuCanal_2
    // "&Ok" beside the panel: the three fields go into the channel shown, whose list entry takes
    // its reference, and the list gets the focus back.
    void TakeShownChannel();

    QMenu* PopupMenu() const { return popmnuCanal_; }

  private:
    void ShowRecord(int row);
    void OnFieldEdited(int field, const QString& text);

    std::vector<AnalysisChannel> records_; // one a list item, in the same order
    int shown_ = -1;                       // record shown in the fields
    QListWidget* lvwCanal_ = nullptr;
    QMenu* popmnuCanal_ = nullptr;
    QLineEdit* txtField_[3] = {};
};

} // namespace kirva
