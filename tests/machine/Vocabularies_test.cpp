// The fixed choice lists of a machine's fields and the conversions between what a list shows
// and what the record stores: parity letters, flow-control indexes, start conditions, ports.
#include <gtest/gtest.h>

#include <string>

#include "machine/Vocabularies.h"

namespace kirva {
namespace {

struct TextCase {
    const char* input;
    const char* expected;
};

class ParityToLetterTest : public ::testing::TestWithParam<TextCase> {};
TEST_P(ParityToLetterTest, GivesTheStoredLetter) {
    EXPECT_EQ(ParityToLetter(GetParam().input), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Shown, ParityToLetterTest,
                         ::testing::Values(TextCase{"Paire", "E"}, TextCase{"Impaire", "O"},
                                           TextCase{"Aucune", "N"}, TextCase{"Marque", "M"},
                                           TextCase{"paire", ""}, TextCase{" Paire", ""}, TextCase{"", ""},
                                           TextCase{"Even", ""}));

class LetterToParityTest : public ::testing::TestWithParam<TextCase> {};
TEST_P(LetterToParityTest, GivesTheShownParity) {
    EXPECT_EQ(LetterToParity(GetParam().input), GetParam().expected);
}
// A letter outside "EONM" (lower case included) gives nothing instead of failing.
INSTANTIATE_TEST_SUITE_P(Stored, LetterToParityTest,
                         ::testing::Values(TextCase{"E", "Paire"}, TextCase{"O", "Impaire"},
                                           TextCase{"N", "Aucune"}, TextCase{"M", "Marque"},
                                           TextCase{"m", ""}, TextCase{"X", ""}, TextCase{"", ""},
                                           TextCase{"EO", ""}));

struct FlowCase {
    const char* shown;
    int index;
};
class FlowControlIndexTest : public ::testing::TestWithParam<FlowCase> {};
TEST_P(FlowControlIndexTest, GivesTheStoredIndex) {
    EXPECT_EQ(FlowControlIndex(GetParam().shown), GetParam().index);
}
INSTANTIATE_TEST_SUITE_P(Shown, FlowControlIndexTest,
                         ::testing::Values(FlowCase{"Aucun", 0}, FlowCase{"Xon/Xoff", 1},
                                           FlowCase{"RTS/CTS", 2}, FlowCase{"RTS/Xon", 3},
                                           FlowCase{"Xon/Xoff/DTR", 4}, FlowCase{"RTS/CTS/DTR", 5},
                                           FlowCase{"  RTS/Xon/DTR ", 6}, FlowCase{"\tAucun", 0},
                                           FlowCase{"rts/cts", -1}, FlowCase{"", -1}));

struct StartCase {
    const char* shown;
    const char* character;
    const char* wait;
    const char* code;
};
class StartConditionToCodeTest : public ::testing::TestWithParam<StartCase> {};
TEST_P(StartConditionToCodeTest, GivesTheStoredCode) {
    const auto& c = GetParam();
    EXPECT_EQ(StartConditionToCode(c.shown, c.character, c.wait), c.code);
}
INSTANTIATE_TEST_SUITE_P(
    Shown, StartConditionToCodeTest,
    ::testing::Values(StartCase{"Rien", "x", "3", "NS"}, StartCase{"Caractère", "#", "", "#"},
                      StartCase{"Caractère", "#", "5", "#"}, // a waiting time belongs to "Attente" only
                      StartCase{"Caractère", "", "", "QCQ"}, StartCase{"Caractère qcq", "#", "", "QCQ"},
                      StartCase{"Montée RTS", "", "", "RTS"}, StartCase{"Attente", "#", "5", "#-5"},
                      StartCase{"Attente", "#", "", "#"}, StartCase{"Attente", "", "", "QCQ"},
                      StartCase{"RS232", "", "", "RS232"}, StartCase{"rien", "", "", ""},
                      StartCase{"", "#", "5", ""}));

struct CodeCase {
    const char* code;
    int index;
    const char* character;
    const char* wait;
};
class CodeToStartConditionTest : public ::testing::TestWithParam<CodeCase> {};
TEST_P(CodeToStartConditionTest, GivesTheShownConditionAndCompanions) {
    const auto& c = GetParam();
    const StartConditionView view = CodeToStartCondition(c.code);
    EXPECT_EQ(view.Index, c.index);
    EXPECT_EQ(view.Character, c.character);
    EXPECT_EQ(view.WaitTime, c.wait);
    // The companion boxes take input for "Caractère" (the character) and "Attente" (both).
    EXPECT_EQ(view.CharacterEnabled(), c.index == 1 || c.index == 4);
    EXPECT_EQ(view.WaitTimeEnabled(), c.index == 4);
}
// Indexes: 0 "Rien", 1 "Caractère", 2 "Caractère qcq", 3 "Montée RTS", 4 "Attente", 5 "RS232".
INSTANTIATE_TEST_SUITE_P(Stored, CodeToStartConditionTest,
                         ::testing::Values(CodeCase{"NS", 0, "", ""}, CodeCase{"", 0, "", ""},
                                           CodeCase{"QCQ", 2, "", ""}, CodeCase{"RTS", 3, "", ""},
                                           CodeCase{"RS232", 5, "", ""}, CodeCase{"#", 1, "#", ""},
                                           CodeCase{"-", 1, "-", ""}, CodeCase{"qcq", 1, "qcq", ""},
                                           CodeCase{"#-5", 4, "#", "5"}, CodeCase{"--12", 4, "-", "12"}));

class NormalizeServicePortTest : public ::testing::TestWithParam<TextCase> {};
TEST_P(NormalizeServicePortTest, GivesThePortStored) {
    EXPECT_EQ(NormalizeServicePort(GetParam().input), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(
    Typed, NormalizeServicePortTest,
    ::testing::Values(TextCase{"21", "21"}, TextCase{"FTP", "21"}, TextCase{" FTP ", "21"},
                      TextCase{"25", "25"}, TextCase{"SMTP", "25"}, TextCase{"POP3", ""},
                      TextCase{"80", "80"}, TextCase{"HTTP", "80"}, TextCase{"443", "443"},
                      TextCase{"HTTPS", "443"}, TextCase{"70", "70"}, TextCase{"GOPHER", "70"},
                      TextCase{"1080", "1080"}, TextCase{"SOCKS", "1080"}, TextCase{"23", "23"},
                      TextCase{"TELNET", "23"}, TextCase{"\t23 ", "23"}, TextCase{"ftp", "ftp"},
                      TextCase{" 8080 ", "8080"}, TextCase{"", ""}));

TEST(VocabularyLists, KeepTheirEntriesAsTheProgramWritesThem) {
    EXPECT_EQ(vocab::TransferMethods.size(), 22u);
    EXPECT_STREQ(vocab::TransferMethods[0], "");
    EXPECT_STREQ(vocab::TransferMethods[13], "Seveur FTP");
    EXPECT_STREQ(vocab::TransferMethods[21], "FANUC Focas");
    EXPECT_STREQ(vocab::SerialSpeeds[10], "115200");
    EXPECT_STREQ(vocab::InternetServices[3], "POP3");
    EXPECT_STREQ(vocab::Steps10To65[11], "65");
    EXPECT_STREQ(vocab::Steps10To240[8], "240");
    EXPECT_STREQ(vocab::MachiningTypes[0], "");
}

} // namespace
} // namespace kirva
