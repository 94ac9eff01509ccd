// The engine and the disk: atomic replace, other writers, scopes, locks and bad files.
#include <gtest/gtest.h>

#include <filesystem>

#include "ini/IniTestSupport.h"
#include "ini/profile.h"
#include "platform/platform.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace kirva::test {
namespace {

namespace fs = std::filesystem;
constexpr auto kReadOnly = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
constexpr auto kOwnerRw = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;

std::size_t FilesIn(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

using IniAtomic = IniFixture;

TEST_F(IniAtomic, ReplacesFileKeepsPermissionsLeavesNoTemporary) {
    const std::string path = File("[S]\r\nk=1\r\n");
    fs::permissions(path, kOwnerRw);
    platform::FileStamp before, after;
    ASSERT_EQ(platform::StatFile(path, before), platform::FileResult::Ok);
    ASSERT_TRUE(ini::WriteProfileString(path, "S", "k", "2"));
    ASSERT_EQ(platform::StatFile(path, after), platform::FileResult::Ok);
    EXPECT_NE(after.Id, before.Id); // a new file took the old one's place
    EXPECT_EQ(FilesIn(dir.path()), 1u);
    EXPECT_EQ(ReadBytes(path), "[S]\r\nk=2\r\n");
#ifndef _WIN32 // Windows has no permission bits: the ACL and the read-only attribute are the platform tests'
    EXPECT_EQ(fs::status(path).permissions(), kOwnerRw);
#endif
}

using IniConcurrent = IniFixture;

TEST_F(IniConcurrent, OtherWriterBetweenReadAndFlushLosesNothing) {
    const std::string path = File("[S]\r\na=1\r\n");
    {
        ini::BatchScope batch;
        ASSERT_TRUE(ini::WriteProfileString(path, "S", "ours", "1"));
        WriteBytes(path, "[S]\r\na=1\r\ntheirs=2\r\n"); // another program, while our edit is pending
    }
    EXPECT_EQ(ReadBytes(path), "[S]\r\na=1\r\ntheirs=2\r\nours=1\r\n");

    // Same size, same modification time: still seen.
    const auto time = fs::last_write_time(path);
    WriteBytes(path, "[S]\r\na=9\r\ntheirs=2\r\nours=1\r\n");
    fs::last_write_time(path, time);
    ASSERT_TRUE(ini::WriteProfileString(path, "S", "ours", "2"));
    EXPECT_EQ(ReadBytes(path), "[S]\r\na=9\r\ntheirs=2\r\nours=2\r\n");
}

using IniScope = IniFixture;

TEST_F(IniScope, ManyKeysOneFlushAtOutermostEnd) {
    const std::string original = "[S]\r\nk0=x\r\n";
    const std::string path = File(original);
    std::string expected = "[S]\r\n";
    {
        ini::BatchScope outer;
        {
            ini::BatchScope inner;
            for (int i = 0; i < 50; ++i) {
                const std::string n = std::to_string(i);
                ASSERT_TRUE(ini::WriteProfileString(path, "S", "k" + n, n));
                expected += "k" + n + "=" + n + "\r\n";
            }
            EXPECT_EQ(ini::GetProfileString(path, "S", "k49", ""), "49"); // reads see pending writes
        }
        EXPECT_EQ(ReadBytes(path), original); // the inner end flushes nothing
    }
    EXPECT_EQ(ReadBytes(path), expected);
}

TEST_F(IniScope, ReadScopeComparesEachFileOnce) {
    const std::string path = File("[S]\r\nk=1\r\n");
    {
        ini::ReadScope scope;
        EXPECT_EQ(ini::GetProfileString(path, "S", "k", ""), "1");
        WriteBytes(path, "[S]\r\nk=22\r\n");                       // another program
        EXPECT_EQ(ini::GetProfileString(path, "S", "k", ""), "1"); // one version per scope
    }
    EXPECT_EQ(ini::GetProfileString(path, "S", "k", ""), "22");
}

using IniBadInput = IniFixture;

TEST_F(IniBadInput, ReadOnlyFileIsRefusedAndUnchanged) {
    const std::string path = File("[S]\r\nk=1\r\n");
    fs::permissions(path, kReadOnly);
    EXPECT_FALSE(ini::WriteProfileString(path, "S", "k", "2"));
    EXPECT_FALSE(ini::WriteProfileSection(path, "S", "a=1"));
    {
        ini::BatchScope batch;
        EXPECT_TRUE(ini::WriteProfileString(path, "S", "k", "3")); // pending
        EXPECT_FALSE(batch.Flush());
        EXPECT_FALSE(batch.Ok());
    }
    EXPECT_EQ(ini::GetProfileString(path, "S", "k", ""), "1"); // the failed edits are dropped
    EXPECT_EQ(ReadBytes(path), "[S]\r\nk=1\r\n");
    EXPECT_EQ(FilesIn(dir.path()), 1u);
}

TEST_F(IniBadInput, LineOfSeveralMegabytes) {
    const std::string huge(5 << 20, 'h');
    const std::string path = File("[S]\r\nbig=" + huge + "\r\nk=1\r\n;" + huge);
    EXPECT_EQ(ini::GetProfileString(path, "S", "big", ""), std::string(1023, 'h'));
    EXPECT_EQ(ini::GetProfileSection(path, "S", 32766).size(), 32764u);
    ASSERT_TRUE(ini::WriteProfileString(path, "S", "k", "2"));
    EXPECT_EQ(ReadBytes(path), "[S]\r\nbig=" + huge + "\r\nk=2\r\n;" + huge);
}

#ifndef _WIN32 // fork, flock and fcntl; the platform tests lock the file with LockFileEx on Windows
// "Locked": another process holds the file, with flock as the suite's programs do or with fcntl.
TEST_F(IniBadInput, FileLockedByAnotherProcess) {
    for (const bool withFlock : {true, false}) {
        SCOPED_TRACE(withFlock ? "flock" : "fcntl");
        ini::ClearCache();
        const std::string path = File("[S]\r\nk=1\r\n");
        int locked[2], release[2];
        ASSERT_EQ(pipe(locked), 0);
        ASSERT_EQ(pipe(release), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const int fd = open(path.c_str(), O_RDWR);
            struct flock lk {};
            lk.l_type = F_WRLCK;
            char c = fd >= 0 && (withFlock ? flock(fd, LOCK_EX) : fcntl(fd, F_SETLK, &lk)) == 0 ? 'y' : 'n';
            (void)!write(locked[1], &c, 1);
            (void)!read(release[0], &c, 1);
            _exit(0);
        }
        char c = 0;
        ASSERT_EQ(read(locked[0], &c, 1), 1);
        ASSERT_EQ(c, 'y');
        EXPECT_FALSE(ini::WriteProfileString(path, "S", "k", "2"));
        EXPECT_EQ(ReadBytes(path), "[S]\r\nk=1\r\n");
        EXPECT_EQ(ini::GetProfileString(path, "S", "k", ""), "1"); // reading a locked file works
        EXPECT_EQ(FilesIn(dir.path()), 1u);
        (void)!write(release[1], "x", 1);
        waitpid(child, nullptr, 0);
        for (int fd : {locked[0], locked[1], release[0], release[1]}) close(fd);
        EXPECT_TRUE(ini::WriteProfileString(path, "S", "k", "2"));
    }
}
#endif

} // namespace
} // namespace kirva::test
