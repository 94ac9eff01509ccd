// Each file keeps its encoding and line ends; bytes not written to stay byte for byte.
#include <gtest/gtest.h>

#include "ini/IniTestSupport.h"
#include "ini/profile.h"

namespace kirva::test {
namespace {

using namespace std::string_literals;

struct RoundTripCase {
    const char* name;
    std::string before;   // file bytes
    std::string value;    // written to [S] k (UTF-8)
    std::string after;    // file bytes expected
    std::string readBack; // value of [S] other, read before the write (UTF-8)
};

class IniEncoding : public IniFixture, public ::testing::WithParamInterface<RoundTripCase> {};

TEST_P(IniEncoding, RoundTripIsByteExact) {
    const RoundTripCase& c = GetParam();
    const std::string path = File(c.before);
    // Reading everything changes nothing.
    EXPECT_EQ(ini::GetProfileString(path, "S", "other", ""), c.readBack);
    ini::GetProfileSection(path, "S", 32766);
    EXPECT_EQ(ReadBytes(path), c.before);
    // Writing one key changes that line only.
    ASSERT_TRUE(ini::WriteProfileString(path, "S", "k", c.value));
    EXPECT_EQ(ReadBytes(path), c.after);
    // Writing back what was read gives the same bytes.
    ASSERT_TRUE(ini::WriteProfileString(path, "S", "other", c.readBack));
    EXPECT_EQ(ReadBytes(path), c.after);
    ini::ClearCache();
    EXPECT_EQ(ini::GetProfileString(path, "S", "k", ""), c.value);
}

// Every byte of code page 1252 from 80 to FF, the five undefined ones included.
std::string HighBytes() {
    std::string s;
    for (int b = 0x80; b <= 0xFF; ++b) s.push_back(static_cast<char>(b));
    return s;
}
// The same characters in UTF-8: U+0081, U+008D, U+008F, U+0090 and U+009D stand for the undefined bytes.
const std::string kHighBytesUtf8 = "€\u0081‚ƒ„…†‡ˆ‰Š‹Œ\u008DŽ\u008F\u0090‘’“”•–—˜™š›œ\u009DžŸ"
                                   "\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏ"
                                   "ÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ";

const std::string kBom8 = "\xEF\xBB\xBF";
const std::string kBom16 = "\xFF\xFE";
// U+1F600 as a surrogate pair and an unpaired high surrogate: both must survive.
const std::string kAstral = "\x3D\xD8\x00\xDE"s;
const std::string kLoneHalf = "\x3D\xD8"s;

INSTANTIATE_TEST_SUITE_P(
    Ini, IniEncoding,
    ::testing::Values(
        RoundTripCase{"Cp1252", "; \xE9t\xE9\r\n[S]\r\nother=" + HighBytes() + "\r\nk=1\r\n  odd  line\r\n",
                      "caf\xC3\xA9",
                      "; \xE9t\xE9\r\n[S]\r\nother=" + HighBytes() + "\r\nk=caf\xE9\r\n  odd  line\r\n",
                      kHighBytesUtf8},
        RoundTripCase{"Cp1252MixedLineEnds", "[S]\nother=\xE9\r\nk=1\rx=2", "2",
                      "[S]\nother=\xE9\r\nk=2\rx=2", "\xC3\xA9"},
        RoundTripCase{"Utf8", kBom8 + "[S]\nother=\xC3\xA9\xE2\x82\xAC\nk=1\n;\xC4\x80\n", "\xC4\x81",
                      kBom8 + "[S]\nother=\xC3\xA9\xE2\x82\xAC\nk=\xC4\x81\n;\xC4\x80\n",
                      "\xC3\xA9\xE2\x82\xAC"},
        RoundTripCase{"Utf16",
                      kBom16 + Utf16("[S]\r\nother=") + kAstral + Utf16("\r\n;") + kLoneHalf +
                          Utf16("\r\nk=1\r\n"),
                      "\xC4\x81",
                      kBom16 + Utf16("[S]\r\nother=") + kAstral + Utf16("\r\n;") + kLoneHalf +
                          Utf16("\r\nk=") + "\x01\x01"s + Utf16("\r\n"),
                      "\xF0\x9F\x98\x80"},
        RoundTripCase{"Utf16OddLength", kBom16 + Utf16("[S]\r\nk=1\r\nother=x") + "\x41", "2",
                      kBom16 + Utf16("[S]\r\nk=2\r\nother=x") + "\x41", "x"}),
    [](const ::testing::TestParamInfo<RoundTripCase>& info) { return std::string(info.param.name); });

using IniNewFile = IniFixture;

TEST_F(IniNewFile, IsCodePage1252WithCrLf) {
    const std::string path = dir / "new.ini";
    ASSERT_TRUE(ini::WriteProfileString(path, "\xC3\x89t\xC3\xA9", "cl\xC3\xA9", "\xE2\x82\xAC"));
    EXPECT_EQ(ReadBytes(path), "[\xC9t\xE9]\r\ncl\xE9=\x80\r\n");
}

} // namespace
} // namespace kirva::test
