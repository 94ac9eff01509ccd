// Writing profile files as Windows writes them: the file is edited as text and every line
// not written to stays as it was.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "ini/IniTestSupport.h"
#include "ini/profile.h"
#include "platform/platform.h"

namespace kirva::test {
namespace {

using namespace std::string_literals;
using Opt = std::optional<std::string>;

struct WriteCase {
    const char* name;
    std::optional<std::string> before; // nullopt: no file
    std::string section;
    Opt key, value;
    std::string after;
};

class IniWrite : public IniFixture, public ::testing::WithParamInterface<WriteCase> {};

TEST_P(IniWrite, EditsOnlyItsLine) {
    const WriteCase& c = GetParam();
    const std::string path = c.before ? File(*c.before) : dir / "new.ini";
    EXPECT_TRUE(ini::WriteProfileString(path, c.section, c.key, c.value));
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
    EXPECT_EQ(ReadBytes(path), c.after);
}

INSTANTIATE_TEST_SUITE_P(
    Ini, IniWrite,
    ::testing::Values(
        WriteCase{"ChangedKeyKeepsPlaceAndSpelling", "[S]\r\nx=0\r\n  Key = old \r\ny=0\r\n", "s", "KEY",
                  "new", "[S]\r\nx=0\r\nKey=new\r\ny=0\r\n"},
        WriteCase{"NewKeyAfterLastKeyBeforeComments", "[S]\r\na=1\r\n;c\r\n\r\n[T]\r\n", "S", "b", "2",
                  "[S]\r\na=1\r\nb=2\r\n;c\r\n\r\n[T]\r\n"},
        WriteCase{"NewKeyInSectionWithoutKeys", "[S]\r\n;c\r\n[T]\r\n", "S", "b", "2",
                  "[S]\r\nb=2\r\n;c\r\n[T]\r\n"},
        WriteCase{"NewSectionAtEnd", "[S]\r\na=1", "T", "x", "1", "[S]\r\na=1\r\n[T]\r\nx=1\r\n"},
        WriteCase{"NewKeyAtEndOfFileWithoutLineEnd", "[S]\r\na=1", "S", "b", "2", "[S]\r\na=1\r\nb=2\r\n"},
        WriteCase{"LineEndsOfTheFile", "[S]\na=1\n", "S", "b", "2", "[S]\na=1\nb=2\n"},
        WriteCase{"ValueAsGiven", "[S]\r\na=1\r\n", "S", "a", "  ;x \"y\"  ", "[S]\r\na=  ;x \"y\"  \r\n"},
        WriteCase{"NamesLoseSpaces", "", "  S ", " k ", "v", "[S]\r\nk=v\r\n"},
        WriteCase{"FirstOfTwoSections", "[S]\r\n[S]\r\nb=1\r\n", "S", "b", "2",
                  "[S]\r\nb=2\r\n[S]\r\nb=1\r\n"},
        WriteCase{"DeleteFirstKeyLine", "[S]\r\na=1\r\na=2\r\n", "S", "a", std::nullopt, "[S]\r\na=2\r\n"},
        WriteCase{"DeleteSectionKeepsComments", "[S]\r\n;c\r\na=1\r\ntext\r\n\r\n[T]\r\nb=1\r\n", "S",
                  std::nullopt, std::nullopt, ";c\r\n\r\n[T]\r\nb=1\r\n"},
        WriteCase{"CreatesFile", std::nullopt, "S", "k", "v", "[S]\r\nk=v\r\n"},
        WriteCase{"ValueEndsAtNul", "", "S", "k", "v\0w"s, "[S]\r\nk=v\r\n"},
        WriteCase{"NotInCodePageIsQuestionMark", "", "S", "k", "\xC4\x80\xE2\x82\xAC", "[S]\r\nk=?\x80\r\n"},
        // A write changes only what differs: the same value leaves the line as it stands.
        WriteCase{"SameValueKeepsTheLineAsItStands", "[S]\r\n PortListen = 5001 \r\n", "S", "portlisten",
                  "5001", "[S]\r\n PortListen = 5001 \r\n"},
        WriteCase{"ReplacedLastLineGetsTheFilesLineEnd", "[S]\na=1", "S", "a", "2", "[S]\na=2\n"},
        WriteCase{"NulLineIsNoKeyLine", "[S]\r\na=1\r\n\0\0 \0\r\n"s, "S", "b", "2",
                  "[S]\r\na=1\r\nb=2\r\n\0\0 \0\r\n"s},
        WriteCase{"DeleteKeyOfMissingFileLeavesEmptyFile", std::nullopt, "S", "k", std::nullopt, ""},
        WriteCase{"DeleteSectionOfMissingFileLeavesEmptyFile", std::nullopt, "S", std::nullopt, std::nullopt,
                  ""},
        WriteCase{"Utf16FileOfOnlyItsMark", "\xFF\xFE", "S", "k", "v",
                  "\xFF\xFE" + Utf16("\r\n[S]\r\nk=v\r\n")},
        WriteCase{"Utf8FileOfOnlyItsMark", "\xEF\xBB\xBF", "S", "k", "\xC3\xA9",
                  "\xEF\xBB\xBF\r\n[S]\r\nk=\xC3\xA9\r\n"}),
    [](const ::testing::TestParamInfo<WriteCase>& info) { return std::string(info.param.name); });

struct SectionWriteCase {
    const char* name;
    std::string before;
    std::string content;
    std::string after;
};

class IniWriteSection : public IniFixture, public ::testing::WithParamInterface<SectionWriteCase> {};

TEST_P(IniWriteSection, ReplacesTheKeyLines) {
    const SectionWriteCase& c = GetParam();
    const std::string path = File(c.before);
    EXPECT_TRUE(ini::WriteProfileSection(path, "S", c.content));
    EXPECT_EQ(ReadBytes(path), c.after);
}

INSTANTIATE_TEST_SUITE_P(
    Ini, IniWriteSection,
    ::testing::Values(SectionWriteCase{"EntriesAndLineBreaks", "[S]\r\n;c\r\na=1\r\nb=2\r\n[T]\r\n",
                                       "x=1\0y=2\r\nz=3\0\0"s, "[S]\r\n;c\r\nx=1\r\ny=2\r\nz=3\r\n[T]\r\n"},
                      SectionWriteCase{"Empty", "[S]\r\n;c\r\na=1\r\n[T]\r\n", "", "[S]\r\n;c\r\n[T]\r\n"},
                      SectionWriteCase{"MissingSection", "[T]\r\n", "a=1", "[T]\r\n[S]\r\na=1\r\n"},
                      SectionWriteCase{"ListEndsAtEmptyEntry", "", "a=1\0\0b=2"s, "[S]\r\na=1\r\n"}),
    [](const ::testing::TestParamInfo<SectionWriteCase>& info) { return std::string(info.param.name); });

using IniWriteFile = IniFixture;

TEST_F(IniWriteFile, SameValueLeavesFileAlone) {
    const std::string path = File("[S]\r\nk = v\r\n");
    platform::FileStamp before, written, after;
    ASSERT_EQ(platform::StatFile(path, before), platform::FileResult::Ok);
    EXPECT_TRUE(ini::WriteProfileString(path, "S", "k", "v2"));
    ASSERT_EQ(platform::StatFile(path, written), platform::FileResult::Ok);
    EXPECT_TRUE(ini::WriteProfileString(path, "S", "k", "v2"));
    EXPECT_TRUE(ini::WriteProfileString(path, "S", "missing", std::nullopt));
    ASSERT_EQ(platform::StatFile(path, after), platform::FileResult::Ok);
    EXPECT_NE(written, before); // replaced by a new file
    EXPECT_EQ(after, written);  // not written again
}

TEST_F(IniWriteFile, MissingFolderIsRefused) {
    EXPECT_FALSE(ini::WriteProfileString(dir / "no/such.ini", "S", "k", "v"));
    EXPECT_FALSE(std::filesystem::exists(dir / "no"));
}

} // namespace
} // namespace kirva::test
