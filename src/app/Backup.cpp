#include "app/Backup.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "ini/helpers.h"
#include "platform/platform.h"
#include "translate/messages.h"

namespace kirva {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kStampLength = 19; // "2026-11-23_18-45-12"

std::string Stamp(std::time_t now) {
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d_%H-%M-%S", std::localtime(&now));
    return text;
}

// Whether name is a backup of the file stem + ext: stem "_" stamp ["_" n] ext.
bool IsBackupName(const std::string& name, const std::string& stem, const std::string& ext) {
    if (name.size() < stem.size() + 1 + kStampLength + ext.size()) return false;
    if (name.compare(0, stem.size() + 1, stem + "_") != 0) return false;
    if (name.compare(name.size() - ext.size(), ext.size(), ext) != 0) return false;
    const std::string stamp = name.substr(stem.size() + 1, kStampLength);
    for (std::size_t i = 0; i < stamp.size(); ++i) {
        const bool separator = i == 4 || i == 7 || i == 10 || i == 13 || i == 16;
        if (separator ? !(stamp[i] == '-' || stamp[i] == '_')
                      : !std::isdigit(static_cast<unsigned char>(stamp[i])))
            return false;
    }
    return true;
}

// The backups of a file, oldest first (the names sort as their dates).
std::vector<fs::path> Backups(const std::string& file) {
    const fs::path path = PathFromUtf8(file);
    const std::string stem = Utf8FromPath(path.stem()), ext = Utf8FromPath(path.extension());
    std::vector<fs::path> found;
    std::error_code ec;
    for (fs::directory_iterator it(PathFromUtf8(BackupFolderFor(file)), ec), end; !ec && it != end;
         it.increment(ec)) {
        if (it->is_regular_file(ec) && IsBackupName(Utf8FromPath(it->path().filename()), stem, ext))
            found.push_back(it->path());
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool Write(const std::string& path, const std::string& bytes) {
    platform::FileStamp stamp;
    return platform::ReplaceFileContents(
               path, [&bytes](const std::string*, std::string& out) { out = bytes; }, stamp) ==
           platform::FileResult::Ok;
}

bool Read(const std::string& path, std::string& bytes) {
    platform::FileStamp stamp;
    return platform::ReadWholeFile(path, bytes, stamp) == platform::FileResult::Ok;
}

} // namespace

std::string BackupFolderFor(const std::string& file) {
    const fs::path path = PathFromUtf8(file);
    return AddTrailingBackslash(Utf8FromPath(path.parent_path() / kBackupFolderName));
}

bool BackUpFile(const std::string& file) {
    std::string bytes;
    platform::FileStamp stamp;
    const platform::FileResult read = platform::ReadWholeFile(file, bytes, stamp);
    // Nothing to keep yet; a folder or a device where the file should be is the writer's to report.
    if (read == platform::FileResult::Missing || read == platform::FileResult::NotAFile) return true;
    auto failed = [&](const std::string& reason) {
        ShowMessage(kBackupFailed, IconWarning, MsgButtons::Ok, file, reason);
        return false;
    };
    if (read != platform::FileResult::Ok) return failed("lecture impossible");
    std::vector<fs::path> kept = Backups(file);
    std::string newest;
    if (!kept.empty() && Read(Utf8FromPath(kept.back()), newest) && newest == bytes) return true;

    const std::string folder = BackupFolderFor(file);
    std::error_code ec;
    fs::create_directories(PathFromUtf8(folder), ec);
    if (ec) return failed(ec.message());
    const fs::path path = PathFromUtf8(file);
    const std::string base = folder + Utf8FromPath(path.stem()) + "_" +
                             Stamp(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
    const std::string ext = Utf8FromPath(path.extension());
    // Backups made in the same second are numbered "_002", "_003", ... after the last one, so that
    // the names still sort by age (an older one of that second may have been removed already).
    std::string target = base + ext;
    int last = 0;
    const std::string baseName = Utf8FromPath(PathFromUtf8(base).filename());
    for (const fs::path& k : kept) {
        const std::string name = Utf8FromPath(k.filename());
        if (name.compare(0, baseName.size(), baseName) != 0) continue;
        const std::string rest = name.substr(baseName.size(), name.size() - baseName.size() - ext.size());
        last = std::max(last, rest.empty() ? 1 : std::atoi(rest.c_str() + 1));
    }
    if (last > 0) {
        char suffix[16];
        std::snprintf(suffix, sizeof suffix, "_%03d", last + 1);
        target = base + suffix + ext;
    }
    if (!Write(target, bytes)) return failed("écriture refusée dans " + folder);

    kept = Backups(file);
    for (std::size_t i = 0; i + kBackupsKept < kept.size(); ++i) fs::remove(kept[i], ec);
    return true;
}

std::vector<BackupEntry> ListBackups(const std::string& file) {
    const std::vector<fs::path> found = Backups(file);
    const std::size_t stem = Utf8FromPath(PathFromUtf8(file).stem()).size() + 1;
    std::vector<BackupEntry> entries;
    for (auto it = found.rbegin(); it != found.rend(); ++it) {
        std::string when = Utf8FromPath(it->filename()).substr(stem, kStampLength);
        when[10] = ' ';
        when[13] = ':';
        when[16] = ':';
        entries.push_back({Utf8FromPath(*it), when});
    }
    return entries;
}

bool RestoreBackup(const std::string& backup, const std::string& file) {
    std::string bytes;
    if (!Read(backup, bytes) || (BackUpFile(file), !Write(file, bytes))) {
        ShowMessage(kRestoreFailed, IconWarning, MsgButtons::Ok, file);
        return false;
    }
    return true;
}

} // namespace kirva
