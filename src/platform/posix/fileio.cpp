// Whole-file reading and atomic replacement for the settings files.
//
// A replacement holds the file exclusively while it reads the current content and writes the
// new one: a flock and an open-file-description write lock on the file itself, so that other
// programs of the suite (flock) and other programs locking with fcntl both see it as held. The
// new content goes to a temporary file in the same folder, flushed to disk and renamed over the
// file. A writer that waited for the lock checks that the path still names the file it locked,
// and otherwise starts again on the new file.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace kirva::platform {

namespace {

// How long a writer waits for another one before it reports the file as locked.
constexpr auto kLockPatience = std::chrono::milliseconds(500);

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

class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor() { Reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    void Reset(int fd = -1) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }

  private:
    int fd_;
};

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

// A temporary file beside `path`, created empty and exclusively.
int CreateTemporary(const std::string& path, std::string& temporary) {
    static std::atomic<unsigned> counter{0};
    const std::string folder = FolderOf(path);
    const std::string name = path.substr(path.rfind('/') == std::string::npos ? 0 : path.rfind('/') + 1);
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary = folder + "/." + name + "." + std::to_string(::getpid()) + "-" +
                    std::to_string(counter++) + ".tmp";
        const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    errno = EEXIST;
    return -1;
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
            const Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
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

FileResult
ReplaceFileContents(const std::string& path,
                    const std::function<void(const std::string* current, std::string& bytes)>& build,
                    FileStamp& stamp) {
    try {
        const auto giveUp = std::chrono::steady_clock::now() + kLockPatience;
        for (;;) {
            struct stat info {};
            const bool exists = ::stat(path.c_str(), &info) == 0;
            if (!exists && errno != ENOENT) return FileResult::Failed;
            Descriptor file;
            std::string current;
            if (exists) {
                if (!S_ISREG(info.st_mode)) return FileResult::NotAFile;
                // No write permission for anyone is the read-only attribute (root included).
                if ((info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return FileResult::ReadOnly;
                file.Reset(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
                if (file.get() < 0) {
                    if (errno == ENOENT) continue; // replaced meanwhile
                    return IsPermissionError(errno) ? FileResult::ReadOnly : FileResult::Failed;
                }
                if (!TryLock(file.get())) {
                    if (errno != EWOULDBLOCK && errno != EAGAIN && errno != EACCES) return FileResult::Failed;
                    if (std::chrono::steady_clock::now() > giveUp) return FileResult::Locked;
                    std::this_thread::sleep_for(std::chrono::milliseconds(2));
                    continue;
                }
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
            const Descriptor out(CreateTemporary(path, temporary));
            if (out.get() < 0) return IsPermissionError(errno) ? FileResult::ReadOnly : FileResult::Failed;
            bool ok = WriteAll(out.get(), bytes);
            if (ok && exists) {
                // The file keeps its permissions and, where we may, its owner.
                ok = ::fchmod(out.get(), info.st_mode & 07777) == 0;
                if (ok && (info.st_uid != ::geteuid() || info.st_gid != ::getegid()))
                    (void)!::fchown(out.get(), info.st_uid, info.st_gid);
            }
            ok = ok && ::fsync(out.get()) == 0;
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
            return FileResult::Ok;
        }
    } catch (const std::exception&) {
        return FileResult::Failed;
    }
}

} // namespace kirva::platform
