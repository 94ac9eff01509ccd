// Settings files on the Windows backend: whole-file reads, atomic replacement and its refusals,
// stale temporaries, access control lists, and look-up of names in any case.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
#include "support/TempDir.h"

#include <aclapi.h>
#include <sddl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kirva::platform {
namespace {

namespace fs = std::filesystem;

// A fresh folder whose name lies outside the ANSI code page, removed with everything in it
// (read-only files too) afterwards.
class FileIoWin : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(fs::create_directory(folder_)); }

    std::string Path(const std::string& name) const { return win32::Narrow(folder_.wstring()) + "\\" + name; }
    static void WriteRaw(const std::string& path, const std::string& bytes) {
        std::ofstream(fs::path(win32::Widen(path)), std::ios::binary) << bytes;
    }
    static std::string ReadRaw(const std::string& path) {
        std::ifstream file(fs::path(win32::Widen(path)), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // Names in the folder, sorted.
    std::vector<std::wstring> Entries() const {
        std::vector<std::wstring> names;
        for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    const test::TempDir dir_;
    const fs::path folder_ = dir_.path() / L"fileio-\u00e9\u03a9";
};

// Replaces the file with `bytes`. `seen` gets what the builder was handed (nullopt: no file) and
// is left alone when the builder is not called.
FileResult Replace(const std::string& path, const std::string& bytes, FileStamp& stamp,
                   std::optional<std::string>* seen = nullptr) {
    return ReplaceFileContents(
        path,
        [&](const std::string* current, std::string& out) {
            if (seen) *seen = current ? std::optional(*current) : std::nullopt;
            out = bytes;
        },
        stamp);
}

TEST_F(FileIoWin, CreatesThenReplacesAFileWithExactlyTheBytesAndTheirStamp) {
    const std::string path = Path("Telvar.ini");
    const std::string first = "[TELVAR]\r\nHostName=CN12\r\nMot=p\xe9tale\r\n";
    const std::string second = "[A]\r\nx=2\r\ny=3\r\n";
    FileStamp stamp, stat;
    std::optional<std::string> seen = "not built";
    ASSERT_EQ(Replace(path, first, stamp, &seen), FileResult::Ok);
    EXPECT_EQ(seen, std::nullopt);
    EXPECT_EQ(ReadRaw(path), first);
    ASSERT_EQ(StatFile(path, stat), FileResult::Ok);
    EXPECT_EQ(stat, stamp);
    EXPECT_EQ(stat.Size, first.size());

    const FileStamp before = stamp;
    ASSERT_EQ(Replace(path, second, stamp, &seen), FileResult::Ok);
    EXPECT_EQ(seen, first);
    EXPECT_EQ(ReadRaw(path), second);
    std::string bytes;
    ASSERT_EQ(ReadWholeFile(path, bytes, stat), FileResult::Ok);
    EXPECT_EQ(stat, stamp);
    EXPECT_NE(stat, before);
    EXPECT_EQ(Entries(), std::vector<std::wstring>{L"Telvar.ini"});
}

TEST_F(FileIoWin, StatAndReadTellMissingFoldersAndFiles) {
    ASSERT_TRUE(fs::create_directory(folder_ / L"Sub"));
    for (const auto& [name, expected] :
         {std::pair<std::string, FileResult>{"missing.ini", FileResult::Missing},
          {"Nope\\missing.ini", FileResult::Missing},
          {"Sub", FileResult::NotAFile}}) {
        SCOPED_TRACE(name);
        FileStamp stamp;
        EXPECT_EQ(StatFile(Path(name), stamp), expected);
        std::string bytes;
        EXPECT_EQ(ReadWholeFile(Path(name), bytes, stamp), expected);
    }
}

// Each way a write is refused leaves the file, and the folder, exactly as they were.
TEST_F(FileIoWin, RefusedWritesLeaveTheFileUntouched) {
    const struct {
        const char* what;
        bool readOnly;
        DWORD share;             // of the holder's handle; none: no holder
        DWORD lockLow, lockHigh; // the bytes that the holder locks with LockFileEx
        FileResult expected;
    } cases[] = {
        {"read-only attribute", true, ~DWORD{0}, 0, 0, FileResult::ReadOnly},
        {"LockFileEx on the whole file", false, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
         MAXDWORD, MAXDWORD, FileResult::Locked},
        {"LockFileEx on the first bytes", false, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, 4, 0,
         FileResult::Locked},
        {"open without sharing", false, 0, 0, 0, FileResult::Locked},
    };
    const std::string original = "[TELVAR]\r\nService=0\r\n";
    int index = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string path = Path("f" + std::to_string(index++) + ".ini");
        const std::wstring wide = win32::Widen(path);
        WriteRaw(path, original);
        ASSERT_TRUE(!c.readOnly || ::SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_READONLY));
        win32::Handle holder;
        if (c.share != ~DWORD{0}) {
            holder.Reset(::CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, c.share, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
            ASSERT_TRUE(holder.valid());
            OVERLAPPED where{};
            ASSERT_TRUE(c.lockLow == 0 ||
                        ::LockFileEx(holder.get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0,
                                     c.lockLow, c.lockHigh, &where));
        }
        const auto entriesBefore = Entries();
        FileStamp stamp;
        std::optional<std::string> seen = "not built";
        EXPECT_EQ(Replace(path, "changed", stamp, &seen), c.expected);
        EXPECT_EQ(seen, "not built");
        holder.Reset();
        EXPECT_EQ(ReadRaw(path), original);
        EXPECT_EQ(Entries(), entriesBefore);
    }
}

// Two threads replace the same file at once, each adding one to the number it holds, while a
// third reads it: no update is lost, and the reader sees one whole version each time, never a
// mixture, a short file or no file.
TEST_F(FileIoWin, ConcurrentWritersLoseNoUpdateAndReadersNeverSeeATornFile) {
    const std::string path = Path("Count.ini");
    // Consecutive versions differ in length and in every byte after the number.
    const auto version = [](int n) {
        return std::to_string(n) + "\r\n" + std::string(n % 2 ? 3000 : 9000, n % 2 ? 'a' : 'b');
    };
    FileStamp stamp;
    ASSERT_EQ(Replace(path, version(0), stamp), FileResult::Ok);
    constexpr int kPerWriter = 40;
    auto increment = [&] {
        int ok = 0;
        for (int i = 0; i < kPerWriter; ++i) {
            FileStamp written;
            ok += ReplaceFileContents(
                      path,
                      [&](const std::string* current, std::string& out) {
                          out = version(current ? std::atoi(current->c_str()) + 1 : -1);
                      },
                      written) == FileResult::Ok;
        }
        return ok;
    };
    std::atomic<bool> done{false};
    std::atomic<int> reads{0}, bad{0}, missing{0};
    std::thread reader([&] {
        // Bounded: the reader stops when the writers are done, or after this many reads.
        for (int i = 0; i < 200000 && !done.load(); ++i, ++reads) {
            std::string bytes;
            const FileResult result = ReadWholeFile(path, bytes, stamp);
            if (result == FileResult::Missing)
                ++missing;
            else if (result != FileResult::Ok || bytes != version(std::atoi(bytes.c_str())))
                ++bad;
        }
    });
    int first = 0;
    std::thread other([&] { first = increment(); });
    const int second = increment();
    other.join();
    done = true;
    reader.join();
    EXPECT_EQ(first + second, 2 * kPerWriter);
    EXPECT_EQ(ReadRaw(path), version(2 * kPerWriter));
    EXPECT_GT(reads.load(), 0);
    EXPECT_EQ(bad.load(), 0);
    // Windows renames over the file in one step. Wine 8 lets a reader find no file for an instant
    // while another name is renamed over it: that is Wine's difference, not a torn file.
    if (!test::RunningUnderWine()) {
        EXPECT_EQ(missing.load(), 0);
    }
}

// A temporary of the file (".<name>.<pid>-<n>.tmp", in any case) left a while ago goes; every
// other entry stays.
TEST_F(FileIoWin, StaleTemporariesOfTheFileAreRemovedAtItsFirstWrite) {
    const struct {
        const wchar_t* name;
        int ageMinutes;
        bool removed;
    } entries[] = {
        {L".Stale.ini.4242-7.tmp", 5, true},  // left by a killed writer
        {L".STALE.INI.4243-0.TMP", 5, true},  // the same file, spelled otherwise
        {L".Stale.ini.4244-1.tmp", 0, false}, // a writer at work now
        {L".Other.ini.4242-7.tmp", 5, false}, // another file's
        {L".Stale.ini.backup.tmp", 5, false}, // not a temporary name, nor are the ones below
        {L".Stale.ini.-3.tmp", 5, false},     {L"Stale.ini.12-0.tmp", 5, false},
        {L".Stale.ini12-0.tmp", 5, false},    {L".Stale.ini.12-0.tm", 5, false},
    };
    std::vector<std::wstring> expected = {L"Stale.ini"};
    for (const auto& e : entries) {
        std::ofstream(folder_ / e.name).close();
        fs::last_write_time(folder_ / e.name,
                            fs::file_time_type::clock::now() - std::chrono::minutes(e.ageMinutes));
        if (!e.removed) expected.push_back(e.name);
    }
    std::sort(expected.begin(), expected.end());
    FileStamp stamp;
    ASSERT_EQ(Replace(Path("Stale.ini"), "x", stamp), FileResult::Ok);
    EXPECT_EQ(Entries(), expected);
}

// The access control list that a file holds as a text, "" when the file system keeps none.
std::wstring DaclText(const std::string& path) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    PACL dacl = nullptr;
    wchar_t* text = nullptr;
    if (::GetNamedSecurityInfoW(win32::Widen(path).c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                nullptr, nullptr, &dacl, nullptr, &descriptor) != ERROR_SUCCESS)
        return L"";
    std::wstring result;
    if (::ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                               DACL_SECURITY_INFORMATION, &text, nullptr))
        result = text;
    ::LocalFree(text);
    ::LocalFree(descriptor);
    return result;
}

TEST_F(FileIoWin, AReplacedFileKeepsItsAccessControlListAndANewFileIsPrivate) {
    // An existing file that everyone may read keeps that list through a replacement.
    const std::string shared = Path("Shared.ini");
    PSECURITY_DESCRIPTOR everyoneReads = nullptr;
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"D:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;FA;;;OW)(A;;FR;;;WD)", SDDL_REVISION_1, &everyoneReads, nullptr));
    SECURITY_ATTRIBUTES attributes{sizeof attributes, everyoneReads, FALSE};
    ASSERT_TRUE(win32::Handle(::CreateFileW(win32::Widen(shared).c_str(), GENERIC_WRITE, 0, &attributes,
                                            CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr))
                    .valid());
    ::LocalFree(everyoneReads);
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
    ASSERT_TRUE(fs::create_directory(folder_ / L"Lng"));
    ASSERT_TRUE(fs::create_directory(folder_ / L"Dossier"));
    WriteRaw(Path("Telvar.exe"), "MZ");
    WriteRaw(Path("Lng\\FR.lng"), "x");
    WriteRaw(Path("\xc3\x89tat.ini"), "x"); // "État.ini"
    const std::string base = win32::Narrow(folder_.wstring());
    const struct {
        std::string name;
        std::optional<std::string> found;
    } cases[] = {
        {"lng/fr.LNG", base + "\\Lng\\FR.lng"},
        {"lng\\.\\Fr.lng", base + "\\Lng\\FR.lng"},
        {"\xc3\xa9tat.ini", base + "\\\xc3\x89tat.ini"}, // "état.ini"
        {"dossier", std::nullopt},                       // a folder is not a file
        {"Telvar.exe\\x", std::nullopt},
        {"T*.exe", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(FindFileNoCase(base, c.name), c.found) << c.name;
}

} // namespace
} // namespace kirva::platform
