// Text, path and section helpers.
#include <gtest/gtest.h>

#include "ini/IniTestSupport.h"
#include "ini/helpers.h"
#include "platform/platform.h"

namespace kirva::test {
namespace {

// Paths written with "\" and turned into the platform's separator.
std::string P(std::string text) {
    for (char& c : text)
        if (c == '\\') c = platform::kPathSeparator;
    return text;
}

TEST(HelpersPath, TrailingSeparator) {
    struct {
        std::string in, added, removed;
    } const cases[] = {
        {P("C:\\data"), P("C:\\data\\"), P("C:\\data")},
        {P("C:\\data\\"), P("C:\\data\\"), P("C:\\data")},
        {P("C:\\data  "), P("C:\\data\\"), P("C:\\data  ")},
        {P(" C:\\data\\  "), P(" C:\\data\\  "), P(" C:\\data\\  ")},
        {P("C:\\data\\\\"), P("C:\\data\\\\"), P("C:\\data\\")},
        {"", P("\\"), ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(AddTrailingBackslash(c.in), c.added) << c.in;
        EXPECT_EQ(RemoveTrailingBackslash(c.in), c.removed) << c.in;
    }
}

TEST(HelpersText, TagValues) {
    EXPECT_EQ(GetTagValue("ref:P1|LadX:X|", "ladx:"), "X");
    EXPECT_EQ(GetTagValue("ref:P1|LadX:X|", "ref:"), "P1");
    EXPECT_EQ(GetTagValue("ref:P1|LadX:X|", "pan:"), "");
    EXPECT_EQ(GetTagValue("", "ref:"), "");
    EXPECT_EQ(GetTagValue("ref:|", "ref:"), "");
    EXPECT_EQ(GetTagValue("lib:\xC3\xA9t\xC3\xA9|", "LIB:"), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(GetTagValue("ref:open", "ref:"), "open"); // no closing "|": the rest of the line
}

TEST(HelpersText, TrimUpperFormat) {
    EXPECT_EQ(Trim(" \t a b \t "), "a b");
    EXPECT_EQ(TrimRight(" a  "), " a");
    EXPECT_EQ(ToUpper("abc \xC3\xA9\xC3\xBF\xC3\x97\xC3\xB7"), "ABC \xC3\x89\xC5\xB8\xC3\x97\xC3\xB7");
    EXPECT_EQ(FormatValue(0.1), "0.1");
    EXPECT_EQ(FormatValue(1.0 / 3.0), "0.333333333333333");
    EXPECT_EQ(FormatValue(std::int64_t{-42}), "-42");
}

using HelpersSection = IniFixture;

TEST_F(HelpersSection, WriteSectionLinesReplacesAll) {
    const std::string path = File("[S]\r\nold=1\r\nold=2\r\n[T]\r\nt=1\r\n");
    WriteSectionLines(path, "S", {"a=1", "b=2"});
    EXPECT_EQ(ReadBytes(path), "[S]\r\na=1\r\nb=2\r\n[T]\r\nt=1\r\n");
    std::vector<std::string> lines;
    EXPECT_EQ(ReadSectionLines(path, "S", lines), 2);
    WriteSectionLines(path, "S", {});
    EXPECT_EQ(ReadBytes(path), "[S]\r\n[T]\r\nt=1\r\n");
}

} // namespace
} // namespace kirva::test
