// "Restaurer...": the backups of the machine's Telvar.ini, newest first, each with what differs
// from the file as it is now, field by field with the window's labels; the chosen one is put back.
#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "app/Backup.h"

class QListWidget;
class QPushButton;
class QTextEdit;

namespace kirva {

inline constexpr const char* kRestoreTitle = "Restaurer une copie de sauvegarde";
inline constexpr const char* kNoBackup = "Aucune copie de sauvegarde de x1x.";
inline constexpr const char* kNoDifference = "Identique au fichier actuel.";
// x1x the date of the backup.
inline constexpr const char* kRestored = "La copie du x1x a été restaurée.";

class RestoreDialog : public QDialog {
    Q_OBJECT
  public:
    // file: the machine's Telvar.ini.
    RestoreDialog(const std::string& file, QWidget* parent = nullptr);
    // The backup chosen (the one selected), "" when there is none.
    std::string Chosen() const;
    // What the selected backup differs in from the current file, one line per field.
    QString Differences() const;

  private:
    void ShowDifferences();
    std::string file_;
    std::vector<BackupEntry> backups_;
    QListWidget* list_ = nullptr;
    QTextEdit* differences_ = nullptr;
};

} // namespace kirva
