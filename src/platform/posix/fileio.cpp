// Whole-file reading and atomic replacement for the settings files.
//
// A replacement holds the file exclusively while it reads the current content and writes the
// new one: a flock and an open-file-description write lock on the file itself, so that other
// programs of the suite (flock) and other programs locking with fcntl both see it as held. The
// new content goes to a temporary file in the same folder, flushed to disk and renamed over the
// file. A writer that waited for the lock checks that the path still names the file it locked,
// and otherwise starts again on the new file.
#include "platform/name_rules.h"
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <unordered_set>

namespace kirva::platform {

namespace {

// How long a writer waits for another one before it reports the file as locked.
constexpr auto kLockPatience = std::chrono::milliseconds(500);
// How often a writer starts again because another program replaced or created the file meanwhile.
constexpr int kMaxAttempts = 100;
constexpr int kMaxTemporaryNames = 100;
// Links followed to reach the file a write goes to (the system's own limit is 40).
constexpr int kMaxLinkHops = 40;
// Age after which a temporary file is taken for one left by a killed writer.
constexpr auto kStaleAfter = std::chrono::minutes(1);

FileStamp StampOf(const struct stat& info) {
    FileStamp stamp;
    stamp.ModifiedNs = static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
    stamp.ChangedNs = static_cast<std::int64_t>(info.st_ctim.tv_sec) * 1000000000 + info.st_ctim.tv_nsec;
    stamp.Size = static_cast<std::uint64_t>(info.st_size);
    stamp.Device = static_cast<std::uint64_t>(info.st_dev);
    stamp.Id = static_cast<std::uint64_t>(info.st_ino);
    return stamp;
}

bool ReadAll(int fd, std::string& bytes) {
    bytes.clear();
    // One allocation for what the file holds now; a file that grows meanwhile still reads whole.
    struct stat info {};
    if (::fstat(fd, &info) == 0 && info.st_size > 0)
        bytes.reserve(static_cast<std::size_t>(info.st_size) + 1);
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) return true;
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
}

bool WriteAll(int fd, const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        done += static_cast<std::size_t>(put);
    }
    return true;
}

// Takes both kinds of lock without waiting. False when another holder has one.
bool TryLock(int fd) {
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) return false;
    struct flock region {};
    region.l_type = F_WRLCK;
    region.l_whence = SEEK_SET;
    return ::fcntl(fd, F_OFD_SETLK, &region) == 0;
}

bool IsPermissionError(int err) {
    return err == EACCES || err == EPERM || err == EROFS;
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The umask of the process, read without changing it where the system tells it.
mode_t CurrentUmask() {
    if (FILE* status = std::fopen("/proc/self/status", "re")) {
        char line[256];
        unsigned mask = 0;
        bool found = false;
        while (!found && std::fgets(line, sizeof line, status))
            found = std::sscanf(line, "Umask: %o", &mask) == 1;
        std::fclose(status);
        if (found) return static_cast<mode_t>(mask);
    }
    const mode_t mask = ::umask(022);
    ::umask(mask);
    return mask;
}

// The mode of a new settings file: what the umask gives, but never readable or writable by
// other users (a machine file holds the password of its FTP account).
mode_t NewFileMode() {
    return 0666 & ~CurrentUmask() & ~static_cast<mode_t>(S_IRWXO);
}

} // namespace

namespace posix {

void Descriptor::Reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

// A link whose target is missing means the file is created where the link points, as writing
// through the link in a shell would do.
bool ResolveLinks(const std::string& path, std::string& target) {
    target = path;
    for (int hop = 0; hop < kMaxLinkHops; ++hop) {
        struct stat info {};
        if (::lstat(target.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return true;
        std::string next(static_cast<std::size_t>(PATH_MAX), '\0');
        const ssize_t size = ::readlink(target.c_str(), next.data(), next.size());
        if (size < 0) return false;
        if (static_cast<std::size_t>(size) >= next.size()) {
            errno = ENAMETOOLONG;
            return false;
        }
        next.resize(static_cast<std::size_t>(size));
        target = next.front() == '/' ? next : FolderOf(target) + "/" + next;
    }
    errno = ELOOP;
    return false;
}

// Temporary files are named ".<file name>.<process id>-<counter>.tmp" beside the file, so that
// one left by a killed writer is recognised (and removed later, see RemoveStaleTemporaries).
bool IsTemporaryOf(std::string_view entry, std::string_view name) {
    return platform::IsTemporaryOf(entry, name, std::equal_to<std::string_view>());
}

// A temporary file beside `path`, created exclusively, never through a link, readable and
// writable by its owner only until it gets the file's final mode just before it replaces the file.
int CreateTemporaryBeside(const std::string& path, std::string& temporary) {
    static std::atomic<unsigned> counter{0};
    const std::string folder = FolderOf(path);
    const std::string name = NameOf(path);
    for (int attempt = 0; attempt < kMaxTemporaryNames; ++attempt) {
        temporary =
            folder + "/" + TemporaryName<char>(name, static_cast<unsigned long>(::getpid()), counter++);
        const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                              S_IRUSR | S_IWUSR);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    errno = EEXIST;
    return -1;
}

// Temporary files of this file that a killed writer left behind, more than kStaleAfter old.
void RemoveStaleTemporaries(const std::string& path) {
    // Once per file and process: a temporary goes stale a minute after its writer was killed, and
    // reading the folder at every write would cost more than the write in a folder of many files.
    static std::mutex mutex;
    static std::unordered_set<std::string> swept;
    {
        const std::lock_guard lock(mutex);
        if (swept.size() > 4096) swept.clear();
        if (!swept.insert(path).second) return;
    }
    DIR* folder = ::opendir(FolderOf(path).c_str());
    if (!folder) return;
    const std::string name = NameOf(path);
    const auto now = std::chrono::system_clock::now();
    while (const dirent* entry = ::readdir(folder)) {
        if (!IsTemporaryOf(entry->d_name, name)) continue;
        struct stat info {};
        if (::fstatat(::dirfd(folder), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISREG(info.st_mode))
            continue;
        const auto modified = std::chrono::system_clock::from_time_t(info.st_mtim.tv_sec);
        if (now - modified > kStaleAfter) ::unlinkat(::dirfd(folder), entry->d_name, 0);
    }
    ::closedir(folder);
}

} // namespace posix

namespace {

// Gives the temporary file the owner, group and mode of the file it replaces (or of a new
// file). The owner and group are kept where the process may set them: a user who may write
// the file but does not own it still gets it replaced, owned by himself.
bool TakeOverAttributes(int fd, const struct stat* replaced) {
    if (replaced && (replaced->st_uid != ::geteuid() || replaced->st_gid != ::getegid())) {
        if (::fchown(fd, replaced->st_uid, replaced->st_gid) != 0)
            (void)!::fchown(fd, static_cast<uid_t>(-1), replaced->st_gid);
    }
    return ::fchmod(fd, replaced ? replaced->st_mode & 07777 : NewFileMode()) == 0;
}

void SyncFolder(const std::string& path) {
    const int fd = ::open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

} // namespace

FileResult StatFile(const std::string& path, FileStamp& stamp) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0)
        return (errno == ENOENT || errno == ENOTDIR) ? FileResult::Missing : FileResult::Failed;
    if (!S_ISREG(info.st_mode)) return FileResult::NotAFile;
    stamp = StampOf(info);
    return FileResult::Ok;
}

FileResult ReadWholeFile(const std::string& path, std::string& bytes, FileStamp& stamp) {
    try {
        // Read again when the file changed while it was being read, so that the stamp belongs
        // to exactly these bytes.
        for (int attempt = 0; attempt < 5; ++attempt) {
            const posix::Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
            if (fd.get() < 0)
                return (errno == ENOENT || errno == ENOTDIR) ? FileResult::Missing : FileResult::Failed;
            struct stat before {};
            if (::fstat(fd.get(), &before) != 0) return FileResult::Failed;
            if (!S_ISREG(before.st_mode)) return FileResult::NotAFile;
            if (!ReadAll(fd.get(), bytes)) return FileResult::Failed;
            struct stat after {};
            if (::fstat(fd.get(), &after) != 0) return FileResult::Failed;
            if (StampOf(before) == StampOf(after)) {
                stamp = StampOf(after);
                return FileResult::Ok;
            }
        }
        return FileResult::Failed;
    } catch (const std::exception&) {
        return FileResult::Failed;
    }
}

namespace {

// Waits for both locks on an open file, kLockPatience at most. Locked when another holder kept it.
FileResult LockWithPatience(int fd) {
    const auto giveUp = std::chrono::steady_clock::now() + kLockPatience;
    while (!TryLock(fd)) {
        if (errno != EWOULDBLOCK && errno != EAGAIN && errno != EACCES) return FileResult::Failed;
        if (std::chrono::steady_clock::now() > giveUp) return FileResult::Locked;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return FileResult::Ok;
}

} // namespace

FileResult
ReplaceFileContents(const std::string& given,
                    const std::function<void(const std::string* current, std::string& bytes)>& build,
                    FileStamp& stamp) {
    try {
        for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
            std::string path;
            if (!posix::ResolveLinks(given, path)) return FileResult::Failed;
            struct stat info {};
            const bool exists = ::stat(path.c_str(), &info) == 0;
            if (!exists && errno != ENOENT) return FileResult::Failed;
            posix::Descriptor file;
            std::string current;
            if (exists) {
                if (!S_ISREG(info.st_mode)) return FileResult::NotAFile;
                // No write permission for anyone is the read-only attribute (root included).
                if ((info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return FileResult::ReadOnly;
                file.Reset(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
                if (file.get() < 0) {
                    if (errno == ENOENT || errno == ELOOP) continue; // replaced meanwhile
                    return IsPermissionError(errno) ? FileResult::ReadOnly : FileResult::Failed;
                }
                if (const FileResult locked = LockWithPatience(file.get()); locked != FileResult::Ok)
                    return locked;
                struct stat locked {};
                struct stat named {};
                if (::fstat(file.get(), &locked) != 0) return FileResult::Failed;
                if (::stat(path.c_str(), &named) != 0 || named.st_ino != locked.st_ino ||
                    named.st_dev != locked.st_dev)
                    continue; // another writer replaced it while we waited: lock the new one
                if (!ReadAll(file.get(), current)) return FileResult::Failed;
                info = locked;
            }

            std::string bytes;
            build(exists ? &current : nullptr, bytes);

            std::string temporary;
            const posix::Descriptor out(posix::CreateTemporaryBeside(path, temporary));
            if (out.get() < 0) return IsPermissionError(errno) ? FileResult::ReadOnly : FileResult::Failed;
            bool ok = WriteAll(out.get(), bytes) && TakeOverAttributes(out.get(), exists ? &info : nullptr) &&
                      ::fsync(out.get()) == 0;
            bool raced = false;
            if (ok && exists) {
                ok = ::rename(temporary.c_str(), path.c_str()) == 0;
            } else if (ok) {
                // A new file: created only if nobody else created it meanwhile.
                if (::link(temporary.c_str(), path.c_str()) == 0) {
                    ::unlink(temporary.c_str());
                } else if (errno == EEXIST) {
                    raced = true;
                } else {
                    ok = ::rename(temporary.c_str(), path.c_str()) == 0; // file systems without hard links
                }
            }
            if (!ok || raced) {
                ::unlink(temporary.c_str());
                if (raced) continue;
                return FileResult::Failed;
            }
            SyncFolder(path);
            struct stat written {};
            if (::fstat(out.get(), &written) != 0) return FileResult::Failed;
            stamp = StampOf(written);
            posix::RemoveStaleTemporaries(path);
            return FileResult::Ok;
        }
        // Other programs kept replacing or creating the file: give up rather than loop on.
        return FileResult::Locked;
    } catch (const std::exception&) {
        return FileResult::Failed;
    }
}

} // namespace kirva::platform
