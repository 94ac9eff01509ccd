// The registry file as a file: how it is replaced, its lock, links, its size limit, the byte-order
// mark, and the parsed copy that a process keeps between calls.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kirva::platform {
namespace {

namespace fs = std::filesystem;
using test::ModeOf;
using test::ReadBytes;
using test::ScopedEnv;
using test::ScopedUmask;
using test::TempDir;
using test::WriteBytes;

const std::string kKalderon = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
const std::string kHeader = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\MAROVEX\\TALM\\KALDERON]";
constexpr off_t kLimit = 64 << 20; // the documented size limit of the registry file

std::set<std::string> NamesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename().string());
    return names;
}

std::string ReadPrefix(const std::string& path, std::size_t size) {
    std::string bytes(size, '\0');
    std::ifstream in(path, std::ios::binary);
    in.read(bytes.data(), static_cast<std::streamsize>(size));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
}

void Truncate(const std::string& path, off_t size) {
    const int fd = ::open(path.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(::ftruncate(fd, size), 0);
    ::close(fd);
}

class RegistryFile : public ::testing::Test {
  protected:
    TempDir dir;
    std::string file = dir / "config/marovex/registry.ini";
    ScopedEnv registry{"KIRVA_REGISTRY", file};

    // A value as a process that never saw the file before reads it: from a copy under another name.
    std::optional<std::string> ReadFresh(const std::string& name) {
        const std::string copy = dir / ("copy-" + std::to_string(++copies_) + ".ini");
        fs::copy_file(file, copy);
        const ScopedEnv other("KIRVA_REGISTRY", copy);
        return RegReadString(RegRoot::LocalMachine, kKalderon, name);
    }

  private:
    int copies_ = 0;
};

TEST_F(RegistryFile, LinkPlantedAtTheOldTemporaryNameIsNotFollowed) {
    struct Case {
        const char* label;
        bool registryExists;
        bool victimExists;
    };
    const Case cases[] = {{"new registry, link to a file", false, true},
                          {"new registry, dangling link", false, false},
                          {"existing registry, link to a file", true, true},
                          {"existing registry, dangling link", true, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const TempDir scratch;
        const std::string registryFile = scratch / "registry.ini";
        const std::string victim = scratch / "victim.ini";
        const ScopedEnv path("KIRVA_REGISTRY", registryFile);
        if (c.registryExists) WriteBytes(registryFile, kHeader + "\nA=1\n");
        if (c.victimExists) WriteBytes(victim, "[RESEAU]\nPassword=unchanged\n");
        fs::create_symlink(victim, registryFile + ".tmp");

        ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, "B", "2"));

        EXPECT_EQ(ReadBytes(registryFile), kHeader + (c.registryExists ? "\nA=1\nB=2\n" : "\nB=2\n"));
        EXPECT_TRUE(fs::is_symlink(registryFile + ".tmp"));
        if (c.victimExists)
            EXPECT_EQ(ReadBytes(victim), "[RESEAU]\nPassword=unchanged\n");
        else
            EXPECT_FALSE(fs::exists(fs::symlink_status(victim)));
    }
}

TEST_F(RegistryFile, LinkPlantedAtTheLockFileIsNotFollowed) {
    for (const bool victimExists : {true, false}) {
        SCOPED_TRACE(victimExists ? "link to a file" : "dangling link");
        const TempDir scratch;
        const std::string registryFile = scratch / "registry.ini";
        const std::string victim = scratch / "victim.ini";
        const ScopedEnv path("KIRVA_REGISTRY", registryFile);
        WriteBytes(registryFile, kHeader + "\nA=1\n");
        if (victimExists) WriteBytes(victim, "kept\n");
        fs::create_symlink(victim, registryFile + ".lock");

        EXPECT_FALSE(RegWriteString(RegRoot::LocalMachine, kKalderon, "B", "2"));

        EXPECT_EQ(ReadBytes(registryFile), kHeader + "\nA=1\n");
        EXPECT_TRUE(fs::is_symlink(registryFile + ".lock"));
        if (victimExists)
            EXPECT_EQ(ReadBytes(victim), "kept\n");
        else
            EXPECT_FALSE(fs::exists(fs::symlink_status(victim)));
    }
}

TEST_F(RegistryFile, ReplacedFileAndNewLockFileKeepTheRegistrysMode) {
    const ScopedUmask umask(022); // would take the group's write bit from a new file
    for (const mode_t mode : {0600, 0640, 0660, 0664, 0604}) {
        SCOPED_TRACE(mode);
        const TempDir scratch;
        const std::string registryFile = scratch / "registry.ini";
        const ScopedEnv path("KIRVA_REGISTRY", registryFile);
        WriteBytes(registryFile, kHeader + "\nA=1\n");
        ASSERT_EQ(::chmod(registryFile.c_str(), mode), 0);

        ASSERT_TRUE(RegWriteDword(RegRoot::LocalMachine, kKalderon, "A", 2));

        EXPECT_EQ(ReadBytes(registryFile), kHeader + "\nA=dword:00000002\n");
        EXPECT_EQ(ModeOf(registryFile), mode);
        EXPECT_EQ(ModeOf(registryFile + ".lock"), mode);
        EXPECT_EQ(NamesIn(scratch.path()), (std::set<std::string>{"registry.ini", "registry.ini.lock"}));
    }
}

TEST_F(RegistryFile, LockFileOfANewRegistryFollowsTheUmask) {
    const struct {
        mode_t umask;
        mode_t lockMode;
    } cases[] = {{022, 0644}, {027, 0640}, {002, 0664}, {077, 0600}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.umask);
        const ScopedUmask umask(c.umask);
        const TempDir scratch;
        const std::string registryFile = scratch / "registry.ini";
        const ScopedEnv path("KIRVA_REGISTRY", registryFile);
        ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, "A", "1"));
        EXPECT_EQ(ModeOf(registryFile + ".lock"), c.lockMode);
    }
}

TEST_F(RegistryFile, RegistryPathThatIsALinkIsReplacedWhereItPoints) {
    for (const bool targetExists : {true, false}) {
        SCOPED_TRACE(targetExists ? "link to a file" : "dangling link");
        const TempDir scratch;
        const std::string link = scratch / "registry.ini";
        const std::string target = scratch / "shared/registry.ini";
        const ScopedEnv path("KIRVA_REGISTRY", link);
        if (targetExists) WriteBytes(target, "; shared\n");
        fs::create_symlink(target, link);

        ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, "A", "1"));

        EXPECT_TRUE(fs::is_symlink(link));
        EXPECT_EQ(ReadBytes(target), std::string(targetExists ? "; shared\n\n" : "") + kHeader + "\nA=1\n");
        EXPECT_TRUE(fs::exists(target + ".lock"));
        EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "A"), "1");
    }
}

TEST_F(RegistryFile, FileBeyondTheSizeLimitIsRefusedAndLeftAlone) {
    const std::string content = kHeader + "\nA=1\n";
    for (const bool readBefore : {true, false}) {
        SCOPED_TRACE(readBefore ? "known to the process before it grew" : "never read before");
        const TempDir scratch;
        const std::string registryFile = scratch / "registry.ini";
        const ScopedEnv path("KIRVA_REGISTRY", registryFile);
        WriteBytes(registryFile, content);
        if (readBefore) {
            ASSERT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "A"), "1");
        }
        Truncate(registryFile, kLimit + 1); // sparse: the two lines, then NUL bytes
        struct stat before {};
        ASSERT_EQ(::stat(registryFile.c_str(), &before), 0);

        EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "A"), std::nullopt);
        EXPECT_EQ(RegReadDword(RegRoot::LocalMachine, kKalderon, "A"), std::nullopt);
        EXPECT_FALSE(RegWriteString(RegRoot::LocalMachine, kKalderon, "B", "2"));
        EXPECT_FALSE(RegWriteDword(RegRoot::LocalMachine, kKalderon, "A", 1));
        EXPECT_FALSE(RegDeleteValue(RegRoot::LocalMachine, kKalderon, "A"));

        struct stat after {};
        ASSERT_EQ(::stat(registryFile.c_str(), &after), 0);
        EXPECT_EQ(after.st_ino, before.st_ino);
        EXPECT_EQ(after.st_size, kLimit + 1);
        EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
        EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
        EXPECT_EQ(ReadPrefix(registryFile, content.size() + 2), content + std::string(2, '\0'));
        EXPECT_EQ(NamesIn(scratch.path()), std::set<std::string>{"registry.ini"}); // not even a lock file
    }
}

TEST_F(RegistryFile, OnlyTheStartOfTheFileHoldsAByteOrderMark) {
    const std::string bom = "\xEF\xBB\xBF";
    struct Case {
        const char* label;
        std::string before; // empty: no file
        std::string name;   // written with the value "new"
        std::string after;
        std::vector<std::pair<std::string, std::optional<std::string>>> reads;
    };
    const Case cases[] = {
        {"a name that starts with the mark, new file",
         "",
         bom + "Name",
         kHeader + "\n" + bom + "Name=new\n",
         {{bom + "Name", "new"}, {"Name", std::nullopt}}},
        {"a name that starts with the mark beside the plain name",
         kHeader + "\nName=plain\n",
         bom + "Name",
         kHeader + "\nName=plain\n" + bom + "Name=new\n",
         {{bom + "Name", "new"}, {"Name", "plain"}}},
        {"a file that starts with the mark",
         bom + kHeader + "\r\nAppHwnd=4242\r\n",
         "Name",
         bom + kHeader + "\nAppHwnd=4242\nName=new\n",
         {{"AppHwnd", "4242"}, {"Name", "new"}}},
        {"a file that starts with the mark and a comment, with a marked name by hand",
         bom + "; by hand\n" + kHeader + "\n" + bom + "Name=marked\n",
         "Name",
         bom + "; by hand\n" + kHeader + "\n" + bom + "Name=marked\nName=new\n",
         {{bom + "Name", "marked"}, {"Name", "new"}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const TempDir scratch;
        file = scratch / "registry.ini";
        const ScopedEnv path("KIRVA_REGISTRY", file);
        if (!c.before.empty()) WriteBytes(file, c.before);

        ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, c.name, "new"));

        EXPECT_EQ(ReadBytes(file), c.after);
        for (const auto& [name, value] : c.reads) {
            SCOPED_TRACE(name);
            EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, name), value);
            EXPECT_EQ(ReadFresh(name), value);
        }
    }
}

TEST_F(RegistryFile, ChangeByAnotherProgramIsSeenByTheNextCall) {
    const std::string ours = kHeader + "\nA=1\n";
    const std::string theirs = kHeader + "\nA=2\n";
    struct Case {
        const char* label;
        std::function<void(const std::string&)> change;
        std::optional<std::string> a;
        std::string afterOurWrite;
    };
    const Case cases[] = {
        {"rewritten in place, longer",
         [&](const std::string& path) { WriteBytes(path, "; by hand\n" + theirs); }, "2",
         "; by hand\n" + theirs + "B=3\n"},
        {"replaced by another file of the same size",
         [&](const std::string& path) {
             WriteBytes(path + ".new", theirs);
             fs::rename(path + ".new", path);
         },
         "2", theirs + "B=3\n"},
        {"rewritten in place, same size, modification time set back",
         [&](const std::string& path) {
             WriteBytes(path, theirs);
             const struct timespec times[2] = {{1000000000, 0}, {1000000000, 0}};
             ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
         },
         "2", theirs + "B=3\n"},
        {"removed", [&](const std::string& path) { fs::remove(path); }, std::nullopt, kHeader + "\nB=3\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const TempDir scratch;
        const std::string registryFile = scratch / "registry.ini";
        const ScopedEnv path("KIRVA_REGISTRY", registryFile);
        ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, "A", "1"));
        ASSERT_EQ(ReadBytes(registryFile), ours);
        ASSERT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "A"), "1");

        c.change(registryFile);

        EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "A"), c.a);
        ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, "B", "3"));
        EXPECT_EQ(ReadBytes(registryFile), c.afterOurWrite);
    }
}

TEST_F(RegistryFile, ValueWrittenByAnotherProcessIsSeen) {
    ASSERT_TRUE(RegWriteDword(RegRoot::LocalMachine, kKalderon, "AppHwnd", 1));
    ASSERT_EQ(RegReadDword(RegRoot::LocalMachine, kKalderon, "AppHwnd"), 1u);
    ASSERT_EQ(test::RunInChild([] {
                  return RegWriteDword(RegRoot::LocalMachine, kKalderon, "AppHwnd", 2) &&
                                 RegWriteDword(RegRoot::LocalMachine, kKalderon, "Other", 3)
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(RegReadDword(RegRoot::LocalMachine, kKalderon, "AppHwnd"), 2u);
    EXPECT_EQ(RegReadDword(RegRoot::LocalMachine, kKalderon, "Other"), 3u);
    EXPECT_TRUE(RegDeleteValue(RegRoot::LocalMachine, kKalderon, "Other"));
    EXPECT_EQ(ReadBytes(file), kHeader + "\nAppHwnd=dword:00000002\n");
}

} // namespace
} // namespace kirva::platform
