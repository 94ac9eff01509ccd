// Text helpers and the well-known folders of the POSIX backend.
#include "platform/posix/internal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kirva::platform::posix {

namespace {

bool IsValidUtf8(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        std::size_t extra = 0;
        if (c < 0x80)
            extra = 0;
        else if (c >= 0xC2 && c <= 0xDF)
            extra = 1;
        else if (c >= 0xE0 && c <= 0xEF)
            extra = 2;
        else if (c >= 0xF0 && c <= 0xF4)
            extra = 3;
        else
            return false;
        if (i + extra >= text.size()) return false;
        for (std::size_t k = 1; k <= extra; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        i += extra + 1;
    }
    return true;
}

char LowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

} // namespace

std::string FoldCase(std::string_view text) {
    std::string folded(text);
    if (IsValidUtf8(text)) {
        // Latin-1 capitals U+00C0..U+00DE are C3 80..C3 9E in UTF-8; their small letters are C3 A0..C3 BE.
        for (std::size_t i = 0; i < folded.size(); ++i) {
            const auto c = static_cast<unsigned char>(folded[i]);
            if (c == 0xC3 && i + 1 < folded.size()) {
                const auto next = static_cast<unsigned char>(folded[i + 1]);
                if (next >= 0x80 && next <= 0x9E && next != 0x97)
                    folded[i + 1] = static_cast<char>(next + 0x20);
                ++i;
            } else {
                folded[i] = LowerAscii(folded[i]);
            }
        }
    } else {
        for (char& ch : folded) {
            const auto c = static_cast<unsigned char>(ch);
            if (c >= 0xC0 && c <= 0xDE && c != 0xD7)
                ch = static_cast<char>(c + 0x20);
            else
                ch = LowerAscii(ch);
        }
    }
    return folded;
}

std::string_view TrimBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

std::string EnvOr(const char* name, const std::string& fallback) {
    const char* value = std::getenv(name);
    return (value != nullptr && *value != '\0') ? std::string(value) : fallback;
}

std::string ErrnoText(int err) {
    char buffer[256];
    // GNU strerror_r returns the text, which may or may not be the buffer.
    return std::string(strerror_r(err, buffer, sizeof buffer));
}

std::string RuntimeFolder() {
    std::string base = EnvOr("XDG_RUNTIME_DIR", "/tmp");
    while (base.size() > 1 && base.back() == '/') base.pop_back();
    return base + "/marovex";
}

bool EnsureRuntimeFolder() {
    const bool shared = EnvOr("XDG_RUNTIME_DIR", "").empty();
    const std::string folder = RuntimeFolder();
    const std::string base = folder.substr(0, folder.rfind('/'));
    struct stat info {};
    if (!base.empty() && ::stat(base.c_str(), &info) != 0) ::mkdir(base.c_str(), 0700);
    if (::mkdir(folder.c_str(), shared ? 0777 : 0700) == 0) {
        // Below /tmp every user of the machine shares the folder, as they share /tmp.
        if (shared) ::chmod(folder.c_str(), 01777);
        return true;
    }
    return errno == EEXIST && ::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string NotificationSocketPath(std::int64_t handle) {
    return RuntimeFolder() + "/hwnd-" + std::to_string(handle) + ".sock";
}

std::string RegistryFilePath() {
    std::string path = EnvOr("KIRVA_REGISTRY", "");
    if (!path.empty()) return path;
    std::string config = EnvOr("XDG_CONFIG_HOME", "");
    if (config.empty()) {
        std::string home = EnvOr("HOME", "");
        if (home.empty()) {
            if (const passwd* user = ::getpwuid(::getuid()); user != nullptr && user->pw_dir != nullptr)
                home = user->pw_dir;
        }
        config = home + "/.config";
    }
    while (config.size() > 1 && config.back() == '/') config.pop_back();
    return config + "/marovex/registry.ini";
}

} // namespace kirva::platform::posix
