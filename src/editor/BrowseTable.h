// The browse buttons of the window (array cmdParcourir, and cmdChain): which dialog each opens,
// with which title, and which field receives the chosen path; two of them test a serial port
// instead. File and folder dialogs go through a dialog service that tests replace.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <QString>

class QWidget;

namespace kirva {

enum class BrowseKind {
    File,    // file-open dialog, filter "Tous les fichiers (*.*)"
    Folder,  // folder selection
    IsoFile, // file-open dialog starting in the machine's folder; the insertions are reloaded from the file
    SerialTest, // no dialog: tests the COM port chosen in the field named by Target
};

struct BrowseDef {
    const char* Button; // "cmdParcourir" (or the button's own name with Member -1)
    int Member;
    BrowseKind Kind;
    const char* Title;  // French, translated before display
    const char* Target; // array of the field that receives the path (SerialTest: the port field)
    int TargetMember;
};

// Every browse button, by member. The function keys' insertion files F5 to F12 are the fields
// TxtTelvar 155 to 162 (buttons 55 to 62): members 55 and 56 of TxtTelvar are the ISO insertion's
// bitmap and shortcut.
std::span<const BrowseDef> BrowseTable();
const BrowseDef* FindBrowse(std::string_view button, int member);

// The file-open and folder dialogs of the window. Each returns the chosen path, or nothing when
// the user cancelled.
class DialogService {
  public:
    virtual ~DialogService() = default;
    virtual std::optional<QString> OpenFile(QWidget* parent, const QString& title, const QString& startFolder,
                                            const QString& filter) = 0;
    virtual std::optional<QString> SelectFolder(QWidget* parent, const QString& title,
                                                const QString& startFolder) = 0;
    // The backup of file to restore ("Restaurer..."); the Qt service shows RestoreDialog.
    virtual std::optional<std::string> ChooseBackup(QWidget* parent, const std::string& file);
};

// The service in use (never null); nullptr restores the Qt dialogs.
DialogService& Dialogs();
void SetDialogService(DialogService* service);

// "Tous les fichiers (*.*)" / "*.*" as a Qt filter, translated.
QString AllFilesFilter();

} // namespace kirva
