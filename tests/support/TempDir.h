// A fresh temporary folder per test, and file I/O in bytes. Standard C++ only.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace kirva::test {

// A path written with "/" as this system writes it: on Windows every "/" becomes "\\".
inline std::string Native(std::string path) {
#ifdef _WIN32
    std::replace(path.begin(), path.end(), '/', '\\');
#endif
    return path;
}

// A path as the system compares names: on Windows, where names are case-insensitive and
// the name as asked opens the file spelled otherwise on disk, in lower case; unchanged elsewhere.
inline std::string ComparedPath(std::string path) {
#ifdef _WIN32
    for (char& c : path)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
#endif
    return path;
}

class TempDir {
  public:
    TempDir() {
        std::random_device rd;
        auto base = std::filesystem::temp_directory_path();
        for (;;) {
            path_ = base / ("kirva-test-" + std::to_string(rd()));
            if (std::filesystem::create_directory(path_)) break;
        }
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ec);
        // Read-only files and folders that a test left (Windows removes no read-only file).
        for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
             !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            std::error_code ignored;
            std::filesystem::permissions(
                it->path(), std::filesystem::perms::owner_write,
                std::filesystem::perm_options::add | std::filesystem::perm_options::nofollow, ignored);
        }
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // Full path of a file in the folder, as a string with this system's separators.
    std::string operator/(const std::string& name) const { return Native((path_ / name).string()); }

  private:
    std::filesystem::path path_;
};

inline void WriteBytes(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f << bytes;
}

inline std::string ReadBytes(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

} // namespace kirva::test
