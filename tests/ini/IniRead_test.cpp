// Reading profile files as Windows reads them: lines, blanks, headers, comments, names, quotes,
// defaults and buffer limits.
#include <gtest/gtest.h>

#include "ini/IniTestSupport.h"
#include "ini/profile.h"

namespace kirva::test {
namespace {

struct ReadCase {
    const char* name;
    std::string file;
    std::string section, key, defaultValue;
    std::string expected;
    std::size_t bufferSize = 1024;
};

class IniRead : public IniFixture, public ::testing::WithParamInterface<ReadCase> {};

TEST_P(IniRead, GivesWhatWindowsGives) {
    const ReadCase& c = GetParam();
    const std::string path = File(c.file);
    EXPECT_EQ(ini::GetProfileString(path, c.section, c.key, c.defaultValue, c.bufferSize), c.expected);
}

const std::string kLong(2000, 'x');

INSTANTIATE_TEST_SUITE_P(
    Ini, IniRead,
    ::testing::Values(
        ReadCase{"LfOnly", "[S]\nk=v\nj=w\n", "S", "j", "d", "w"},
        ReadCase{"CrOnly", "[S]\rk=v\rj=w", "S", "j", "d", "w"},
        ReadCase{"BlanksAround", " \t[ S \v]\t\r\n \tk \t= \v v v \t\r\n", "S", "k", "d", "v v"},
        ReadCase{"MissingBracket", "[S\r\nk=v", "S", "k", "d", "v"},
        ReadCase{"EmptySectionName", "[]\r\nk=v\r\n", "", "k", "d", "v"},
        ReadCase{"TextAfterBracketIgnored", "[S]junk=1\r\nk=v\r\n", "S", "junk", "d", "d"},
        ReadCase{"OpeningBracketInName", "[[a]\r\nk=v\r\n", "[a", "k", "d", "v"},
        ReadCase{"BeforeFirstHeaderIsNoSection", "k=v\r\n[S]\r\n", "S", "k", "d", "d"},
        ReadCase{"SemicolonComment", "[S]\r\n  ;k=v\r\n", "S", ";k", "d", "d"},
        ReadCase{"HashIsText", "[S]\r\n#k=v\r\n", "S", "#k", "d", "v"},
        ReadCase{"QuoteIsText", "[S]\r\n'k=v\r\n", "S", "'k", "d", "v"},
        ReadCase{"NoTrailingComment", "[S]\r\nk=v ;c\r\n", "S", "k", "d", "v ;c"},
        ReadCase{"SplitAtFirstEquals", "[S]\r\nk=a=b\r\n", "S", "k", "d", "a=b"},
        ReadCase{"LineWithoutEqualsIsNoKey", "[S]\r\nk\r\n", "S", "k", "d", "d"},
        ReadCase{"CaseOfNames", "[Sec]\r\nKey=v\r\n", "sEC", "kEY", "d", "v"},
        ReadCase{"Latin1Case", "[\xC9T\xC9]\r\n\xC0=v\r\n", "\xC3\xA9t\xC3\xA9", "\xC3\xA0", "d", "v"},
        ReadCase{"ArgumentsLoseSpaces", "[S]\r\nk=v\r\n", "  S ", " k  ", "d", "v"},
        ReadCase{"ArgumentsKeepTabs", "[S]\r\nk=v\r\n", "\tS", "k", "d", "d"},
        ReadCase{"FirstOfTwoSections", "[S]\r\na=1\r\n[S]\r\nb=2\r\n", "S", "b", "d", "d"},
        ReadCase{"FirstOfTwoKeys", "[S]\r\na=1\r\nA=2\r\n", "S", "a", "d", "1"},
        ReadCase{"DoubleQuotes", "[S]\r\nk= \" v \" \r\n", "S", "k", "d", " v "},
        ReadCase{"SingleQuotes", "[S]\r\nk='v'\r\n", "S", "k", "d", "v"},
        ReadCase{"OuterPairOnly", "[S]\r\nk=''v''\r\n", "S", "k", "d", "'v'"},
        ReadCase{"MismatchedQuotes", "[S]\r\nk=\"v'\r\n", "S", "k", "d", "\"v'"},
        ReadCase{"LoneQuote", "[S]\r\nk=\"\r\n", "S", "k", "d", "\""},
        ReadCase{"EmptyValueIsNoDefault", "[S]\r\nk=\r\n", "S", "k", "d", ""},
        ReadCase{"DefaultLosesTrailingSpaces", "", "S", "k", "  d  ", "  d"},
        ReadCase{"DefaultKeepsTrailingTab", "[S]\r\n", "S", "k", "d\t", "d\t"},
        ReadCase{"ValueCutToBuffer", "[S]\r\nk=" + kLong + "\r\n", "S", "k", "", std::string(1023, 'x')},
        ReadCase{"DefaultCutToBuffer", "", "S", "k", "abcdef", "abc", 4},
        ReadCase{"CutCountsCharacters", "[S]\r\nk=\xE9\xE9\xE9\r\n", "S", "k", "", "\xC3\xA9\xC3\xA9", 3},
        ReadCase{"ZeroBuffer", "[S]\r\nk=v\r\n", "S", "k", "d", "", 0}),
    [](const ::testing::TestParamInfo<ReadCase>& info) { return std::string(info.param.name); });

struct SectionCase {
    const char* name;
    std::string file;
    std::string section;
    std::size_t bufferSize;
    std::string expected;
};

class IniReadSection : public IniFixture, public ::testing::WithParamInterface<SectionCase> {};

TEST_P(IniReadSection, GivesTheLinesAsWindowsDoes) {
    const SectionCase& c = GetParam();
    EXPECT_EQ(ini::GetProfileSection(File(c.file), c.section, c.bufferSize), c.expected);
}

using namespace std::string_literals;
const std::string kSection = "[S]\r\n a = 1 \r\n;c\r\n\r\ntext line\r\nb=\"q\"\r\n[T]\r\nt=1\r\n";

INSTANTIATE_TEST_SUITE_P(
    Ini, IniReadSection,
    ::testing::Values(SectionCase{"LinesWithoutComments", kSection, "s", 100, "a=1\0text line\0b=\"q\"\0"s},
                      SectionCase{"Missing", kSection, "X", 100, ""},
                      SectionCase{"Empty", "[S]\r\n;only\r\n[T]\r\n", "S", 100, ""},
                      SectionCase{"FitsExactly", "[S]\r\nabc=1\r\nd=2\r\n", "S", 11, "abc=1\0d=2\0"s},
                      SectionCase{"CutByOne", "[S]\r\nabc=1\r\nd=2\r\n", "S", 10, "abc=1\0d="s},
                      SectionCase{"CutAtEntry", "[S]\r\nabc=1\r\nd=2\r\n", "S", 8, "abc=1\0"s},
                      SectionCase{"TinyBuffer", "[S]\r\nabc=1\r\n", "S", 1, ""},
                      SectionCase{"NulLinesAreBlank", "[S]\r\n\0\0\r\na=1\r\n \0 \0\r\n"s, "S", 100,
                                  "a=1\0"s}),
    [](const ::testing::TestParamInfo<SectionCase>& info) { return std::string(info.param.name); });

using IniReadFiles = IniFixture;

TEST_F(IniReadFiles, MissingFileOrFolderGivesDefault) {
    EXPECT_EQ(ini::GetProfileString(dir / "none.ini", "S", "k", "d"), "d");
    EXPECT_EQ(ini::GetProfileString(dir.path().string(), "S", "k", "d"), "d");
    EXPECT_EQ(ini::GetProfileSection(dir / "none.ini", "S", 100), "");
}

} // namespace
} // namespace kirva::test
