// File look-up without regard to case, as Windows finds "Telvar.exe" when it is "telvar.exe".
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <dirent.h>
#include <sys/stat.h>

namespace kirva::platform {

namespace {

std::string Join(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    return folder.back() == '/' ? folder + name : folder + "/" + name;
}

// The entry of `folder` whose name equals `name` without regard to case; the first in byte
// order when several do, so that the answer does not depend on the order of the directory.
std::optional<std::string> MatchInFolder(const std::string& folder, const std::string& name) {
    DIR* directory = ::opendir(folder.empty() ? "." : folder.c_str());
    if (directory == nullptr) return std::nullopt;
    const std::string wanted = posix::FoldCase(name);
    std::optional<std::string> best;
    while (const dirent* entry = ::readdir(directory)) {
        const std::string candidate = entry->d_name;
        if (candidate == "." || candidate == "..") continue;
        if (posix::FoldCase(candidate) == wanted && (!best || candidate < *best)) best = candidate;
    }
    ::closedir(directory);
    return best;
}

} // namespace

std::optional<std::string> FindFileNoCase(const std::string& folder, const std::string& name) {
    try {
        // A name with folders in it ("Lng/FR.lng") is looked up one part after the other.
        std::string current = folder;
        bool any = false;
        std::size_t start = 0;
        while (start <= name.size()) {
            std::size_t end = name.find('/', start);
            if (end == std::string::npos) end = name.size();
            const std::string part = name.substr(start, end - start);
            start = end + 1;
            if (part.empty() || part == ".") continue;
            any = true;
            struct stat info {};
            if (::lstat(Join(current, part).c_str(), &info) == 0) {
                current = Join(current, part);
                continue;
            }
            const auto match = MatchInFolder(current, part);
            if (!match) return std::nullopt;
            current = Join(current, *match);
        }
        if (!any) return std::nullopt;
        return current;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace kirva::platform
