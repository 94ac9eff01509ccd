// The registry on POSIX: one text file shared by the programs of the suite.
//
//   [HKEY_LOCAL_MACHINE\SOFTWARE\MAROVEX\TALM\KALDERON]
//   AppHwnd=dword:00003039
//   Description=Marovex Telvareur
//   ImagePath=expand:"\"/opt/talm/exe/srvany.exe\""
//   FailureActions=hex:80,51,01,00
//
// One section per key, spelled with its root; one line per value. Strings stand as plain text
// unless they could be mistaken for a tagged value (then str:"..."). Key paths and value names
// compare without regard to case. Lines this code does not change (comments, other keys) stay.
//
// Each process keeps the file parsed between calls and parses it again only when its stamp
// changed. Writers take an advisory lock on "<file>.lock", apply their one change to the file as
// it stands and replace it through ReplaceFileContents (a private temporary file, flushed and
// renamed over the file), so two programs writing at once lose nothing.
#include "platform/platform.h"
#include "platform/posix/internal.h"
#include "platform/posix/registry_text.h"
#include "platform/registry_number.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace kirva::platform {

namespace {

using namespace posix::registry;

// ------------------------------------------------------------------ the copy kept between calls
// The registry file as last read or written by this process, and the stamp of that version.
// Each call compares the file's stamp with it (one stat) and parses the file again only when
// another program changed it.
struct Cache {
    std::mutex mutex;
    bool valid = false;
    std::string path;    // the registry path it belongs to
    bool exists = false; // false: the file was missing (an empty registry)
    FileStamp stamp;
    Document document;

    void Forget() {
        valid = false;
        document = Document();
    }
};

Cache& TheCache() {
    static Cache cache;
    return cache;
}

// Brings the cache up to date with the file at `path`. False when the file cannot be read:
// not a regular file, no access, or larger than kMaxRegistrySize.
bool Load(Cache& cache, const std::string& path) {
    FileStamp now;
    FileResult state = StatFile(path, now);
    if (state == FileResult::Ok && now.Size > kMaxRegistrySize) state = FileResult::Failed;
    if (state == FileResult::Ok && cache.valid && cache.exists && cache.path == path && cache.stamp == now)
        return true;
    std::string bytes;
    if (state == FileResult::Ok) {
        cache.Forget();
        state = ReadWholeFile(path, bytes, now);
        if (state == FileResult::Ok && bytes.size() > kMaxRegistrySize) state = FileResult::Failed;
    }
    if (state == FileResult::Missing) {
        if (!cache.valid || cache.exists || cache.path != path) cache.document = Document();
        cache.valid = true;
        cache.path = path;
        cache.exists = false;
        cache.stamp = FileStamp();
        return true;
    }
    if (state != FileResult::Ok) {
        cache.Forget();
        return false;
    }
    cache.document = Parse(bytes);
    cache.valid = true;
    cache.path = path;
    cache.exists = true;
    cache.stamp = now;
    return true;
}

std::optional<Value> ReadValue(RegRoot root, const std::string& keyPath, const std::string& name) {
    try {
        Cache& cache = TheCache();
        const std::lock_guard<std::mutex> guard(cache.mutex);
        if (!Load(cache, posix::RegistryFilePath())) return std::nullopt;
        return FindValue(cache.document, root, keyPath, name);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// ------------------------------------------------------------------ writing

// How long a writer waits for another one to finish.
constexpr auto kWritersPatience = std::chrono::seconds(5);
// Opens the writers' lock file, never through a link. A new lock file gets the registry file's
// own mode and, where the process may set it, its group, so that every user who may write the
// registry may take the lock; without a registry file it gets the usual mode for the umask.
int OpenLockFile(const std::string& lockPath, const struct stat* registry) {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    for (int attempt = 0; attempt < 3; ++attempt) {
        int fd = ::open(lockPath.c_str(), O_RDWR | kFlags);
        if (fd < 0 && (errno == EACCES || errno == EROFS))
            fd = ::open(lockPath.c_str(), O_RDONLY | kFlags); // flock needs no write access
        if (fd >= 0 || errno != ENOENT) return fd;
        const mode_t mode = registry != nullptr ? (registry->st_mode & 0666) : 0666;
        fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_EXCL | kFlags, mode);
        if (fd >= 0) {
            if (registry != nullptr) {
                if (registry->st_gid != ::getegid())
                    (void)!::fchown(fd, static_cast<uid_t>(-1), registry->st_gid);
                (void)!::fchmod(fd, mode); // the umask took bits away at creation
            }
            return fd;
        }
        if (errno != EEXIST) return -1; // EEXIST: another writer created it meanwhile
    }
    return -1;
}

// Takes the writers' lock, waiting kWritersPatience at most for another writer to finish.
int LockWriters(const std::string& lockPath, const struct stat* registry) {
    posix::Descriptor fd(OpenLockFile(lockPath, registry));
    struct stat info {};
    if (fd.get() < 0 || ::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return -1;
    const auto giveUp = std::chrono::steady_clock::now() + kWritersPatience;
    while (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() > giveUp) return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return fd.Release();
}

// Thrown from inside a replacement to leave the file as it is.
struct Refused : std::exception {};

// Applies `change` to the current content of the file under the writers' lock and replaces the
// file when it changed. `change` returns whether it changed anything; it may run twice (again on
// the file's new content when a program that takes no lock changed the file meanwhile).
bool Update(const std::function<bool(Document&)>& change) {
    namespace fs = std::filesystem;
    try {
        const std::string named = posix::RegistryFilePath();
        // A registry file that is a link is replaced where the link points; the lock lies beside it.
        std::string path;
        if (!posix::ResolveLinks(named, path)) return false;
        struct stat info {};
        const bool exists = ::stat(path.c_str(), &info) == 0;
        if (!exists && errno != ENOENT) return false;
        if (exists && (!S_ISREG(info.st_mode) || static_cast<std::uint64_t>(info.st_size) > kMaxRegistrySize))
            return false;
        std::error_code ec;
        const fs::path folder = fs::path(path).parent_path();
        if (!exists && !folder.empty()) fs::create_directories(folder, ec);
        if (ec) return false;

        const posix::Descriptor lock(LockWriters(path + ".lock", exists ? &info : nullptr));
        if (lock.get() < 0) return false;
        Cache& cache = TheCache();
        const std::lock_guard<std::mutex> guard(cache.mutex);
        if (!Load(cache, named)) return false;

        // The cache is taken apart for the change; it is whole again only when the file is.
        Document working = std::move(cache.document);
        const bool baseExists = cache.exists;
        const FileStamp base = cache.stamp;
        cache.Forget();
        if (!change(working)) {
            cache.document = std::move(working);
            cache.valid = true;
            return true;
        }
        if (SerializedSize(working) > kMaxRegistrySize) return false;
        std::string bytes = Serialize(working);
        bool bytesCurrent = true;

        FileStamp written;
        const FileResult result = ReplaceFileContents(
            path,
            [&](const std::string* current, std::string& out) {
                FileStamp now;
                const bool asRead = current == nullptr
                                        ? !baseExists
                                        : baseExists && StatFile(path, now) == FileResult::Ok && now == base;
                if (!asRead) {
                    if (current != nullptr && current->size() > kMaxRegistrySize) throw Refused();
                    working = current != nullptr ? Parse(*current) : Document();
                    change(working);
                    bytesCurrent = false;
                }
                if (!bytesCurrent) {
                    if (SerializedSize(working) > kMaxRegistrySize) throw Refused();
                    bytes = Serialize(working);
                }
                out = std::move(bytes);
                bytesCurrent = false;
            },
            written);
        if (result != FileResult::Ok) return false; // the next call reads the file again

        cache.document = std::move(working);
        cache.valid = true;
        cache.path = named;
        cache.exists = true;
        cache.stamp = written;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool WriteValue(RegRoot root, const std::string& keyPath, const std::string& name, const Value& value) {
    if (HasControlCharacter(keyPath)) return false;
    const std::string line = EncodeName(name) + "=" + EncodeData(value);
    return Update([&](Document& document) { return SetValue(document, root, keyPath, name, line); });
}

} // namespace

std::optional<std::string> RegReadString(RegRoot root, const std::string& keyPath, const std::string& name) {
    auto value = ReadValue(root, keyPath, name);
    if (!value || value->kind == Kind::Binary) return std::nullopt;
    if (value->kind == Kind::Dword) return std::to_string(value->dword);
    return std::move(value->text);
}

std::optional<std::uint32_t> RegReadDword(RegRoot root, const std::string& keyPath, const std::string& name) {
    auto value = ReadValue(root, keyPath, name);
    if (!value || value->kind == Kind::Binary) return std::nullopt;
    if (value->kind == Kind::Dword) return value->dword;
    return RegistryNumberFromText(value->text);
}

std::optional<std::vector<std::uint8_t>> RegReadBinary(RegRoot root, const std::string& keyPath,
                                                       const std::string& name) {
    auto value = ReadValue(root, keyPath, name);
    if (!value || value->kind != Kind::Binary) return std::nullopt;
    return std::move(value->bytes);
}

bool RegWriteString(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::string& value, bool expand) {
    Value v;
    v.kind = expand ? Kind::Expand : Kind::String;
    v.text = value;
    return WriteValue(root, keyPath, name, v);
}

bool RegWriteDword(RegRoot root, const std::string& keyPath, const std::string& name, std::uint32_t value) {
    Value v;
    v.kind = Kind::Dword;
    v.dword = value;
    return WriteValue(root, keyPath, name, v);
}

bool RegWriteBinary(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::vector<std::uint8_t>& data) {
    Value v;
    v.kind = Kind::Binary;
    v.bytes = data;
    return WriteValue(root, keyPath, name, v);
}

bool RegDeleteValue(RegRoot root, const std::string& keyPath, const std::string& name) {
    // Deleting from a registry file that does not exist changes nothing and creates nothing.
    std::error_code ec;
    if (!std::filesystem::exists(posix::RegistryFilePath(), ec) && !ec) return true;
    return Update([&](Document& document) { return DeleteValue(document, root, keyPath, name); });
}

} // namespace kirva::platform
