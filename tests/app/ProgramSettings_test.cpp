// Reading the hand-off file Kirva.ini.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "app/AppTestSupport.h"

namespace kirva::test {
namespace {

using Strings = std::vector<std::string>;
const std::string kSep(1, platform::kPathSeparator);

class ProgramSettingsTest : public AppFixture {
  protected:
    // Writes Kirva.ini with CR LF line ends and reads it.
    bool Read(const std::string& content) {
        std::string crlf;
        for (char c : content) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        WriteBytes(dir / "Kirva.ini", crlf);
        ini::ClearCache();
        return ReadProgramSettings(dir / "Kirva.ini", settings);
    }
};

TEST_F(ProgramSettingsTest, EveryKeyIsRead) {
    ASSERT_TRUE(Read("[KIRVA]\nMode=2\nAppCalling=1\nCurrentIndexMO=3\n"
                     "PathDirData=/data/dnc\nDefaultPathDirTelvar=  " +
                     Native("/srv/telvar/") +
                     "  \nNbDevice=2\n"
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
    EXPECT_EQ(settings.DefaultPathDirTelvar, Native("/srv/telvar/"));
    EXPECT_EQ(settings.NbDevice, 2);
    EXPECT_EQ(settings.PathAppCallingIni, "/suite/Harbix.ini");
    EXPECT_EQ(settings.RefMO, (Strings{"", "TOUR", "FRAISEUSE"}));
    EXPECT_EQ(settings.NbTreeViewNode, 1);
    EXPECT_EQ(settings.RefDirNode, (Strings{"", "D\xC3\xA9"
                                                "colletage"})); // code page 1252 in the file
    EXPECT_EQ(settings.Spe, (Strings{"", "lect_cart", "MULTI"}));
}

TEST_F(ProgramSettingsTest, OptionalSectionsAndMissingNumberedKeys) {
    ASSERT_TRUE(Read("[KIRVA]\nMode=1\nAppCalling=1\nPathDirData=   \n"));
    EXPECT_EQ(settings.CurrentIndexMO, 0);
    EXPECT_EQ(settings.PathDirData, "");
    EXPECT_EQ(settings.RefMO, Strings{""});
    EXPECT_EQ(settings.RefDirNode, Strings{""});
    EXPECT_EQ(settings.Spe, Strings{""});
    ASSERT_TRUE(Read("[KIRVA]\nNbDevice=3\n[CNC]\nRefMO1=A\nRefMO3=C\nRefMO02=not this one\n"));
    EXPECT_EQ(settings.RefMO, (Strings{"", "A", "", "C"}));
}

// Mode, AppCalling and CurrentIndexMO: the number the text starts with, then the nearest 32-bit
// integer with halves to even. Beyond 32 bits (after rounding) the read fails without a word and
// the settings stay as they were.
TEST_F(ProgramSettingsTest, IntegersFollowTheNumberPrefixThenHalfToEven) {
    const std::optional<std::int32_t> fails;
    // clang-format off
    const std::pair<std::string, std::optional<std::int32_t>> cases[] = {{"2.5", 2}, {"-1.5", -2}, {"abc", 0},
        {"2abc", 2}, {"2147483647", INT32_MAX}, {"-2147483648.5", INT32_MIN}, {"2147483646.5", 2147483646},
        {"2147483648", fails}, {"-2147483649", fails}, {"2147483647.5", fails}, {"-2147483648.6", fails},
        {"1e999", fails}};
    // clang-format on
    for (const auto& [text, value] : cases) {
        settings.Mode = settings.AppCalling = settings.CurrentIndexMO = 7; // stays when the read fails
        EXPECT_EQ(Read("[KIRVA]\nMode=" + text + "\nAppCalling=" + text + "\nCurrentIndexMO=" + text + "\n"),
                  value.has_value())
            << text;
        EXPECT_EQ(settings.Mode, value.value_or(7)) << text;
        EXPECT_EQ(settings.AppCalling, value.value_or(7)) << text;
        EXPECT_EQ(settings.CurrentIndexMO, value.value_or(7)) << text;
    }
    EXPECT_TRUE(messages.entries.empty());
}

// A list count that is negative, beyond 32 bits or longer than any workshop is reported with the
// key and the value as the file holds it; the read fails and the settings read before stay.
TEST_F(ProgramSettingsTest, DamagedCountsFailTheReadAndLeaveTheSettings) {
    const std::string limit = ", alors que la valeur doit être comprise entre 0 et 10000 !";
    const std::pair<std::string, std::string> cases[] = {
        {"[KIRVA]\nNbDevice=10001\n", "NbDevice vaut 10001"},
        {"[KIRVA]\nNbDevice=4294967296\n", "NbDevice vaut 4294967296"},
        {"[KIRVA]\nNbDevice= -1 \n", "NbDevice vaut -1"},
        {"[TREEVIEW]\nNbTreeViewNode=1e9\n", "NbTreeViewNode vaut 1e9"},
        {"[SPECIFICITE]\nNbSpe=10000.6\n", "NbSpe vaut 10000.6"},
    };
    ASSERT_TRUE(Read("[KIRVA]\nMode=1\nNbDevice=1\n[CNC]\nRefMO1=A\n"));
    for (const auto& [content, message] : cases) {
        messages.entries.clear();
        EXPECT_FALSE(Read(content)) << content;
        EXPECT_TRUE(messages.Only("Le fichier Kirva.ini est incorrect : " + message + limit, IconWarning));
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
} // namespace kirva::test
