// The registry file shared by the programs of the suite: its values and text, how it is replaced,
// its lock, links, its size limit, the byte-order mark, and the parsed copy that a process keeps
// between calls.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <tuple>
#include <vector>

namespace kirva::platform {
namespace {

namespace fs = std::filesystem;
using namespace test;

constexpr RegRoot kLM = RegRoot::LocalMachine;
const std::string kKalderon = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
const std::string kHeader = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\MAROVEX\\TALM\\KALDERON]";
const std::string kService = "\\SYSTEM\\CurrentControlSet\\Services\\Srv A";
constexpr std::uintmax_t kLimit = 64 << 20; // the documented size limit of the registry file

const auto Get = [](const std::string& name) { return RegReadString(kLM, kKalderon, name); };
const auto Set = [](std::string n, std::string v) { return RegWriteString(kLM, kKalderon, n, v); };

// A registry file of its own in a fresh folder: the fixture's, and one per case of a table.
struct Registry {
    TempDir dir;
    std::string file = dir / "config/marovex/registry.ini";
    ScopedEnv registry{"KIRVA_REGISTRY", file};
    int copies = 0;

    long EntriesBeside() const {
        return std::distance(fs::directory_iterator(fs::path(file).parent_path()), {});
    }
    // A value as a process that never saw the file before reads it: from a copy under another name.
    std::optional<std::string> ReadFresh(const std::string& name) {
        const std::string copy = dir / ("copy-" + std::to_string(++copies) + ".ini");
        fs::copy_file(file, copy);
        const ScopedEnv other("KIRVA_REGISTRY", copy);
        return Get(name);
    }
};

class PlatformRegistry : public ::testing::Test, public Registry {};

TEST_F(PlatformRegistry, StringsRoundTripAsTheyStand) {
    const std::string texts[] = {"\"/opt/talm/exe/telvar.exe\"",
                                 "",
                                 "  blanks around  ",
                                 "dword:00000001",
                                 "two\r\nlines\tand tab",
                                 "back\\slash \"quoted\"",
                                 "Clé d'accès = oui"};
    for (const std::string& text : texts) {
        for (const bool expand : {false, true}) {
            SCOPED_TRACE(text + (expand ? " (expand)" : ""));
            ASSERT_TRUE(RegWriteString(kLM, kService, "Value", text, expand));
            EXPECT_EQ(RegReadString(kLM, kService, "Value"), text);
        }
    }
}

TEST_F(PlatformRegistry, NumbersAndBytesRoundTrip) {
    const std::vector<std::uint8_t> bytes = {0, 255, 128, 10, 13, '=', ',', '"', '\\', 1, 0};
    ASSERT_TRUE(RegWriteDword(kLM, kKalderon, "AppHwnd", 0xFFFFFFFFu));
    EXPECT_EQ(RegReadDword(kLM, kKalderon, "AppHwnd"), 0xFFFFFFFFu);
    EXPECT_EQ(Get("AppHwnd"), "4294967295");
    ASSERT_TRUE(RegWriteBinary(kLM, kService, "FailureActions", bytes));
    EXPECT_EQ(RegReadBinary(kLM, kService, "FailureActions"), bytes);
    EXPECT_EQ(RegReadString(kLM, kService, "FailureActions"), std::nullopt);
    ASSERT_TRUE(RegWriteBinary(kLM, kService, "Empty", {}));
    EXPECT_EQ(RegReadBinary(kLM, kService, "Empty"), std::vector<std::uint8_t>{});
}

TEST_F(PlatformRegistry, PathsAndNamesIgnoreCaseAndALeadingBackslash) {
    ASSERT_TRUE(RegWriteString(kLM, kService, "ImagePath", "first"));
    ASSERT_TRUE(RegWriteString(kLM, "system\\currentcontrolset\\services\\SRV A\\", "IMAGEPATH", "second"));
    EXPECT_EQ(RegReadString(kLM, "SYSTEM\\CurrentControlSet\\Services\\srv a", "imagepath"), "second");
    ASSERT_TRUE(Set("Clé", "latin"));
    EXPECT_EQ(Get("CLÉ"), "latin");
    // The two roots are different keys.
    EXPECT_EQ(RegReadString(RegRoot::CurrentUser, kService, "ImagePath"), std::nullopt);
}

TEST_F(PlatformRegistry, MissingFileReadsEmptyAndDeleteRemovesOnlyThatValue) {
    EXPECT_EQ(Get("A"), std::nullopt);
    EXPECT_EQ(RegReadDword(kLM, kKalderon, "A"), std::nullopt);
    EXPECT_TRUE(RegDeleteValue(kLM, kKalderon, "A"));
    EXPECT_FALSE(fs::exists(dir / "config")); // nothing is created before the first write
    ASSERT_TRUE(Set("A", "1"));
    ASSERT_TRUE(Set("B", "2"));
    EXPECT_TRUE(RegDeleteValue(kLM, kKalderon, "a"));
    EXPECT_TRUE(RegDeleteValue(kLM, kKalderon, "a"));
    EXPECT_EQ(Get("A"), std::nullopt);
    EXPECT_EQ(ReadBytes(file), kHeader + "\nB=2\n");
}

TEST_F(PlatformRegistry, DefaultFileLiesInTheUsersConfigFolder) {
    ScopedEnv noOverride("KIRVA_REGISTRY", nullptr);
    ScopedEnv config("XDG_CONFIG_HOME", dir / "xdg");
    ASSERT_TRUE(RegWriteString(RegRoot::CurrentUser, "Control Panel\\International", "sDecimal", ","));
    EXPECT_EQ(ReadBytes(dir / "xdg/marovex/registry.ini"),
              "[HKEY_CURRENT_USER\\Control Panel\\International]\nsDecimal=,\n");
}

TEST_F(PlatformRegistry, ProgramsWritingAtOnceLoseNoValue) {
    const auto name = [](int w, std::uint32_t v) {
        return "W" + std::to_string(w) + "V" + std::to_string(v);
    };
    ASSERT_TRUE(RunInChildrenAtOnce(3, [&](int w) {
        bool ok = true;
        for (std::uint32_t v = 0; v < 20; ++v) ok = RegWriteDword(kLM, kKalderon, name(w, v), v) && ok;
        return ok;
    }));
    for (int w = 0; w < 3; ++w)
        for (std::uint32_t v = 0; v < 20; ++v) EXPECT_EQ(RegReadDword(kLM, kKalderon, name(w, v)), v);
}

TEST_F(PlatformRegistry, LinkPlantedAtTheLockFileStopsTheWrite) {
    for (const bool victimExists : {true, false}) {
        SCOPED_TRACE(victimExists ? "link to a file" : "dangling link");
        const Registry r;
        const std::string victim = r.dir / "victim.ini";
        WriteBytes(r.file, kHeader + "\nA=1\n");
        if (victimExists) WriteBytes(victim, "kept\n");
        fs::create_symlink(victim, r.file + ".lock");

        EXPECT_FALSE(Set("B", "2"));

        EXPECT_EQ(ReadBytes(r.file), kHeader + "\nA=1\n");
        EXPECT_TRUE(fs::is_symlink(r.file + ".lock"));
        EXPECT_EQ(fs::exists(fs::symlink_status(victim)), victimExists);
        EXPECT_EQ(ReadBytes(victim), victimExists ? "kept\n" : "");
    }
}

// A replaced registry file and its lock file keep the file's mode, whatever the umask; the lock
// file of a new registry follows the umask, the new file too but is never open to other users (a
// machine file, written the same way, holds a password).
TEST_F(PlatformRegistry, ModesOfTheFileAndItsLockFile) {
    // whether the registry file exists before the write, umask, mode of the file after, of the lock file
    const std::tuple<bool, mode_t, mode_t, mode_t> cases[] = {
        {true, 022, 0660, 0660},  {true, 022, 0604, 0604},  {true, 077, 0640, 0640}, {false, 022, 0640, 0644},
        {false, 002, 0660, 0664}, {false, 077, 0600, 0600}, {false, 0, 0660, 0666}};
    for (const auto& [exists, mask, fileMode, lockMode] : cases) {
        SCOPED_TRACE(std::to_string(exists) + " " + std::to_string(mask) + " " + std::to_string(fileMode));
        const ScopedUmask umask(mask);
        const Registry r;
        if (exists) WriteBytes(r.file, kHeader + "\nA=1\n");
        ASSERT_TRUE(!exists || ::chmod(r.file.c_str(), fileMode) == 0);

        ASSERT_TRUE(RegWriteDword(kLM, kKalderon, "A", 2));

        EXPECT_EQ(ReadBytes(r.file), kHeader + "\nA=dword:00000002\n");
        EXPECT_EQ(ModeOf(r.file), fileMode);
        EXPECT_EQ(ModeOf(r.file + ".lock"), lockMode);
        EXPECT_EQ(r.EntriesBeside(), 2); // the file and its lock file, no temporary file
    }
}

TEST_F(PlatformRegistry, RegistryPathThatIsALinkIsReplacedWhereItPoints) {
    for (const bool targetExists : {true, false}) {
        SCOPED_TRACE(targetExists ? "link to a file" : "dangling link");
        const Registry r;
        const std::string target = r.dir / "shared/registry.ini";
        if (targetExists) WriteBytes(target, "; shared\n");
        fs::create_directories(fs::path(r.file).parent_path());
        fs::create_symlink(target, r.file);

        ASSERT_TRUE(Set("A", "1"));

        EXPECT_TRUE(fs::is_symlink(r.file));
        EXPECT_EQ(ReadBytes(target), std::string(targetExists ? "; shared\n\n" : "") + kHeader + "\nA=1\n");
        EXPECT_TRUE(fs::exists(target + ".lock"));
        EXPECT_EQ(Get("A"), "1");
    }
}

TEST_F(PlatformRegistry, FileBeyondTheSizeLimitIsRefusedAndLeftAlone) {
    for (const bool readBefore : {true, false}) {
        SCOPED_TRACE(readBefore ? "known to the process before it grew" : "never read before");
        const Registry r;
        WriteBytes(r.file, kHeader + "\nA=1\n");
        ASSERT_TRUE(!readBefore || Get("A") == "1");
        fs::resize_file(r.file, kLimit + 1); // sparse: the two lines, then NUL bytes
        struct stat before = {}, after = {};
        ASSERT_EQ(::stat(r.file.c_str(), &before), 0);

        EXPECT_EQ(Get("A"), std::nullopt);
        EXPECT_EQ(RegReadDword(kLM, kKalderon, "A"), std::nullopt);
        EXPECT_FALSE(Set("B", "2"));
        EXPECT_FALSE(RegWriteDword(kLM, kKalderon, "A", 1));
        EXPECT_FALSE(RegDeleteValue(kLM, kKalderon, "A"));

        // Neither rewritten nor replaced, and not even a lock file beside it.
        ASSERT_EQ(::stat(r.file.c_str(), &after), 0);
        EXPECT_EQ(std::tie(after.st_ino, after.st_size, after.st_mtim.tv_sec, after.st_mtim.tv_nsec),
                  std::tie(before.st_ino, before.st_size, before.st_mtim.tv_sec, before.st_mtim.tv_nsec));
        EXPECT_EQ(r.EntriesBeside(), 1);
    }
}

// What this code does not change stays. A byte-order mark is read and kept at the start of the
// file only; elsewhere it is part of a name.
TEST_F(PlatformRegistry, ReadsAHandWrittenFileAndKeepsWhatItDoesNotChange) {
    const std::string bom = "\xEF\xBB\xBF";
    WriteBytes(file, bom + kHeader + "\r\n; by hand\r\nAppHwnd = 4242\r\nName=plain\r\n");
    EXPECT_EQ(RegReadDword(kLM, kKalderon, "AppHwnd"), 4242u);

    ASSERT_TRUE(RegWriteDword(kLM, kKalderon, "AppHwnd", 7));
    ASSERT_TRUE(Set(bom + "Name", "new"));

    EXPECT_EQ(ReadBytes(file),
              bom + kHeader + "\n; by hand\nAppHwnd=dword:00000007\nName=plain\n" + bom + "Name=new\n");
    for (const auto& [name, value] :
         {std::pair{"AppHwnd", "7"}, {"Name", "plain"}, {"\xEF\xBB\xBFName", "new"}}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Get(name), value);
        EXPECT_EQ(ReadFresh(name), value);
    }
}

TEST_F(PlatformRegistry, ChangeByAnotherProgramIsSeenByTheNextCall) {
    enum How { InPlaceLonger, RenamedSameSize, InPlaceSameSizeTimeSetBack, Removed };
    const std::string theirs = kHeader + "\nA=2\n";
    const std::pair<How, std::string> cases[] = {{InPlaceLonger, "; by hand\n" + theirs},
                                                 {RenamedSameSize, theirs},
                                                 {InPlaceSameSizeTimeSetBack, theirs},
                                                 {Removed, ""}};
    for (const auto& [how, bytes] : cases) {
        SCOPED_TRACE(how);
        const Registry r;
        ASSERT_TRUE(Set("A", "1"));
        ASSERT_EQ(ReadBytes(r.file), kHeader + "\nA=1\n");
        ASSERT_EQ(Get("A"), "1");

        if (how == Removed)
            fs::remove(r.file);
        else
            WriteBytes(how == RenamedSameSize ? r.file + ".new" : r.file, bytes);
        if (how == RenamedSameSize) fs::rename(r.file + ".new", r.file);
        const struct timespec times[2] = {{1000000000, 0}, {1000000000, 0}};
        ASSERT_TRUE(how != InPlaceSameSizeTimeSetBack ||
                    ::utimensat(AT_FDCWD, r.file.c_str(), times, 0) == 0);

        EXPECT_EQ(Get("A"), how == Removed ? std::nullopt : std::optional<std::string>("2"));
        ASSERT_TRUE(Set("B", "3"));
        EXPECT_EQ(ReadBytes(r.file), (how == Removed ? kHeader + "\n" : bytes) + "B=3\n");
    }
}

} // namespace
} // namespace kirva::platform
