// Settings files on the Windows backend: whole-file reads, atomic replacement and its refusals,
// stale temporaries, access control lists, and look-up of names in any case.
#include "platform/platform.h"
#include "platform/win32/internal.h"

#include <aclapi.h>
#include <sddl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kirva::platform {
namespace {

// A fresh folder below the temporary folder, removed with everything in it afterwards.
class FileIoWin : public ::testing::Test {
  protected:
    void SetUp() override {
        wchar_t base[MAX_PATH + 1] = {};
        ASSERT_GT(::GetTempPathW(MAX_PATH, base), 0u);
        static int counter = 0;
        folder_ = std::wstring(base) + L"kirva-fileio-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                  std::to_wstring(counter++) + L"-\u00e9\u03a9";
        ASSERT_TRUE(::CreateDirectoryW(folder_.c_str(), nullptr));
    }
    void TearDown() override { RemoveTree(folder_); }

    static void RemoveTree(const std::wstring& folder) {
        WIN32_FIND_DATAW entry{};
        const HANDLE search = ::FindFirstFileW((folder + L"\\*").c_str(), &entry);
        if (search != INVALID_HANDLE_VALUE) {
            do {
                const std::wstring name = entry.cFileName;
                if (name == L"." || name == L"..") continue;
                const std::wstring path = folder + L"\\" + name;
                ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
                if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
                    RemoveTree(path);
                else
                    ::DeleteFileW(path.c_str());
            } while (::FindNextFileW(search, &entry));
            ::FindClose(search);
        }
        ::RemoveDirectoryW(folder.c_str());
    }

    std::string Path(const std::string& name) const { return win32::Narrow(folder_) + "\\" + name; }

    static void WriteRaw(const std::string& path, const std::string& bytes) {
        const win32::Handle file(::CreateFileW(win32::Widen(path).c_str(), GENERIC_WRITE, 0, nullptr,
                                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        ASSERT_TRUE(file.valid());
        DWORD put = 0;
        ASSERT_TRUE(::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &put, nullptr));
        ASSERT_EQ(put, bytes.size());
    }

    static std::string ReadRaw(const std::string& path) {
        const win32::Handle file(::CreateFileW(win32::Widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        std::string bytes;
        char buffer[4096];
        DWORD got = 0;
        while (file.valid() && ::ReadFile(file.get(), buffer, sizeof buffer, &got, nullptr) && got > 0)
            bytes.append(buffer, got);
        return bytes;
    }

    // Names in the folder, other than "." and "..".
    std::vector<std::wstring> Entries() const {
        std::vector<std::wstring> names;
        WIN32_FIND_DATAW entry{};
        const HANDLE search = ::FindFirstFileW((folder_ + L"\\*").c_str(), &entry);
        if (search == INVALID_HANDLE_VALUE) return names;
        do {
            const std::wstring name = entry.cFileName;
            if (name != L"." && name != L"..") names.push_back(name);
        } while (::FindNextFileW(search, &entry));
        ::FindClose(search);
        return names;
    }

    std::wstring folder_;
};

bool RunningUnderWine() {
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

FileResult Replace(const std::string& path, const std::string& bytes, FileStamp& stamp,
                   std::string* seen = nullptr, bool* sawFile = nullptr) {
    return ReplaceFileContents(
        path,
        [&](const std::string* current, std::string& out) {
            if (sawFile) *sawFile = current != nullptr;
            if (seen && current) *seen = *current;
            out = bytes;
        },
        stamp);
}

TEST_F(FileIoWin, CreatesANewFileWithExactlyTheBytesAndItsStamp) {
    const std::string path = Path("Telvar.ini");
    const std::string bytes = "[TELVAR]\r\nHostName=CN12\r\nMot=p\xe9tale\r\n";
    FileStamp stamp;
    bool sawFile = true;
    ASSERT_EQ(Replace(path, bytes, stamp, nullptr, &sawFile), FileResult::Ok);
    EXPECT_FALSE(sawFile);
    EXPECT_EQ(ReadRaw(path), bytes);
    FileStamp stat;
    ASSERT_EQ(StatFile(path, stat), FileResult::Ok);
    EXPECT_EQ(stat, stamp);
    EXPECT_EQ(stat.Size, bytes.size());
    EXPECT_EQ(Entries(), std::vector<std::wstring>{L"Telvar.ini"});
}

TEST_F(FileIoWin, ReplacesAnExistingFileWithItsContentHandedToTheBuilder) {
    const std::string path = Path("Iso.ini");
    WriteRaw(path, "[A]\r\nx=1\r\n");
    FileStamp before;
    ASSERT_EQ(StatFile(path, before), FileResult::Ok);
    std::string seen;
    FileStamp stamp;
    ASSERT_EQ(Replace(path, "[A]\r\nx=2\r\ny=3\r\n", stamp, &seen), FileResult::Ok);
    EXPECT_EQ(seen, "[A]\r\nx=1\r\n");
    EXPECT_EQ(ReadRaw(path), "[A]\r\nx=2\r\ny=3\r\n");
    FileStamp after;
    ASSERT_EQ(StatFile(path, after), FileResult::Ok);
    EXPECT_EQ(after, stamp);
    EXPECT_NE(after, before);
    std::string bytes;
    FileStamp read;
    ASSERT_EQ(ReadWholeFile(path, bytes, read), FileResult::Ok);
    EXPECT_EQ(bytes, "[A]\r\nx=2\r\ny=3\r\n");
    EXPECT_EQ(read, stamp);
    EXPECT_EQ(Entries(), std::vector<std::wstring>{L"Iso.ini"});
}

TEST_F(FileIoWin, StatAndReadTellMissingFoldersAndFiles) {
    ASSERT_TRUE(::CreateDirectoryW((folder_ + L"\\Sub").c_str(), nullptr));
    WriteRaw(Path("a.ini"), "abc");
    struct Case {
        std::string name;
        FileResult expected;
    };
    const std::vector<Case> cases = {
        {"a.ini", FileResult::Ok},
        {"A.INI", FileResult::Ok},
        {"missing.ini", FileResult::Missing},
        {"Nope\\missing.ini", FileResult::Missing},
        {"Sub", FileResult::NotAFile},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FileStamp stamp;
        EXPECT_EQ(StatFile(Path(c.name), stamp), c.expected);
        std::string bytes;
        EXPECT_EQ(ReadWholeFile(Path(c.name), bytes, stamp), c.expected);
        if (c.expected == FileResult::Ok) {
            EXPECT_EQ(bytes, "abc");
            EXPECT_EQ(stamp.Size, 3u);
        }
    }
}

// Each way a write is refused leaves the file, and the folder, exactly as they were.
TEST_F(FileIoWin, RefusedWritesLeaveTheFileUntouched) {
    enum class Hold { ReadOnlyAttribute, Folder, LockWholeFile, LockFirstBytes, OpenWithoutSharing };
    struct Case {
        const char* what;
        Hold hold;
        FileResult expected;
    };
    const std::vector<Case> cases = {
        {"read-only attribute", Hold::ReadOnlyAttribute, FileResult::ReadOnly},
        {"a folder", Hold::Folder, FileResult::NotAFile},
        {"LockFileEx on the whole file", Hold::LockWholeFile, FileResult::Locked},
        {"LockFileEx on the first bytes", Hold::LockFirstBytes, FileResult::Locked},
        {"open without sharing", Hold::OpenWithoutSharing, FileResult::Locked},
    };
    const std::string original = "[TELVAR]\r\nService=0\r\n";
    int index = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string path = Path("f" + std::to_string(index++) + ".ini");
        win32::Handle holder;
        if (c.hold == Hold::Folder) {
            ASSERT_TRUE(::CreateDirectoryW(win32::Widen(path).c_str(), nullptr));
        } else {
            WriteRaw(path, original);
        }
        if (c.hold == Hold::ReadOnlyAttribute) {
            ASSERT_TRUE(::SetFileAttributesW(win32::Widen(path).c_str(), FILE_ATTRIBUTE_READONLY));
        }
        if (c.hold == Hold::LockWholeFile || c.hold == Hold::LockFirstBytes) {
            holder.Reset(::CreateFileW(win32::Widen(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
            ASSERT_TRUE(holder.valid());
            OVERLAPPED where{};
            const DWORD low = c.hold == Hold::LockWholeFile ? MAXDWORD : 4;
            const DWORD high = c.hold == Hold::LockWholeFile ? MAXDWORD : 0;
            ASSERT_TRUE(::LockFileEx(holder.get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0,
                                     low, high, &where));
        }
        if (c.hold == Hold::OpenWithoutSharing) {
            holder.Reset(::CreateFileW(win32::Widen(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0,
                                       nullptr));
            ASSERT_TRUE(holder.valid());
        }
        const auto entriesBefore = Entries();
        FileStamp stamp;
        bool built = false;
        const FileResult result = ReplaceFileContents(
            path,
            [&](const std::string*, std::string& out) {
                built = true;
                out = "changed";
            },
            stamp);
        EXPECT_EQ(result, c.expected);
        EXPECT_FALSE(built);
        holder.Reset();
        if (c.hold != Hold::Folder) {
            EXPECT_EQ(ReadRaw(path), original);
        }
        EXPECT_EQ(Entries(), entriesBefore);
    }
}

// A reader sees the old content or the new one while a writer replaces the file, never a
// mixture, a short file or no file.
TEST_F(FileIoWin, ReadersNeverSeeATornFile) {
    const std::string path = Path("Telvar.ini");
    const std::string a(3000, 'a');
    const std::string b = "[B]\r\n" + std::string(9000, 'b');
    FileStamp stamp;
    ASSERT_EQ(Replace(path, a, stamp), FileResult::Ok);
    std::atomic<bool> done{false};
    std::atomic<int> reads{0};
    std::atomic<int> bad{0};
    std::atomic<int> missing{0};
    std::thread reader([&] {
        // Bounded: the reader stops when the writer is done, or after this many reads.
        for (int i = 0; i < 200000 && !done.load(); ++i) {
            std::string bytes;
            FileStamp seen;
            const FileResult result = ReadWholeFile(path, bytes, seen);
            if (result == FileResult::Missing)
                ++missing;
            else if (result != FileResult::Ok || (bytes != a && bytes != b))
                ++bad;
            ++reads;
        }
    });
    int writes = 0;
    for (int i = 0; i < 100; ++i) writes += Replace(path, i % 2 == 0 ? b : a, stamp) == FileResult::Ok;
    done = true;
    reader.join();
    EXPECT_EQ(writes, 100);
    EXPECT_GT(reads.load(), 0);
    EXPECT_EQ(bad.load(), 0);
    // Windows renames over the file in one step. Wine 8 lets a reader find no file for an instant
    // while another name is renamed over it: that is Wine's difference, not a torn file.
    if (!RunningUnderWine()) {
        EXPECT_EQ(missing.load(), 0);
    }
    EXPECT_EQ(ReadRaw(path), a);
}

// Two threads replacing the same file at once both get their change in: no update is lost.
TEST_F(FileIoWin, ConcurrentWritersLoseNoUpdate) {
    const std::string path = Path("Count.ini");
    constexpr int kPerWriter = 40;
    auto increment = [&] {
        int ok = 0;
        for (int i = 0; i < kPerWriter; ++i) {
            FileStamp stamp;
            const FileResult result = ReplaceFileContents(
                path,
                [](const std::string* current, std::string& out) {
                    out = std::to_string(current ? std::stoi(*current) + 1 : 1);
                },
                stamp);
            ok += result == FileResult::Ok;
        }
        return ok;
    };
    int first = 0;
    std::thread other([&] { first = increment(); });
    const int second = increment();
    other.join();
    EXPECT_EQ(first + second, 2 * kPerWriter);
    EXPECT_EQ(ReadRaw(path), std::to_string(2 * kPerWriter));
}

TEST_F(FileIoWin, StaleTemporariesOfTheFileAreRemovedAtItsFirstWrite) {
    const std::string path = Path("Stale.ini");
    const auto make = [&](const std::wstring& name, int ageMinutes) {
        const std::wstring full = folder_ + L"\\" + name;
        const win32::Handle file(::CreateFileW(full.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                               FILE_ATTRIBUTE_NORMAL, nullptr));
        ASSERT_TRUE(file.valid());
        FILETIME now{};
        ::GetSystemTimeAsFileTime(&now);
        ULARGE_INTEGER ticks{};
        ticks.LowPart = now.dwLowDateTime;
        ticks.HighPart = now.dwHighDateTime;
        ticks.QuadPart -= static_cast<ULONGLONG>(ageMinutes) * 60ULL * 10000000ULL;
        FILETIME then{ticks.LowPart, ticks.HighPart};
        ASSERT_TRUE(::SetFileTime(file.get(), nullptr, nullptr, &then));
    };
    make(L".Stale.ini.4242-7.tmp", 5); // left by a killed writer
    make(L".stale.INI.4243-0.tmp", 5); // the same file, spelled otherwise
    make(L".Stale.ini.4244-1.tmp", 0); // a writer at work now
    make(L".Other.ini.4242-7.tmp", 5); // another file's
    make(L".Stale.ini.backup.tmp", 5); // not a temporary name
    FileStamp stamp;
    ASSERT_EQ(Replace(path, "x", stamp), FileResult::Ok);
    auto entries = Entries();
    std::sort(entries.begin(), entries.end());
    const std::vector<std::wstring> expected = {L".Other.ini.4242-7.tmp", L".Stale.ini.4244-1.tmp",
                                                L".Stale.ini.backup.tmp", L"Stale.ini"};
    EXPECT_EQ(entries, expected);
}

TEST_F(FileIoWin, TemporaryNamesAreRecognised) {
    struct Case {
        const wchar_t* entry;
        bool temporary;
    };
    const std::vector<Case> cases = {
        {L".Telvar.ini.12-0.tmp", true}, {L".TELVAR.INI.12-0.TMP", true},  {L".Telvar.ini.12-.tmp", false},
        {L".Telvar.ini.-3.tmp", false},  {L".Telvar.ini.1x-3.tmp", false}, {L"Telvar.ini.12-0.tmp", false},
        {L".Telvar.ini12-0.tmp", false}, {L".Telvar.ini.12-0.tm", false},  {L".Telvar.ini", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(win32::Narrow(c.entry));
        EXPECT_EQ(win32::IsTemporaryOf(c.entry, L"Telvar.ini"), c.temporary);
    }
}

// The access control list that a file holds as a text, "" when the file system keeps none.
std::wstring DaclText(const std::string& path) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    PACL dacl = nullptr;
    if (::GetNamedSecurityInfoW(win32::Widen(path).c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                nullptr, nullptr, &dacl, nullptr, &descriptor) != ERROR_SUCCESS)
        return L"";
    wchar_t* text = nullptr;
    std::wstring result;
    if (::ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                               DACL_SECURITY_INFORMATION, &text, nullptr)) {
        result = text;
        ::LocalFree(text);
    }
    ::LocalFree(descriptor);
    return result;
}

TEST_F(FileIoWin, AReplacedFileKeepsItsAccessControlListAndANewFileIsPrivate) {
    // An existing file that everyone may read keeps that list through a replacement.
    const std::string shared = Path("Shared.ini");
    WriteRaw(shared, "old");
    const std::wstring everyoneReads = L"D:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;FA;;;OW)(A;;FR;;;WD)";
    PSECURITY_DESCRIPTOR wanted = nullptr;
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(everyoneReads.c_str(), SDDL_REVISION_1,
                                                                       &wanted, nullptr));
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL dacl = nullptr;
    ASSERT_TRUE(::GetSecurityDescriptorDacl(wanted, &present, &dacl, &defaulted));
    const DWORD set = ::SetNamedSecurityInfoW(win32::Widen(shared).data(), SE_FILE_OBJECT,
                                              DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                              nullptr, nullptr, dacl, nullptr);
    ::LocalFree(wanted);
    ASSERT_EQ(set, static_cast<DWORD>(ERROR_SUCCESS));
    const std::wstring before = DaclText(shared);
    if (before.find(L"WD") == std::wstring::npos)
        GTEST_SKIP() << "this file system keeps no access control list";
    FileStamp stamp;
    ASSERT_EQ(Replace(shared, "new", stamp), FileResult::Ok);
    EXPECT_EQ(DaclText(shared), before);

    // A new file grants nobody but this user, the system and the administrators.
    const std::string created = Path("New.ini");
    ASSERT_EQ(Replace(created, "secret", stamp), FileResult::Ok);
    const std::wstring text = DaclText(created);
    for (const wchar_t* broad : {L";WD)", L";BU)", L";AU)", L";IU)", L";BG)", L";AN)"})
        EXPECT_EQ(text.find(broad), std::wstring::npos) << win32::Narrow(text);
}

TEST_F(FileIoWin, FindsFilesInAnyCaseWithTheirSpellingOnDisk) {
    ASSERT_TRUE(::CreateDirectoryW((folder_ + L"\\Lng").c_str(), nullptr));
    ASSERT_TRUE(::CreateDirectoryW((folder_ + L"\\Dossier").c_str(), nullptr));
    WriteRaw(Path("Telvar.exe"), "MZ");
    WriteRaw(Path("Lng\\FR.lng"), "x");
    WriteRaw(Path("\xc3\x89tat.ini"), "x"); // "État.ini"
    const std::string base = win32::Narrow(folder_);
    struct Case {
        std::string name;
        std::optional<std::string> found;
    };
    const std::vector<Case> cases = {
        {"Telvar.exe", base + "\\Telvar.exe"},
        {"TELVAR.EXE", base + "\\Telvar.exe"},
        {"lng/fr.LNG", base + "\\Lng\\FR.lng"},
        {"lng\\.\\Fr.lng", base + "\\Lng\\FR.lng"},
        {"\xc3\xa9tat.ini", base + "\\\xc3\x89tat.ini"}, // "état.ini"
        {"dossier", std::nullopt},                       // a folder is not a file
        {"Telvar.exe\\x", std::nullopt},
        {"missing.exe", std::nullopt},
        {"T*.exe", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FindFileNoCase(base, c.name), c.found);
    }
}

} // namespace
} // namespace kirva::platform
