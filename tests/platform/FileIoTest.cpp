// Whole-file reading and atomic replacement of the settings files.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>

namespace kirva::platform {
namespace {

using test::ReadBytes;
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

} // namespace
} // namespace kirva::platform
