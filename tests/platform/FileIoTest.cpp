// Whole-file reading and atomic replacement of the settings files.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "platform/posix/internal.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <tuple>
#include <utility>
#include <vector>

namespace kirva::platform {
namespace {

namespace fs = std::filesystem;
using namespace test;

const auto kAppend = [](const std::string& line) {
    return
        [line](const std::string* current, std::string& bytes) { bytes = (current ? *current : "") + line; };
};

// Adds `line` to the end of the file (creating it).
FileResult Append(const std::string& path, const std::string& line) {
    FileStamp stamp;
    return ReplaceFileContents(path, kAppend(line), stamp);
}

// A write through a link goes to the file the link points to, created when it does not exist
// yet; a loop or a link into a missing folder fails at once. The link itself stays a link, and
// no temporary file (a name that starts with a dot) is left.
TEST(PlatformFileIo, WriteGoesWhereTheLinkPointsAndReturnsAtOnce) {
    const struct {
        std::vector<std::pair<std::string, std::string>> links; // link -> where it points ("@" = the folder)
        FileResult result;
        const char* written; // the file that receives the bytes when the write succeeds
    } cases[] = {
        {{{"Telvar.ini", "real/Telvar.ini"}}, FileResult::Ok, "real/Telvar.ini"},
        {{{"Telvar.ini", "@/real/abs.ini"}}, FileResult::Ok, "real/abs.ini"},
        {{{"Telvar.ini", "b.ini"}, {"b.ini", "real/c.ini"}}, FileResult::Ok, "real/c.ini"},
        {{{"Telvar.ini", "b.ini"}, {"b.ini", "Telvar.ini"}}, FileResult::Failed, "Telvar.ini"},
        {{{"Telvar.ini", "none/Telvar.ini"}}, FileResult::Failed, "none/Telvar.ini"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.links.back().second);
        TempDir dir;
        fs::create_directory(dir.path() / "real");
        for (const auto& [link, target] : c.links)
            fs::create_symlink(target[0] == '@' ? dir.path().string() + target.substr(1) : target,
                               dir / link);
        EXPECT_EQ(Append(dir / "Telvar.ini", "[RESEAU]\r\n"), c.result);
        EXPECT_TRUE(fs::is_symlink(dir / "Telvar.ini"));
        EXPECT_EQ(ReadBytes(dir / c.written), c.result == FileResult::Ok ? "[RESEAU]\r\n" : "");
        for (const auto& entry : fs::directory_iterator(dir.path()))
            EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
    }
}

// A replaced file keeps its owner and group. (How replaced and new files get their mode is tested
// on the registry file, which is written through the same function.)
TEST(PlatformFileIo, ReplacedFileKeepsItsOwnerAndGroup) {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser may give a file to another user";
    TempDir dir;
    const std::string path = dir / "Kalderon.ini";
    WriteBytes(path, "old");
    ASSERT_EQ(::chown(path.c_str(), 4321, 4322), 0);
    ASSERT_EQ(Append(path, "x"), FileResult::Ok);
    struct stat info = {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(std::pair(info.st_uid, info.st_gid), std::pair(4321u, 4322u));
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
    EXPECT_TRUE(posix::IsTemporaryOf(fs::path(first).filename().string(), "Telvar.ini"));
    // The next name differs by its counter only: plant a link there.
    const std::size_t dash = first.rfind('-');
    const int counter = std::stoi(first.substr(dash + 1));
    const std::string planted = first.substr(0, dash + 1) + std::to_string(counter + 1) + ".tmp";
    WriteBytes(dir / "victim", "secret");
    fs::create_symlink(dir / "victim", planted);
    std::string second;
    const int fd2 = posix::CreateTemporaryBeside(path, second);
    ASSERT_GE(fd2, 0);
    EXPECT_EQ(::write(fd2, "x", 1), 1);
    ::close(fd2);
    EXPECT_NE(second, planted);
    EXPECT_EQ(ReadBytes(dir / "victim"), "secret");
    EXPECT_TRUE(fs::is_symlink(planted));
}

// A successful write removes the temporary files of the same file that a killed writer left
// more than a minute ago, and nothing else.
TEST(PlatformFileIo, StaleTemporariesGoWithTheNextWrite) {
    // name, age in seconds, whether it is a link, whether the write keeps it
    const std::tuple<const char*, int, bool, bool> entries[] = {
        {".Telvar.ini.123-4.tmp", 120, false, false}, {".Telvar.ini.123-5.tmp", 10, false, true},
        {".Telvar.ini.tmp", 120, false, true},        {".Telvar.ini.12a-4.tmp", 120, false, true},
        {".Other.ini.123-4.tmp", 120, false, true},   {".Telvar.ini.123-6.tmp", 120, true, true},
    };
    TempDir dir;
    WriteBytes(dir / "target", "t");
    for (const auto& [name, age, link, kept] : entries) {
        const std::string path = dir / name;
        link ? fs::create_symlink(dir / "target", path) : WriteBytes(path, "partial");
        const struct timespec times[2] = {{::time(nullptr) - age, 0}, {::time(nullptr) - age, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    ASSERT_EQ(Append(dir / "Telvar.ini", "x"), FileResult::Ok);
    for (const auto& [name, age, link, kept] : entries)
        EXPECT_EQ(fs::exists(fs::symlink_status(dir / name)), kept) << name;
    EXPECT_EQ(ReadBytes(dir / "target"), "t");
}

} // namespace
} // namespace kirva::platform
