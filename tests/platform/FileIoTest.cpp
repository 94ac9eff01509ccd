// Whole-file reading and atomic replacement of the settings files.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "platform/posix/internal.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace kirva::platform {
namespace {

using test::ModeOf;
using test::ReadBytes;
using test::ScopedUmask;
using test::TempDir;
using test::WriteBytes;

const auto kAppend = [](const std::string& line) {
    return
        [line](const std::string* current, std::string& bytes) { bytes = (current ? *current : "") + line; };
};

TEST(PlatformFileIo, StampFollowsEveryReplacement) {
    TempDir dir;
    const std::string path = dir / "Telvar.ini";
    FileStamp stamp, read, replaced;
    std::string bytes;
    EXPECT_EQ(StatFile(path, stamp), FileResult::Missing);
    EXPECT_EQ(ReadWholeFile(path, bytes, read), FileResult::Missing);
    ASSERT_EQ(ReplaceFileContents(path, kAppend("a\r\n"), replaced), FileResult::Ok);
    ASSERT_EQ(ReadWholeFile(path, bytes, read), FileResult::Ok);
    EXPECT_EQ(bytes, "a\r\n");
    EXPECT_EQ(read, replaced);
    ASSERT_EQ(StatFile(path, stamp), FileResult::Ok);
    EXPECT_EQ(stamp, replaced);
    ASSERT_EQ(ReplaceFileContents(path, kAppend("b\r\n"), replaced), FileResult::Ok);
    EXPECT_NE(replaced, stamp);
    EXPECT_EQ(ReadBytes(path), "a\r\nb\r\n");
    EXPECT_EQ(StatFile(dir.path().string(), stamp), FileResult::NotAFile);
}

TEST(PlatformFileIo, RefusedReplacementLeavesFileAndFolderAsTheyWere) {
    TempDir dir;
    const std::string path = dir / "Kalderon.ini";
    WriteBytes(path, "kept");
    FileStamp stamp;
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_EQ(ReplaceFileContents(path, kAppend("x"), stamp), FileResult::ReadOnly);
    std::filesystem::permissions(path,
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const int holder = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(holder, LOCK_SH), 0);
    EXPECT_EQ(ReplaceFileContents(path, kAppend("x"), stamp), FileResult::Locked);
    ::close(holder);
    EXPECT_EQ(ReplaceFileContents(dir.path().string(), kAppend("x"), stamp), FileResult::NotAFile);
    EXPECT_EQ(ReplaceFileContents(dir / "no/folder.ini", kAppend("x"), stamp), FileResult::Failed);
    EXPECT_EQ(ReadBytes(path), "kept");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(PlatformFileIo, WritersAtOnceLoseNothing) {
    TempDir dir;
    const std::string path = dir / "shared.ini";
    constexpr int kWriters = 3;
    constexpr int kLines = 30;
    pid_t writers[kWriters];
    for (int w = 0; w < kWriters; ++w) {
        writers[w] = ::fork();
        if (writers[w] == 0) {
            FileStamp stamp;
            for (int i = 0; i < kLines; ++i)
                if (ReplaceFileContents(path, kAppend("x\n"), stamp) != FileResult::Ok) ::_exit(1);
            ::_exit(0);
        }
    }
    for (pid_t writer : writers) {
        int status = 0;
        ASSERT_EQ(::waitpid(writer, &status, 0), writer);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(ReadBytes(path).size(), static_cast<std::size_t>(2 * kWriters * kLines));
}

// Folder entries whose name starts with a dot: the temporary files.
std::vector<std::string> Temporaries(const TempDir& dir) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        if (entry.path().filename().string()[0] == '.') names.push_back(entry.path().filename().string());
    return names;
}

struct LinkCase {
    const char* name;
    std::vector<std::pair<std::string, std::string>> links; // link name -> where it points ("@" = the folder)
    FileResult result;
    const char* written; // the file that receives the bytes, nullptr when none may
};

class PlatformFileLinks : public ::testing::TestWithParam<LinkCase> {};

// A write through a link goes to the file the link points to, created when it does not exist
// yet; a loop or a link into a missing folder fails at once. The link itself stays a link.
TEST_P(PlatformFileLinks, WriteGoesWhereTheLinkPointsAndReturnsAtOnce) {
    const LinkCase& c = GetParam();
    TempDir dir;
    std::filesystem::create_directory(dir.path() / "real");
    for (const auto& [link, target] : c.links) {
        const std::string to = target[0] == '@' ? dir.path().string() + target.substr(1) : target;
        std::filesystem::create_symlink(to, dir.path() / link);
    }
    FileStamp stamp;
    EXPECT_EQ(ReplaceFileContents(dir / "Telvar.ini", kAppend("[RESEAU]\r\n"), stamp), c.result);
    EXPECT_TRUE(std::filesystem::is_symlink(dir.path() / "Telvar.ini"));
    if (c.written) {
        EXPECT_EQ(ReadBytes(dir / c.written), "[RESEAU]\r\n");
    }
    EXPECT_EQ(Temporaries(dir), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(
    Links, PlatformFileLinks,
    ::testing::Values(
        LinkCase{"DanglingRelative", {{"Telvar.ini", "real/Telvar.ini"}}, FileResult::Ok, "real/Telvar.ini"},
        LinkCase{"DanglingAbsolute", {{"Telvar.ini", "@/real/abs.ini"}}, FileResult::Ok, "real/abs.ini"},
        LinkCase{"Chain", {{"Telvar.ini", "b.ini"}, {"b.ini", "real/c.ini"}}, FileResult::Ok, "real/c.ini"},
        LinkCase{"Loop", {{"Telvar.ini", "b.ini"}, {"b.ini", "Telvar.ini"}}, FileResult::Failed, nullptr},
        LinkCase{"IntoMissingFolder", {{"Telvar.ini", "none/Telvar.ini"}}, FileResult::Failed, nullptr}),
    [](const auto& info) { return std::string(info.param.name); });

// A replaced file keeps its mode; a new one gets the umask's, never open to other users (a
// machine file holds a password).
TEST(PlatformFileIo, ModesOfReplacedAndNewFiles) {
    struct Case {
        std::optional<mode_t> existing;
        mode_t umask;
        mode_t expected;
    };
    for (const Case& c :
         {Case{0640, 022, 0640}, Case{0604, 077, 0604}, Case{0660, 0, 0660}, Case{std::nullopt, 0, 0660},
          Case{std::nullopt, 022, 0640}, Case{std::nullopt, 077, 0600}}) {
        TempDir dir;
        const std::string path = dir / "Telvar.ini";
        if (c.existing) {
            WriteBytes(path, "old");
            ::chmod(path.c_str(), *c.existing);
        }
        const ScopedUmask mask(c.umask);
        FileStamp stamp;
        ASSERT_EQ(ReplaceFileContents(path, kAppend("x"), stamp), FileResult::Ok);
        EXPECT_EQ(ModeOf(path), c.expected) << std::oct << c.existing.value_or(0) << " " << c.umask;
    }
}

TEST(PlatformFileIo, ReplacedFileKeepsItsOwnerAndGroup) {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser may give a file to another user";
    TempDir dir;
    const std::string path = dir / "Kalderon.ini";
    WriteBytes(path, "old");
    ASSERT_EQ(::chown(path.c_str(), 4321, 4322), 0);
    FileStamp stamp;
    ASSERT_EQ(ReplaceFileContents(path, kAppend("x"), stamp), FileResult::Ok);
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 4321u);
    EXPECT_EQ(info.st_gid, 4322u);
}

// The temporary file is private from its first byte and is never opened through a link that
// someone planted at the name it would take.
TEST(PlatformFileIo, TemporaryIsPrivateAndNeverFollowsALink) {
    TempDir dir;
    const ScopedUmask mask(0);
    const std::string path = dir / "Telvar.ini";
    std::string first;
    const int fd = posix::CreateTemporaryBeside(path, first);
    ASSERT_GE(fd, 0);
    ::close(fd);
    EXPECT_EQ(ModeOf(first), 0600u);
    EXPECT_TRUE(posix::IsTemporaryOf(std::filesystem::path(first).filename().string(), "Telvar.ini"));
    // The next name differs by its counter only: plant a link there.
    const std::size_t dash = first.rfind('-');
    const int counter = std::stoi(first.substr(dash + 1));
    const std::string planted = first.substr(0, dash + 1) + std::to_string(counter + 1) + ".tmp";
    WriteBytes(dir / "victim", "secret");
    std::filesystem::create_symlink(dir / "victim", planted);
    std::string second;
    const int fd2 = posix::CreateTemporaryBeside(path, second);
    ASSERT_GE(fd2, 0);
    EXPECT_EQ(::write(fd2, "x", 1), 1);
    ::close(fd2);
    EXPECT_NE(second, planted);
    EXPECT_EQ(ReadBytes(dir / "victim"), "secret");
    EXPECT_TRUE(std::filesystem::is_symlink(planted));
}

// A successful write removes the temporary files of the same file that a killed writer left
// more than a minute ago, and nothing else.
TEST(PlatformFileIo, StaleTemporariesGoWithTheNextWrite) {
    struct Entry {
        const char* name;
        int ageSeconds;
        bool link;
        bool kept;
    };
    const Entry entries[] = {
        {".Telvar.ini.123-4.tmp", 120, false, false}, {".Telvar.ini.123-5.tmp", 10, false, true},
        {".Telvar.ini.tmp", 120, false, true},        {".Telvar.ini.12a-4.tmp", 120, false, true},
        {".Other.ini.123-4.tmp", 120, false, true},   {".Telvar.ini.123-6.tmp", 120, true, true},
    };
    TempDir dir;
    WriteBytes(dir / "target", "t");
    for (const Entry& e : entries) {
        const std::string path = dir / e.name;
        if (e.link)
            std::filesystem::create_symlink(dir / "target", path);
        else
            WriteBytes(path, "partial");
        const struct timespec times[2] = {{::time(nullptr) - e.ageSeconds, 0},
                                          {::time(nullptr) - e.ageSeconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    FileStamp stamp;
    ASSERT_EQ(ReplaceFileContents(dir / "Telvar.ini", kAppend("x"), stamp), FileResult::Ok);
    for (const Entry& e : entries)
        EXPECT_EQ(std::filesystem::is_symlink(dir / e.name) || std::filesystem::exists(dir / e.name), e.kept)
            << e.name;
    EXPECT_EQ(ReadBytes(dir / "target"), "t");
}

} // namespace
} // namespace kirva::platform
