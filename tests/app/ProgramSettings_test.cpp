// Reading the hand-off file Kirva.ini.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/ProgramSettings.h"
#include "ini/profile.h"
#include "platform/platform.h"
#include "support/TestSupport.h"

namespace kirva {
namespace {

using Strings = std::vector<std::string>;
const std::string kSep(1, platform::kPathSeparator);

class ProgramSettingsTest : public ::testing::Test {
  protected:
    void SetUp() override { ini::ClearCache(); }
    // Writes Kirva.ini with CR LF line ends and reads it.
    bool Read(const std::string& content) {
        std::string crlf;
        for (char c : content) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        test::WriteBytes(dir / "Kirva.ini", crlf);
        ini::ClearCache();
        return ReadProgramSettings(dir / "Kirva.ini", settings);
    }
    test::TempDir dir;
    test::RecordingMessages messages;
    ProgramSettings settings;
};

TEST_F(ProgramSettingsTest, MissingFileOrAFolderIsReportedAndLeavesTheSettings) {
    settings.Mode = 7;
    EXPECT_FALSE(ReadProgramSettings(dir / "Kirva.ini", settings));
    std::filesystem::create_directory(dir.path() / "Kirva.ini");
    EXPECT_FALSE(ReadProgramSettings(dir / "Kirva.ini", settings));
    ASSERT_EQ(messages.entries.size(), 2u);
    EXPECT_EQ(messages.entries[0].text, "Le fichier Kirva.ini est introuvable !");
    EXPECT_EQ(messages.entries[0].icon, IconWarning);
    EXPECT_EQ(settings.Mode, 7);
}

TEST_F(ProgramSettingsTest, EveryKeyIsRead) {
    ASSERT_TRUE(Read("[KIRVA]\nMode=2\nAppCalling=1\nCurrentIndexMO=3\n"
                     "PathDirData=/data/dnc\nDefaultPathDirTelvar=  /srv/telvar/  \nNbDevice=2\n"
                     "PathAppCallingIni=  /suite/Harbix.ini  \n"
                     "[CNC]\nRefMO1= TOUR \nRefMO2=FRAISEUSE\nRefMO3=not read\n"
                     "[TREEVIEW]\nNbTreeViewNode=1\nRefDirNode1=D\xE9"
                     "colletage\n"
                     "[SPECIFICITE]\nNbSpe=2\nSpe1=lect_cart\nSpe2=  MULTI  \n"));
    EXPECT_TRUE(messages.entries.empty());
    EXPECT_EQ(settings.Mode, 2);
    EXPECT_EQ(settings.AppCalling, 1);
    EXPECT_EQ(settings.CurrentIndexMO, 3);
    EXPECT_EQ(settings.PathDirData, "/data/dnc" + kSep);
    EXPECT_EQ(settings.DefaultPathDirTelvar, "/srv/telvar/");
    EXPECT_EQ(settings.NbDevice, 2);
    EXPECT_EQ(settings.PathAppCallingIni, "/suite/Harbix.ini");
    EXPECT_EQ(settings.RefMO, (Strings{"", "TOUR", "FRAISEUSE"}));
    EXPECT_EQ(settings.NbTreeViewNode, 1);
    EXPECT_EQ(settings.RefDirNode, (Strings{"", "D\xC3\xA9"
                                                "colletage"})); // code page 1252 in the file
    EXPECT_EQ(settings.Spe, (Strings{"", "lect_cart", "MULTI"}));
}

TEST_F(ProgramSettingsTest, OptionalSectionsAndMissingNumberedKeys) {
    ASSERT_TRUE(Read("[KIRVA]\nMode=1\nAppCalling=1\n"));
    EXPECT_EQ(settings.CurrentIndexMO, 0);
    EXPECT_EQ(settings.PathDirData, "");
    EXPECT_EQ(settings.RefMO, Strings{""});
    EXPECT_EQ(settings.RefDirNode, Strings{""});
    EXPECT_EQ(settings.Spe, Strings{""});
    ASSERT_TRUE(Read("[KIRVA]\nNbDevice=3\n[CNC]\nRefMO1=A\nRefMO3=C\nRefMO02=not this one\n"));
    EXPECT_EQ(settings.RefMO, (Strings{"", "A", "", "C"}));
}

TEST_F(ProgramSettingsTest, IntegersFollowTheNumberPrefixThenHalfToEven) {
    const std::vector<std::pair<std::string, std::int32_t>> cases{{"1.5", 2},
                                                                  {"2.5", 2},
                                                                  {"0.5", 0},
                                                                  {"-1.5", -2},
                                                                  {"abc", 0},
                                                                  {"", 0},
                                                                  {"2abc", 2},
                                                                  {"1,7", 1},
                                                                  {"  3  ", 3},
                                                                  {"1e1", 10},
                                                                  {"2147483647", INT32_MAX},
                                                                  {"-2147483648", INT32_MIN},
                                                                  {"-2147483648.5", INT32_MIN},
                                                                  {"2147483646.5", 2147483646}};
    for (const char* key : {"Mode", "AppCalling", "CurrentIndexMO"}) {
        for (const auto& [text, value] : cases) {
            ASSERT_TRUE(Read(std::string("[KIRVA]\n") + key + "=" + text + "\n")) << key << "=" << text;
            const std::int32_t read = std::string(key) == "Mode"         ? settings.Mode
                                      : std::string(key) == "AppCalling" ? settings.AppCalling
                                                                         : settings.CurrentIndexMO;
            EXPECT_EQ(read, value) << key << "=" << text;
        }
    }
}

TEST_F(ProgramSettingsTest, FolderPathsAreTrimmedWithOneTrailingSeparator) {
    const std::vector<std::pair<std::string, std::string>> cases{{"  /data  ", "/data" + kSep},
                                                                 {"", ""},
                                                                 {"   ", ""},
                                                                 {"/data/", "/data/"},
                                                                 {"\t/d a/x\t", "/d a/x" + kSep}};
    for (const auto& [value, expected] : cases) {
        ASSERT_TRUE(Read("[KIRVA]\nPathDirData=" + value + "\n"));
        EXPECT_EQ(settings.PathDirData, expected) << value;
    }
}

// Damaged hand-off files: an integer beyond 32 bits (after rounding), a negative count, a list
// longer than any workshop. The read fails as a whole and the settings read before stay.
TEST_F(ProgramSettingsTest, DamagedNumbersFailTheReadAndLeaveTheSettings) {
    ASSERT_TRUE(Read("[KIRVA]\nMode=1\nNbDevice=1\n[CNC]\nRefMO1=A\n"));
    for (const char* content :
         {"[KIRVA]\nMode=2147483648\n", "[KIRVA]\nMode=-2147483649\n", "[KIRVA]\nMode=2147483647.5\n",
          "[KIRVA]\nMode=1e999\n", "[KIRVA]\nAppCalling=1e12\n", "[KIRVA]\nAppCalling=-2147483648.6\n",
          "[KIRVA]\nCurrentIndexMO=2147483648\n", "[KIRVA]\nCurrentIndexMO=-9e99\n",
          "[KIRVA]\nNbDevice=4294967296\n", "[KIRVA]\nNbDevice=-1\n", "[KIRVA]\nNbDevice=10001\n",
          "[TREEVIEW]\nNbTreeViewNode=2147483648\n", "[TREEVIEW]\nNbTreeViewNode=-3\n",
          "[TREEVIEW]\nNbTreeViewNode=10001\n", "[SPECIFICITE]\nNbSpe=2147483648\n",
          "[SPECIFICITE]\nNbSpe=-1\n", "[SPECIFICITE]\nNbSpe=10001\n"}) {
        EXPECT_FALSE(Read(content)) << content;
        EXPECT_EQ(settings.Mode, 1) << content;
        EXPECT_EQ(settings.RefMO, (Strings{"", "A"})) << content;
    }
}

TEST_F(ProgramSettingsTest, ListsUpToTheirLimit) {
    ASSERT_TRUE(Read("[KIRVA]\nNbDevice=10000\n[CNC]\nRefMO10000=LAST\n[TREEVIEW]\nNbTreeViewNode=10000\n"
                     "[SPECIFICITE]\nNbSpe=10000\nSpe1=FIRST\n"));
    ASSERT_EQ(settings.RefMO.size(), 10001u);
    EXPECT_EQ(settings.RefMO[10000], "LAST");
    EXPECT_EQ(settings.RefDirNode.size(), 10001u);
    ASSERT_EQ(settings.Spe.size(), 10001u);
    EXPECT_EQ(settings.Spe[1], "FIRST");
}

} // namespace
} // namespace kirva
