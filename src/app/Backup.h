// Backups of the files an apply replaces: before the caller's settings file, a machine's
// Telvar.ini or its insertion file is written, the file as it was is kept in the folder "backup"
// beside it, named after the file with the date and time ("Telvar_2026-11-23_18-45-12.ini"). The
// last kBackupsKept of each file are kept. A backup never stops an apply: one that cannot be
// made is reported and the apply goes on.
#pragma once

#include <string>
#include <vector>

namespace kirva {

inline constexpr const char* kBackupFolderName = "backup";
inline constexpr int kBackupsKept = 20;
// x1x the file, x2x the reason.
inline constexpr const char* kBackupFailed = "La copie de sauvegarde de x1x n'a pas pu être faite : x2x";
// x1x the file.
inline constexpr const char* kRestoreFailed = "Le fichier x1x n'a pas pu être restauré.";

// The folder that holds the backups of a file.
std::string BackupFolderFor(const std::string& file);

// Keeps a copy of file as it is now (nothing when it does not exist yet, or when the newest backup
// already holds the same bytes), then removes the oldest backups beyond kBackupsKept. The copy is
// made in one atomic step and, like a new settings file, is never open to other users (a machine
// file holds the FTP password). False, with kBackupFailed shown (warning), when it could not be
// made.
bool BackUpFile(const std::string& file);

// One backup of a file, newest first in the lists below.
struct BackupEntry {
    std::string Path;
    std::string When; // "2026-11-23 18:45:12", from the name
};
std::vector<BackupEntry> ListBackups(const std::string& file);

// Puts a backup back in place of file in one atomic step, after keeping a backup of what it
// replaces. False, with kRestoreFailed shown (warning), when the file could not be written.
bool RestoreBackup(const std::string& backup, const std::string& file);

} // namespace kirva
