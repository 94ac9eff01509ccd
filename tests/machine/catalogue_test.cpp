// The control catalogue InfoCN.ini: groups, models, the group of a model, the syntax preset and
// the information files.
#include <gtest/gtest.h>

#include <filesystem>

#include "ini/profile.h"
#include "machine/ControlCatalogue.h"
#include "support/TestSupport.h"

namespace kirva {
namespace {

using test::ComparedPath;
using test::Native;
using test::TempDir;
using test::WriteBytes;

constexpr const char* kCatalogue =
    "[CN_GROUP]\r\nListeCodeGroup=3,1\r\n"
    "[GROUP_3]\r\nName=  A  \r\nListeCodeModel=10,11\r\nCarDebProg=%\r\nCarDebBloc=N\r\nCarFinCom=)\r\n"
    "Abs=G50\r\nForceSepDec=1\r\nIJRel=yes\r\n"
    "[GROUP_1]\r\nName=B\r\nListeCodeModel=11,12\r\nCarDebCom=(\r\nIJRel=1\r\n"
    "[MODELS]\r\nRef_10= Lathe 10 \r\nRef_11=Mill 11\r\nRef_12=Mill 12\r\n";

class CatalogueTest : public ::testing::Test {
  protected:
    void SetUp() override { ini::ClearCache(); }
    TempDir dir_;
    std::string Data() const { return Native(dir_.path().string() + "/"); }
};

TEST(CatalogueCodeList, CountFirstThenThePieces) {
    const std::vector<std::pair<std::string, std::vector<std::int32_t>>> cases = {
        {"3,1", {2, 3, 1}},    {"", {0}},
        {"5", {1, 5}},         {"a,2", {2, 0, 2}},
        {" 4 , 7", {2, 4, 7}}, {"1,,2", {3, 1, 0, 2}},
        {"3x", {1, 0}},        {"99999999999", {1, 0}},
    };
    for (const auto& [text, codes] : cases) EXPECT_EQ(ParseCodeList(text), codes) << text;
}

// Groups and models in list order (the file name in any case); a model belongs to the first
// group that lists it; the syntax preset takes the group's keys and the program's standard codes.
TEST_F(CatalogueTest, GroupsModelsAndPresets) {
    WriteBytes(Data() + "infocn.INI", kCatalogue);
    const ControlCatalogue catalogue = ControlCatalogue::InDataFolder(Data());
    EXPECT_EQ(catalogue.Groups(), (std::vector<CatalogueEntry>{{"A", 3}, {"B", 1}}));
    EXPECT_EQ(catalogue.Models(3), (std::vector<CatalogueEntry>{{"Lathe 10", 10}, {"Mill 11", 11}}));
    EXPECT_TRUE(catalogue.Models(99).empty());
    const std::tuple<std::int32_t, std::int32_t, std::string> owners[] = {
        {10, 3, "A"}, {11, 3, "A"}, {12, 1, "B"}, {13, 0, ""}};
    for (const auto& [model, group, text] : owners) {
        EXPECT_EQ(catalogue.FNGroupCodeOfModel(model), group) << model;
        EXPECT_EQ(catalogue.FNGroupTextOfModel(model), text) << model;
    }

    const std::optional<SyntaxPreset> preset = catalogue.FNSyntaxPreset(3);
    ASSERT_TRUE(preset.has_value());
    EXPECT_EQ(preset->Fields.at("CarDebProg"), "%");
    EXPECT_EQ(preset->Fields.at("CarDebCom"), ""); // absent in the group: the field is emptied
    EXPECT_EQ(preset->Fields.at("CarSepDec"), "");
    EXPECT_TRUE(preset->ForceSepDec);
    EXPECT_FALSE(preset->IJRel); // only "1" sets a flag
    const std::map<std::string, std::string> standard = {
        {"Abs", "G90"},      {"Rel", "G91"},       {"LadR", "R"},      {"LadX", "X"},
        {"LadY", "Y"},       {"LadZ", "Z"},        {"CodeVcc", "G96"}, {"CodeStr", "G97"},
        {"CodeVaTr", "G95"}, {"CodeVaMin", "G94"}, {"LadS", "S"}};
    for (const auto& [key, value] : standard) EXPECT_EQ(preset->Fields.at(key), value) << key;
    // Eleven syntax keys of the group (CarDebProg ... CarSepDec) and the eleven standard codes.
    EXPECT_EQ(preset->Fields.size(), 22u);
    const std::optional<SyntaxPreset> other = catalogue.FNSyntaxPreset(1);
    ASSERT_TRUE(other.has_value());
    EXPECT_EQ(other->Fields.at("CarDebCom"), "(");
    EXPECT_TRUE(other->IJRel);
}

TEST_F(CatalogueTest, AMissingCatalogueGivesNothing) {
    const ControlCatalogue catalogue = ControlCatalogue::InDataFolder(Data());
    EXPECT_FALSE(catalogue.Exists());
    EXPECT_TRUE(catalogue.Groups().empty());
    EXPECT_FALSE(catalogue.FNSyntaxPreset(3).has_value());
}

TEST_F(CatalogueTest, InformationFilesByKind) {
    const std::string data = Data();
    EXPECT_EQ(InformationFilePath(data, 7, "Lathe"), Native(data + "/INFOCN/MO_Lathe.RTF"));
    EXPECT_TRUE(std::filesystem::is_directory(data + "INFOCN"));
    EXPECT_EQ(InformationFilePath(data, 6, "12"), Native(data + "/FROMCN/ISO0012.txt"));
    EXPECT_EQ(InformationFilePath(data, 6, "123456"), Native(data + "/FROMCN/ISO123456.txt"));
    EXPECT_TRUE(std::filesystem::is_directory(data + "FROMCN"));
    EXPECT_EQ(InformationFilePath(data, 5, "x"), "");

    WriteBytes(Native(data + "INFOCN/mo_mill.rtf"), "{\\rtf1 x}");
    EXPECT_EQ(ComparedPath(InformationFilePath(data, 7, "Mill")),
              ComparedPath(Native(data + "/INFOCN/mo_mill.rtf")));
}

TEST(CatalogueRichText, ByUpperCasedExtension) {
    const std::vector<std::pair<std::string, bool>> cases = {{"MO_1.RTF", true}, {"mo_1.rtf", true},
                                                             {"a/b.Rtf", true},  {"ISO1.txt", false},
                                                             {"RTF", false},     {"dir.rtf/file", false}};
    for (const auto& [name, rich] : cases) EXPECT_EQ(IsRichTextFile(name), rich) << name;
}

} // namespace
} // namespace kirva
