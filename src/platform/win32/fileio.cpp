// Whole-file reading and atomic replacement for the settings files.
//
// A replacement holds the file while it reads the current content and writes the new one: the
// file stays open (shared for reading, writing and deletion, so that readers and the profile
// functions of other programs are not disturbed) with an exclusive byte-range lock far beyond
// any content, which other writers of the suite wait for. A program that locks any part of the
// file itself (LockFileEx) makes the file "locked". The new content goes to a temporary file in
// the same folder, private to this user while it is written, flushed to disk, given the access
// control list and attributes of the file it replaces, and renamed over it in one step
// (MoveFileExW, or ReplaceFileW where the system refuses to rename over an open file; a new file
// is only created when nobody created it meanwhile). A writer that waited for the lock checks that the path
// still names the file it locked, and otherwise starts again on the new file.
#include "platform/name_rules.h"
#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <aclapi.h>
#include <sddl.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <unordered_set>

namespace kirva::platform {

namespace {

// How long a writer waits for another one, or for a program that holds the file open without
// sharing it, before it reports the file as locked.
constexpr auto kLockPatience = std::chrono::milliseconds(500);
// How often a writer starts again because another program replaced or created the file meanwhile.
constexpr int kMaxAttempts = 100;
constexpr int kMaxTemporaryNames = 100;
// How often a read is tried again while another program holds the file without sharing it.
constexpr int kMaxReadAttempts = 50;
// Age after which a temporary file is taken for one left by a killed writer.
constexpr auto kStaleAfter = std::chrono::minutes(1);
// The byte that writers of the suite lock: far beyond the end of any settings file, so that the
// lock never keeps a reader from the content.
constexpr std::uint64_t kWriterLockOffset = 0x7FFFFFFF00000000ULL;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

FileStamp StampOf(const BY_HANDLE_FILE_INFORMATION& info) {
    FileStamp stamp;
    stamp.ModifiedNs = win32::FileTimeToUnixNs(info.ftLastWriteTime);
    stamp.ChangedNs = 0;
    stamp.Size = (static_cast<std::uint64_t>(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
    stamp.Device = info.dwVolumeSerialNumber;
    stamp.Id = (static_cast<std::uint64_t>(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    return stamp;
}

bool IsMissingError(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME ||
           error == ERROR_BAD_NETPATH || error == ERROR_INVALID_DRIVE;
}

// Errors of a file that another program holds for the moment: open without sharing, locked,
// or deleted but still open (a replacement in progress).
bool IsBusyError(DWORD error) {
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_DELETE_PENDING || error == ERROR_USER_MAPPED_FILE;
}

void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

// Opens a path of any type without needing access to its content: to see what it is.
HANDLE OpenForAttributes(const std::wstring& path) {
    return ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                         FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

// Ok with the stamp when the handle is a regular file; NotAFile for a folder or a device.
FileResult StampOfHandle(HANDLE handle, FileStamp& stamp) {
    if (::GetFileType(handle) != FILE_TYPE_DISK) return FileResult::NotAFile;
    BY_HANDLE_FILE_INFORMATION info{};
    if (!::GetFileInformationByHandle(handle, &info)) return FileResult::Failed;
    if ((info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileResult::NotAFile;
    stamp = StampOf(info);
    return FileResult::Ok;
}

bool ReadAll(HANDLE handle, std::string& bytes, DWORD& error) {
    bytes.clear();
    LARGE_INTEGER size{};
    if (::GetFileSizeEx(handle, &size) && size.QuadPart > 0)
        bytes.reserve(static_cast<std::size_t>(size.QuadPart) + 1);
    char buffer[65536];
    for (;;) {
        DWORD got = 0;
        if (!::ReadFile(handle, buffer, sizeof buffer, &got, nullptr)) {
            error = ::GetLastError();
            return false;
        }
        if (got == 0) return true;
        bytes.append(buffer, got);
    }
}

bool WriteAll(HANDLE handle, const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, 1u << 20));
        DWORD put = 0;
        if (!::WriteFile(handle, bytes.data() + done, chunk, &put, nullptr) || put == 0) return false;
        done += put;
    }
    return true;
}

// The folder part of a path with its separator ("C:\\", "dir\\", "C:"), or "" for a bare name.
std::wstring FolderOf(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L"\\/:");
    return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1);
}

std::wstring NameOf(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L"\\/:");
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

// A name in a folder given by FolderOf.
std::wstring InFolder(const std::wstring& folder, const std::wstring& name) {
    return folder + name;
}

bool LockRange(HANDLE handle, std::uint64_t offset, std::uint64_t length) {
    OVERLAPPED where{};
    where.Offset = static_cast<DWORD>(offset);
    where.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return ::LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0,
                        static_cast<DWORD>(length), static_cast<DWORD>(length >> 32), &where) != 0;
}

void UnlockRange(HANDLE handle, std::uint64_t offset, std::uint64_t length) {
    OVERLAPPED where{};
    where.Offset = static_cast<DWORD>(offset);
    where.OffsetHigh = static_cast<DWORD>(offset >> 32);
    ::UnlockFileEx(handle, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32), &where);
}

// Takes the writers' lock and checks that no other program holds a lock on the content, waiting
// kLockPatience at most. Locked when another holder kept its lock.
FileResult LockWithPatience(HANDLE handle) {
    const auto giveUp = std::chrono::steady_clock::now() + kLockPatience;
    bool writerLock = false;
    for (;;) {
        if (!writerLock) writerLock = LockRange(handle, kWriterLockOffset, 1);
        if (writerLock && LockRange(handle, 0, kWriterLockOffset)) {
            // Nobody holds any part of the content: give it back at once, so that readers of
            // other programs are never refused while this writer works.
            UnlockRange(handle, 0, kWriterLockOffset);
            return FileResult::Ok;
        }
        const DWORD error = ::GetLastError();
        if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) return FileResult::Failed;
        if (std::chrono::steady_clock::now() > giveUp) return FileResult::Locked;
        Pause();
    }
}

// The security descriptor of a file that only this user (with the system and the
// administrators) may open: a file being written, and a new settings file, which may hold the
// password of an FTP account.
class PrivateSecurity {
  public:
    PrivateSecurity() {
        HANDLE token = nullptr;
        if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) return;
        const win32::Handle owned(token);
        DWORD size = 0;
        ::GetTokenInformation(token, TokenUser, nullptr, 0, &size);
        std::string buffer(size, '\0');
        if (size == 0 || !::GetTokenInformation(token, TokenUser, buffer.data(), size, &size)) return;
        wchar_t* sid = nullptr;
        if (!::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, &sid)) return;
        const std::wstring sddl = L"D:P(A;;FA;;;" + std::wstring(sid) + L")(A;;FA;;;SY)(A;;FA;;;BA)";
        ::LocalFree(sid);
        ::ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl.c_str(), SDDL_REVISION_1, &descriptor_,
                                                               nullptr);
    }
    ~PrivateSecurity() {
        if (descriptor_ != nullptr) ::LocalFree(descriptor_);
    }
    PrivateSecurity(const PrivateSecurity&) = delete;
    PrivateSecurity& operator=(const PrivateSecurity&) = delete;
    PSECURITY_DESCRIPTOR get() const { return descriptor_; }

  private:
    PSECURITY_DESCRIPTOR descriptor_ = nullptr;
};

// The access control list of an open file, to give to the file that replaces it.
class FileAcl {
  public:
    explicit FileAcl(HANDLE handle) {
        if (::GetSecurityInfo(handle, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &dacl_,
                              nullptr, &descriptor_) != ERROR_SUCCESS) {
            descriptor_ = nullptr;
            dacl_ = nullptr;
            return;
        }
        SECURITY_DESCRIPTOR_CONTROL control = 0;
        DWORD revision = 0;
        if (::GetSecurityDescriptorControl(descriptor_, &control, &revision))
            protected_ = (control & SE_DACL_PROTECTED) != 0;
    }
    ~FileAcl() {
        if (descriptor_ != nullptr) ::LocalFree(descriptor_);
    }
    FileAcl(const FileAcl&) = delete;
    FileAcl& operator=(const FileAcl&) = delete;
    // False when the list was known and could not be given to the file.
    bool ApplyTo(HANDLE handle) const {
        if (descriptor_ == nullptr) return true; // a file system without access control lists
        const SECURITY_INFORMATION what =
            DACL_SECURITY_INFORMATION |
            (protected_ ? PROTECTED_DACL_SECURITY_INFORMATION : UNPROTECTED_DACL_SECURITY_INFORMATION);
        return ::SetSecurityInfo(handle, SE_FILE_OBJECT, what, nullptr, nullptr, dacl_, nullptr) ==
               ERROR_SUCCESS;
    }

  private:
    PSECURITY_DESCRIPTOR descriptor_ = nullptr;
    PACL dacl_ = nullptr;
    bool protected_ = false;
};

// Gives the new file the attributes (hidden, system, archive, ...) and the creation time of the
// file it replaces: it takes that file's place in every respect but its content.
bool TakeOverAttributes(HANDLE replaced, HANDLE replacement) {
    FILE_BASIC_INFO old{};
    if (!::GetFileInformationByHandleEx(replaced, FileBasicInfo, &old, sizeof old)) return true;
    FILE_BASIC_INFO taken{};
    taken.CreationTime = old.CreationTime;
    taken.FileAttributes = old.FileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    if (taken.FileAttributes == 0) taken.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    return ::SetFileInformationByHandle(replacement, FileBasicInfo, &taken, sizeof taken) != 0;
}

// The file a path names once symbolic links and junctions are followed, for an existing file.
std::wstring FinalPath(HANDLE handle, const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return path;
    std::wstring final(MAX_PATH, L'\0');
    for (int attempt = 0; attempt < 3; ++attempt) {
        const DWORD length = ::GetFinalPathNameByHandleW(
            handle, final.data(), static_cast<DWORD>(final.size()), FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
        if (length == 0) return path;
        if (length < final.size()) {
            final.resize(length);
            return final;
        }
        final.resize(length + 1);
    }
    return path;
}

} // namespace

namespace win32 {

// Temporary files are named ".<file name>.<process id>-<counter>.tmp" beside the file, so that
// one left by a killed writer is recognised (and removed later, see RemoveStaleTemporaries).
bool IsTemporaryOf(std::wstring_view entry, std::wstring_view name) {
    // File names compare without regard to case.
    return platform::IsTemporaryOf(entry, name, [](std::wstring_view a, std::wstring_view b) {
        return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                      static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
    });
}

HANDLE CreateTemporaryBeside(const std::wstring& path, std::wstring& temporary,
                             PSECURITY_DESCRIPTOR security) {
    static std::atomic<unsigned> counter{0};
    const std::wstring folder = FolderOf(path);
    const std::wstring name = NameOf(path);
    SECURITY_ATTRIBUTES attributes{};
    attributes.nLength = sizeof attributes;
    attributes.lpSecurityDescriptor = security;
    attributes.bInheritHandle = FALSE;
    for (int attempt = 0; attempt < kMaxTemporaryNames; ++attempt) {
        temporary = InFolder(folder, TemporaryName<wchar_t>(name, ::GetCurrentProcessId(), counter++));
        // Shared with nobody: no other program opens it before it is complete.
        HANDLE handle = ::CreateFileW(temporary.c_str(), GENERIC_WRITE | READ_CONTROL | WRITE_DAC, 0,
                                      security != nullptr ? &attributes : nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle != INVALID_HANDLE_VALUE || ::GetLastError() != ERROR_FILE_EXISTS) return handle;
    }
    ::SetLastError(ERROR_FILE_EXISTS);
    return INVALID_HANDLE_VALUE;
}

void RemoveStaleTemporaries(const std::wstring& path) {
    // Once per file and process: a temporary goes stale a minute after its writer was killed, and
    // reading the folder at every write would cost more than the write in a folder of many files.
    static std::mutex mutex;
    static std::unordered_set<std::wstring> swept;
    {
        const std::lock_guard lock(mutex);
        if (swept.size() > 4096) swept.clear();
        if (!swept.insert(path).second) return;
    }
    const std::wstring folder = FolderOf(path);
    const std::wstring name = NameOf(path);
    WIN32_FIND_DATAW entry{};
    const HANDLE search = ::FindFirstFileW(InFolder(folder, L"." + name + L".*.tmp").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) return;
    FILETIME nowTime{};
    ::GetSystemTimeAsFileTime(&nowTime);
    const std::int64_t now = FileTimeToUnixNs(nowTime);
    const std::int64_t staleNs = std::chrono::duration_cast<std::chrono::nanoseconds>(kStaleAfter).count();
    do {
        if ((entry.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) != 0 ||
            !IsTemporaryOf(entry.cFileName, name))
            continue;
        if (now - FileTimeToUnixNs(entry.ftLastWriteTime) > staleNs)
            ::DeleteFileW(InFolder(folder, entry.cFileName).c_str());
    } while (::FindNextFileW(search, &entry));
    ::FindClose(search);
}

} // namespace win32

FileResult StatFile(const std::string& path, FileStamp& stamp) {
    try {
        const win32::Handle handle(OpenForAttributes(win32::Widen(path)));
        if (!handle.valid())
            return IsMissingError(::GetLastError()) ? FileResult::Missing : FileResult::Failed;
        return StampOfHandle(handle.get(), stamp);
    } catch (const std::exception&) {
        return FileResult::Failed;
    }
}

FileResult ReadWholeFile(const std::string& path, std::string& bytes, FileStamp& stamp) {
    try {
        const std::wstring wide = win32::Widen(path);
        // Read again when the file changed while it was being read, so that the stamp belongs to
        // exactly these bytes, and while another program holds it for a moment (a replacement).
        for (int attempt = 0; attempt < kMaxReadAttempts; ++attempt) {
            if (attempt > 0) Pause();
            const win32::Handle file(
                ::CreateFileW(wide.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
            if (!file.valid()) {
                const DWORD error = ::GetLastError();
                if (IsBusyError(error) || error == ERROR_ACCESS_DENIED) {
                    // A folder opens without access to its content; a file being replaced may
                    // refuse to open for an instant.
                    const DWORD attributes = ::GetFileAttributesW(wide.c_str());
                    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
                        return FileResult::NotAFile;
                    if (error == ERROR_ACCESS_DENIED && attributes != INVALID_FILE_ATTRIBUTES && attempt > 2)
                        return FileResult::Failed;
                    continue;
                }
                return IsMissingError(error) ? FileResult::Missing : FileResult::Failed;
            }
            FileStamp before;
            if (const FileResult kind = StampOfHandle(file.get(), before); kind != FileResult::Ok)
                return kind;
            DWORD error = 0;
            if (!ReadAll(file.get(), bytes, error)) {
                if (IsBusyError(error)) continue;
                return FileResult::Failed;
            }
            FileStamp after;
            if (StampOfHandle(file.get(), after) != FileResult::Ok) return FileResult::Failed;
            if (before == after && after.Size == bytes.size()) {
                stamp = after;
                return FileResult::Ok;
            }
        }
        return FileResult::Failed;
    } catch (const std::exception&) {
        return FileResult::Failed;
    }
}

namespace {

enum class PutResult { Done, Raced, Busy, Denied, Failed };

PutResult ErrorToPut(DWORD error) {
    if (error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
        error == ERROR_USER_MAPPED_FILE || error == ERROR_UNABLE_TO_REMOVE_REPLACED ||
        error == ERROR_DELETE_PENDING)
        return PutResult::Busy;
    if (error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT) return PutResult::Denied;
    return PutResult::Failed;
}

// Puts the complete temporary file in place of the file (or as the new file), trying again for
// a while when another program has the file open for an instant without allowing its deletion.
PutResult PutInPlace(const std::wstring& temporary, const std::wstring& path, bool exists) {
    const auto giveUp = std::chrono::steady_clock::now() + kLockPatience;
    for (;;) {
        DWORD error = 0;
        if (exists) {
            // A rename over the file is one atomic step: a reader finds the old file or the new
            // one. Where the system refuses to rename over a file that is open (even shared for
            // deletion), ReplaceFileW does the same work.
            if (::MoveFileExW(temporary.c_str(), path.c_str(),
                              MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
                return PutResult::Done;
            error = ::GetLastError();
            if (error == ERROR_ACCESS_DENIED) {
                if (::ReplaceFileW(path.c_str(), temporary.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS,
                                   nullptr, nullptr))
                    return PutResult::Done;
                error = ::GetLastError();
                if (error == ERROR_UNABLE_TO_MOVE_REPLACEMENT) {
                    // The replaced file is gone and the new one kept its temporary name: finish.
                    if (::MoveFileExW(temporary.c_str(), path.c_str(),
                                      MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
                        return PutResult::Done;
                    error = ::GetLastError();
                } else if (error == ERROR_FILE_NOT_FOUND) {
                    return PutResult::Raced; // deleted meanwhile by another program
                }
            }
        } else {
            // A new file: created only if nobody else created it meanwhile.
            if (::MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_WRITE_THROUGH))
                return PutResult::Done;
            error = ::GetLastError();
            if (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS) return PutResult::Raced;
        }
        const PutResult result = ErrorToPut(error);
        if ((result != PutResult::Busy && result != PutResult::Denied) ||
            std::chrono::steady_clock::now() > giveUp)
            return result;
        Pause();
    }
}

} // namespace

FileResult
ReplaceFileContents(const std::string& given,
                    const std::function<void(const std::string* current, std::string& bytes)>& build,
                    FileStamp& stamp) {
    try {
        const std::wstring givenPath = win32::Widen(given);
        for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
            // What the path names now: nothing, a folder, a device or a regular file.
            FileStamp named;
            bool exists = false;
            {
                const win32::Handle probe(OpenForAttributes(givenPath));
                if (probe.valid()) {
                    if (const FileResult kind = StampOfHandle(probe.get(), named); kind != FileResult::Ok)
                        return kind;
                    exists = true;
                } else if (!IsMissingError(::GetLastError())) {
                    return FileResult::Failed;
                }
            }

            win32::Handle file;
            std::wstring path = givenPath;
            std::string current;
            if (exists) {
                const DWORD attributes = ::GetFileAttributesW(givenPath.c_str());
                if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
                    return FileResult::ReadOnly;
                const auto giveUp = std::chrono::steady_clock::now() + kLockPatience;
                for (;;) {
                    file.Reset(::CreateFileW(givenPath.c_str(), GENERIC_READ | GENERIC_WRITE | READ_CONTROL,
                                             kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                             nullptr));
                    if (file.valid()) break;
                    const DWORD error = ::GetLastError();
                    if (error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT)
                        return FileResult::ReadOnly;
                    if (IsMissingError(error)) break; // replaced or deleted meanwhile
                    if (!IsBusyError(error)) return FileResult::Failed;
                    if (std::chrono::steady_clock::now() > giveUp) return FileResult::Locked;
                    Pause();
                }
                if (!file.valid()) continue;
                if (const FileResult locked = LockWithPatience(file.get()); locked != FileResult::Ok)
                    return locked;
                // Another writer may have replaced the file while this one waited: lock the new one.
                FileStamp locked;
                FileStamp now;
                if (StampOfHandle(file.get(), locked) != FileResult::Ok) return FileResult::Failed;
                const win32::Handle again(OpenForAttributes(givenPath));
                if (!again.valid() || StampOfHandle(again.get(), now) != FileResult::Ok ||
                    now.Id != locked.Id || now.Device != locked.Device)
                    continue;
                DWORD error = 0;
                if (!ReadAll(file.get(), current, error))
                    return IsBusyError(error) ? FileResult::Locked : FileResult::Failed;
                path = FinalPath(file.get(), givenPath);
            }

            std::string bytes;
            build(exists ? &current : nullptr, bytes);

            const PrivateSecurity privateSecurity;
            std::wstring temporary;
            win32::Handle out(win32::CreateTemporaryBeside(path, temporary, privateSecurity.get()));
            if (!out.valid()) {
                const DWORD error = ::GetLastError();
                return (error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT) ? FileResult::ReadOnly
                                                                                      : FileResult::Failed;
            }
            bool ok = WriteAll(out.get(), bytes) && ::FlushFileBuffers(out.get());
            // The replaced file's access control list, set before the file takes its place; a new
            // file keeps the private one it was made with.
            if (ok && exists)
                ok = FileAcl(file.get()).ApplyTo(out.get()) && TakeOverAttributes(file.get(), out.get());
            BY_HANDLE_FILE_INFORMATION written{};
            ok = ok && ::GetFileInformationByHandle(out.get(), &written);
            out.Reset();
            const PutResult put = ok ? PutInPlace(temporary, path, exists) : PutResult::Failed;
            if (put != PutResult::Done) {
                ::DeleteFileW(temporary.c_str());
                switch (put) {
                case PutResult::Raced:
                    continue;
                case PutResult::Busy:
                    return FileResult::Locked;
                case PutResult::Denied:
                    return FileResult::ReadOnly;
                default:
                    return FileResult::Failed;
                }
            }
            file.Reset();
            // The stamp of the file now in place when it is the one written (the system may have
            // given it the replaced file's identity); else of what was written.
            stamp = StampOf(written);
            const win32::Handle result(OpenForAttributes(path));
            FileStamp placed;
            if (result.valid() && StampOfHandle(result.get(), placed) == FileResult::Ok &&
                (placed.Id == stamp.Id || (exists && placed.Id == named.Id)) && placed.Size == bytes.size())
                stamp = placed;
            win32::RemoveStaleTemporaries(path);
            return FileResult::Ok;
        }
        // Other programs kept replacing or creating the file: give up rather than loop on.
        return FileResult::Locked;
    } catch (const std::exception&) {
        return FileResult::Failed;
    }
}

} // namespace kirva::platform
