// The registry file shared by the programs of the suite.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace kirva::platform {
namespace {

using test::ReadBytes;
using test::ScopedEnv;
using test::TempDir;
using test::WriteBytes;

const std::string kKalderon = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
const std::string kService = "\\SYSTEM\\CurrentControlSet\\Services\\Srv A";

// The service's failure actions: restart three times after a minute, reset after a day.
const std::vector<std::uint8_t> kFailureActions = {128, 81, 1,  0,   0, 0, 0, 0, 0, 0,  0,   0,   3, 0, 0,
                                                   0,   20, 0,  0,   0, 1, 0, 0, 0, 96, 234, 0,   0, 1, 0,
                                                   0,   0,  96, 234, 0, 0, 1, 0, 0, 0,  96,  234, 0, 0};

class PlatformRegistry : public ::testing::Test {
  protected:
    TempDir dir;
    std::string file = dir / "config/marovex/registry.ini";
    ScopedEnv registry{"KIRVA_REGISTRY", file};
};

TEST_F(PlatformRegistry, StringsRoundTripAsTheyStand) {
    const std::string texts[] = {"Marovex Telvareur",
                                 "\"/opt/talm/exe/telvar.exe\"",
                                 "",
                                 "  blanks around  ",
                                 "dword:00000001",
                                 "hex:01",
                                 "two\r\nlines\tand tab",
                                 "back\\slash \"quoted\"",
                                 "Clé d'accès = oui"};
    for (const std::string& text : texts) {
        for (const bool expand : {false, true}) {
            SCOPED_TRACE(text + (expand ? " (expand)" : ""));
            ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kService, "Value", text, expand));
            EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kService, "Value"), text);
        }
    }
}

TEST_F(PlatformRegistry, NumbersAndBytesRoundTrip) {
    ASSERT_TRUE(RegWriteDword(RegRoot::LocalMachine, kKalderon, "AppHwnd", 0xFFFFFFFFu));
    EXPECT_EQ(RegReadDword(RegRoot::LocalMachine, kKalderon, "AppHwnd"), 0xFFFFFFFFu);
    EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "AppHwnd"), "4294967295");
    ASSERT_TRUE(RegWriteBinary(RegRoot::LocalMachine, kService, "FailureActions", kFailureActions));
    EXPECT_EQ(RegReadBinary(RegRoot::LocalMachine, kService, "FailureActions"), kFailureActions);
    EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kService, "FailureActions"), std::nullopt);
    ASSERT_TRUE(RegWriteBinary(RegRoot::LocalMachine, kService, "Empty", {}));
    EXPECT_EQ(RegReadBinary(RegRoot::LocalMachine, kService, "Empty"), std::vector<std::uint8_t>{});
}

TEST_F(PlatformRegistry, FileIsReadableByOtherPrograms) {
    ASSERT_TRUE(RegWriteDword(RegRoot::LocalMachine, kKalderon, "AppHwnd", 12345));
    ASSERT_TRUE(
        RegWriteString(RegRoot::LocalMachine, kService, "ImagePath", "\"/opt/talm/exe/srvany.exe\"", true));
    ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kService, "Description", "Marovex Telvareur"));
    ASSERT_TRUE(RegWriteBinary(RegRoot::LocalMachine, kService, "FailureActions", {128, 81, 1, 0}));
    ASSERT_TRUE(RegWriteString(RegRoot::CurrentUser, "Control Panel\\International", "sDecimal", "."));
    EXPECT_EQ(ReadBytes(file), "[HKEY_LOCAL_MACHINE\\SOFTWARE\\MAROVEX\\TALM\\KALDERON]\n"
                               "AppHwnd=dword:00003039\n"
                               "\n"
                               "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\Srv A]\n"
                               "ImagePath=expand:\"\\\"/opt/talm/exe/srvany.exe\\\"\"\n"
                               "Description=Marovex Telvareur\n"
                               "FailureActions=hex:80,51,01,00\n"
                               "\n"
                               "[HKEY_CURRENT_USER\\Control Panel\\International]\n"
                               "sDecimal=.\n");
}

TEST_F(PlatformRegistry, ReadsAHandWrittenFileAndKeepsWhatItDoesNotChange) {
    WriteBytes(file, "; written by hand\r\n"
                     "[HKEY_LOCAL_MACHINE\\SOFTWARE\\MAROVEX\\TALM\\HARBIX]\r\n"
                     "AppHwnd = 4242\r\n"
                     "Other=kept\r\n");
    EXPECT_EQ(RegReadDword(RegRoot::LocalMachine, "SOFTWARE\\MAROVEX\\TALM\\HARBIX", "AppHwnd"), 4242u);
    ASSERT_TRUE(RegWriteDword(RegRoot::LocalMachine, "SOFTWARE\\MAROVEX\\TALM\\HARBIX", "AppHwnd", 7));
    EXPECT_EQ(ReadBytes(file), "; written by hand\n"
                               "[HKEY_LOCAL_MACHINE\\SOFTWARE\\MAROVEX\\TALM\\HARBIX]\n"
                               "AppHwnd=dword:00000007\n"
                               "Other=kept\n");
}

TEST_F(PlatformRegistry, PathsAndNamesIgnoreCaseAndALeadingBackslash) {
    ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kService, "ImagePath", "first"));
    ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, "system\\currentcontrolset\\services\\SRV A\\",
                               "IMAGEPATH", "second"));
    EXPECT_EQ(RegReadString(RegRoot::LocalMachine, "SYSTEM\\CurrentControlSet\\Services\\srv a", "imagepath"),
              "second");
    ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, "Clé", "latin"));
    EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "CLÉ"), "latin");
    // The two roots are different keys.
    EXPECT_EQ(RegReadString(RegRoot::CurrentUser, kService, "ImagePath"), std::nullopt);
}

TEST_F(PlatformRegistry, DeleteRemovesOnlyThatValue) {
    ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kService, "A", "1"));
    ASSERT_TRUE(RegWriteString(RegRoot::LocalMachine, kService, "B", "2"));
    EXPECT_TRUE(RegDeleteValue(RegRoot::LocalMachine, kService, "a"));
    EXPECT_TRUE(RegDeleteValue(RegRoot::LocalMachine, kService, "a"));
    EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kService, "A"), std::nullopt);
    EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kService, "B"), "2");
}

TEST_F(PlatformRegistry, MissingFileReadsEmptyAndIsCreatedOnFirstWrite) {
    EXPECT_EQ(RegReadString(RegRoot::LocalMachine, kKalderon, "AppHwnd"), std::nullopt);
    EXPECT_EQ(RegReadDword(RegRoot::LocalMachine, kKalderon, "AppHwnd"), std::nullopt);
    EXPECT_TRUE(RegDeleteValue(RegRoot::LocalMachine, kKalderon, "AppHwnd"));
    EXPECT_FALSE(std::filesystem::exists(dir / "config"));
    EXPECT_TRUE(RegWriteString(RegRoot::LocalMachine, kKalderon, "Name", "x"));
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(PlatformRegistry, DefaultFileLiesInTheUsersConfigFolder) {
    ScopedEnv noOverride("KIRVA_REGISTRY", nullptr);
    ScopedEnv config("XDG_CONFIG_HOME", dir / "xdg");
    ASSERT_TRUE(RegWriteString(RegRoot::CurrentUser, "Control Panel\\International", "sDecimal", ","));
    EXPECT_NE(ReadBytes(dir / "xdg/marovex/registry.ini").find("sDecimal=,"), std::string::npos);
}

TEST_F(PlatformRegistry, ProgramsWritingAtOnceLoseNoValue) {
    constexpr int kWriters = 3;
    constexpr int kValues = 20;
    pid_t writers[kWriters];
    for (int w = 0; w < kWriters; ++w) {
        writers[w] = ::fork();
        if (writers[w] == 0) {
            bool ok = true;
            for (int v = 0; v < kValues; ++v)
                ok = RegWriteDword(RegRoot::LocalMachine, kKalderon,
                                   "W" + std::to_string(w) + "V" + std::to_string(v),
                                   static_cast<std::uint32_t>(v)) &&
                     ok;
            ::_exit(ok ? 0 : 1);
        }
    }
    for (pid_t writer : writers) {
        int status = 0;
        ASSERT_EQ(::waitpid(writer, &status, 0), writer);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    for (int w = 0; w < kWriters; ++w)
        for (int v = 0; v < kValues; ++v)
            EXPECT_EQ(RegReadDword(RegRoot::LocalMachine, kKalderon,
                                   "W" + std::to_string(w) + "V" + std::to_string(v)),
                      static_cast<std::uint32_t>(v));
}

} // namespace
} // namespace kirva::platform
