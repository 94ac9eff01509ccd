// File look-up without regard to case, as Windows finds "Telvar.exe" when it is "telvar.exe".
#include "platform/name_rules.h"
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <dirent.h>
#include <sys/stat.h>

#include <string_view>

namespace kirva::platform {

namespace {

std::string Join(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    return folder.back() == '/' ? folder + name : folder + "/" + name;
}

// Whether path is (after links) a folder, or a regular file. Only the type is looked at: nothing
// is opened, so that a FIFO cannot block.
bool HasType(const std::string& path, bool folder) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return false;
    return folder ? S_ISDIR(info.st_mode) : S_ISREG(info.st_mode);
}

// The entry of `folder` of the wanted type whose name equals `name` without regard to case; the
// first in byte order when several do, so that the answer does not depend on the order of the directory.
std::optional<std::string> MatchInFolder(const std::string& folder, const std::string& name,
                                         bool wantFolder) {
    DIR* directory = ::opendir(folder.empty() ? "." : folder.c_str());
    if (directory == nullptr) return std::nullopt;
    const std::string wanted = posix::FoldCase(name);
    std::optional<std::string> best;
    while (const dirent* entry = ::readdir(directory)) {
        const std::string candidate = entry->d_name;
        if (candidate == "." || candidate == "..") continue;
        if (posix::FoldCase(candidate) == wanted && (!best || candidate < *best) &&
            HasType(Join(folder, candidate), wantFolder))
            best = candidate;
    }
    ::closedir(directory);
    return best;
}

} // namespace

std::optional<std::string> FindFileNoCase(const std::string& folder, const std::string& name) {
    try {
        // A name with folders in it ("Lng/FR.lng") is looked up one part after the other.
        const std::vector<std::string> parts = NameParts(name, "/");
        std::string current = folder;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const std::string& part = parts[i];
            // Every part but the last is a folder; the last is a regular file (a folder, a device
            // or a FIFO of that name is not the file looked for).
            const bool wantFolder = i + 1 < parts.size();
            if (HasType(Join(current, part), wantFolder)) {
                current = Join(current, part);
                continue;
            }
            const auto match = MatchInFolder(current, part, wantFolder);
            if (!match) return std::nullopt;
            current = Join(current, *match);
        }
        if (parts.empty()) return std::nullopt;
        return current;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace kirva::platform
