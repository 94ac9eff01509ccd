// The ISO insertions panel: the machine's list of insertions ("cycles"), the text, bitmap and
// shortcut of the one displayed, and the buttons that add, rename, delete, store and move them.
//
// Children (object names): LstInsert (QListWidget), RtbInsert (QTextEdit), Cmd_1 "Supprimer",
// Cmd_2 "Nouveau", Cmd_3 "Valider", Cmd_4 "Renommer" (QPushButton), UpDownInsert (an up-down
// control: two QToolButtons UpDownInsertUp / UpDownInsertDown; Alt+Up / Alt+Down in the list do
// the same), TxtTelvar_55 (bitmap file, QLineEdit), TxtTelvar_56 (shortcut as text, QLineEdit that
// takes no key press) and CmdRac (QToolButton whose menu sets the shortcut).
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <optional>
#include <string>

#include "lists/clsInsertIso.h"

class QListWidget;
class QTextEdit;
class QLineEdit;
class QPushButton;
class QToolButton;
class QGridLayout;

namespace kirva {

class IsoInsertPanel : public QWidget {
    Q_OBJECT

  public:
    // Asks the user for a text with a prompt; nullopt when cancelled. Tests replace it.
    using InputService = std::function<std::optional<QString>(QWidget* parent, const QString& prompt)>;

    explicit IsoInsertPanel(QWidget* parent = nullptr);

    // Loads the insertions of the machine's insertion file (section "INSERT"); a missing file gives an
    // empty list. Nothing is selected afterwards.
    void Load(const std::string& path);
    // Stores the displayed insertion's edits, then writes the section. False when nothing could be
    // written (the file on disk is then unchanged).
    bool Save();
    clsInsertIso& List() { return list_; }

    void SetInputService(InputService service);
    // Places a browse button (made by the window) beside the bitmap field TxtTelvar_55.
    void AddBitmapBrowseButton(QWidget* button);

    // The user's actions, as the buttons and the up-down control run them.
    void DeleteSelected(); // Cmd_1
    void AddInsertion();   // Cmd_2
    void StoreDisplayed(); // Cmd_3
    void RenameSelected(); // Cmd_4
    void MoveSelected(bool up);

    // Re-reads the list into LstInsert (renumbering the orders 1..N) and empties TxtTelvar_55.
    void Refill();

  private:
    void OnSelectionChanged();
    void ShowSelected();
    void SetShortcutText(const QString& text);
    void BuildShortcutMenu();
    bool eventFilter(QObject* watched, QEvent* event) override;

    clsInsertIso list_;
    std::string displayed_; // name of the insertion whose values the controls hold
    InputService input_;

    QListWidget* lstInsert_ = nullptr;
    QTextEdit* rtbInsert_ = nullptr;
    QLineEdit* txtBmp_ = nullptr;
    QLineEdit* txtRac_ = nullptr;
    QToolButton* cmdRac_ = nullptr;
    QGridLayout* fields_ = nullptr;
    QPushButton* cmd_[5] = {};
};

} // namespace kirva
