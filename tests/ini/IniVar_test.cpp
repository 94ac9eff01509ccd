// clsIniVar: properties as fallbacks, the read and write rules, the number rules.
#include <gtest/gtest.h>

#include "ini/IniTestSupport.h"
#include "ini/clsIniVar.h"

namespace kirva::test {
namespace {

using namespace std::string_literals;

class IniVar : public IniFixture {
  protected:
    clsIniVar Open(const std::string& bytes) {
        clsIniVar ini;
        ini.Init(File(bytes), "S", "", "");
        return ini;
    }
};

TEST_F(IniVar, EmptyArgumentsFallBackAndCallerReceivesProperty) {
    clsIniVar ini;
    const std::string path = File("[S]\r\nk=1\r\n[T]\r\nk=2\r\n");
    ini.Init(path, "S", "k", "");
    std::string key, section, file;
    EXPECT_EQ(ini.Read(key, section, file), "1");
    EXPECT_EQ(key, "k");
    EXPECT_EQ(section, "S");
    EXPECT_EQ(file, path);
    std::string other = "T";
    EXPECT_EQ(ini.Read(key, other, file), "2");
    EXPECT_EQ(ini.Section(), "S"); // arguments never change the properties
    EXPECT_EQ(ini.Read(), "1");
}

struct ReadRuleCase {
    const char* name;
    std::string value; // the line after "k=" (absent when "-")
    std::string read;
    bool readBool;
    bool readBoolDefTrue;
    double readVal;
};

class IniVarReadRules : public IniVar, public ::testing::WithParamInterface<ReadRuleCase> {};

TEST_P(IniVarReadRules, Apply) {
    const ReadRuleCase& c = GetParam();
    clsIniVar ini = Open(c.value == "-" ? "[S]\r\n" : "[S]\r\nk=" + c.value + "\r\n");
    EXPECT_EQ(ini.Read("k"), c.read);
    EXPECT_EQ(ini.ReadBool("k"), c.readBool);
    EXPECT_EQ(ini.ReadBoolDef(true, "k"), c.readBoolDefTrue);
    EXPECT_DOUBLE_EQ(ini.ReadVal("k"), c.readVal);
    EXPECT_EQ(ini.ReadDef("dflt", "k"), c.read.empty() ? "dflt" : c.read);
}

INSTANTIATE_TEST_SUITE_P(
    Ini, IniVarReadRules,
    ::testing::Values(ReadRuleCase{"Trimmed", "\"  abc  \"", "abc", false, false, 0},
                      ReadRuleCase{"One", "1", "1", true, true, 1},
                      ReadRuleCase{"Zero", "0", "0", false, false, 0},
                      ReadRuleCase{"TrueWord", "True", "True", false, false, 0},
                      ReadRuleCase{"MinusOne", "-1", "-1", false, false, -1},
                      ReadRuleCase{"Absent", "-", "", false, true, 0},
                      ReadRuleCase{"Empty", "", "", false, true, 0},
                      ReadRuleCase{"CommaIsNoSeparator", "12,5", "12,5", false, false, 12},
                      ReadRuleCase{"UnitAfterNumber", "3.25mm", "3.25mm", false, false, 3.25},
                      ReadRuleCase{"Exponent", "-1.5E+2x", "-1.5E+2x", false, false, -150},
                      ReadRuleCase{"ExponentWithoutDigits", "2e", "2e", false, false, 2},
                      ReadRuleCase{"SecondPointStops", "1.2.3", "1.2.3", false, false, 1.2},
                      ReadRuleCase{"SignAndLeadingPoint", "+.5", "+.5", false, false, 0.5},
                      ReadRuleCase{"Underflow", "1e-999", "1e-999", false, false, 0}),
    [](const ::testing::TestParamInfo<ReadRuleCase>& info) { return std::string(info.param.name); });

TEST_F(IniVar, ValueLongerThan1023IsCut) {
    clsIniVar ini = Open("[S]\r\nk=" + std::string(3000, 'v') + "\r\n");
    EXPECT_EQ(ini.Read("k").size(), 1023u);
}

TEST_F(IniVar, ReadSectionInTabKeepsIndexZeroEmpty) {
    clsIniVar ini = Open("[S]\r\na=1\r\n'x=2\r\nb=\r\n");
    EXPECT_EQ(ini.ReadSectionInTab(), (std::vector<std::string>{"", "a=1", "b="}));
    EXPECT_EQ(ini.ReadSection(), "a=1\0'x=2\0b=\0"s);
    EXPECT_EQ(ini.ReadSectionInTab("Missing"), std::vector<std::string>{""});
}

TEST_F(IniVar, FNKeyExistSearchesKeyPropertyAsSubstring) {
    clsIniVar ini = Open("[S]\r\nFileName=x\r\n[E]\r\n");
    ini.Key("Name");
    EXPECT_TRUE(ini.FNKeyExist()); // "Name=" ends "FileName="
    ini.Key("FileName");
    EXPECT_TRUE(ini.FNKeyExist("Other")); // the property is tested, not the argument
    ini.Key("filename");
    EXPECT_FALSE(ini.FNKeyExist()); // case-sensitive
    ini.Key("FileName");
    EXPECT_FALSE(ini.FNKeyExist("", "E")); // empty section
    EXPECT_FALSE(ini.FNKeyExist("", "Missing"));
}

TEST_F(IniVar, WritesFallBackToValueAndFormat) {
    clsIniVar ini = Open("[S]\r\n");
    ini.Value("fromProperty");
    ini.WriteStr("", "a");
    ini.WriteStr("given", "b");
    ini.WriteBool(true, "t");
    ini.WriteBool(false, "f");
    ini.WriteVal(1.5, "v");
    ini.WriteVal(100, "w");
    ini.WriteVal(1e20, "x");
    ini.WriteVal(-0.0, "z");
    EXPECT_EQ(ReadBytes(ini.Path()), "[S]\r\na=fromProperty\r\nb=given\r\nt=1\r\nf=0\r\nv=1.5\r\nw=100\r\n"
                                     "x=1E+20\r\nz=0\r\n");
    // An empty string can only be written while Value is empty.
    ini.Value("");
    ini.WriteStr("", "a");
    EXPECT_EQ(ini.Read("a"), "");
}

TEST_F(IniVar, WriteFailuresAreSilent) {
    clsIniVar ini;
    ini.Init((dir / "no/such/folder/x.ini"), "S", "k", "v");
    ini.WriteStr("");
    EXPECT_EQ(ini.Read(), "");
}

} // namespace
} // namespace kirva::test
