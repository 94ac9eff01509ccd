// The choice lists of the fields and the conversions between what a list shows and what the
// record stores.
#include <gtest/gtest.h>

#include <string>

#include "machine/Vocabularies.h"

namespace kirva {
namespace {

struct TextCase {
    const char* input;
    const char* expected;
};

class EditorParityToLetter : public ::testing::TestWithParam<TextCase> {};
TEST_P(EditorParityToLetter, GivesTheStoredLetter) {
    EXPECT_EQ(ParityToLetter(GetParam().input), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Shown, EditorParityToLetter,
                         ::testing::Values(TextCase{"Paire", "E"}, TextCase{"Impaire", "O"},
                                           TextCase{"Aucune", "N"}, TextCase{"Marque", "M"},
                                           TextCase{"paire", ""}, TextCase{"", ""}, TextCase{"Even", ""}));

class EditorLetterToParity : public ::testing::TestWithParam<TextCase> {};
TEST_P(EditorLetterToParity, GivesTheShownParity) {
    EXPECT_EQ(LetterToParity(GetParam().input), GetParam().expected);
}
// A letter outside "EONM" (lower case included) gives nothing instead of failing.
INSTANTIATE_TEST_SUITE_P(Stored, EditorLetterToParity,
                         ::testing::Values(TextCase{"E", "Paire"}, TextCase{"O", "Impaire"},
                                           TextCase{"N", "Aucune"}, TextCase{"M", "Marque"},
                                           TextCase{"m", ""}, TextCase{"X", ""}, TextCase{"", ""},
                                           TextCase{"EO", ""}));

struct FlowCase {
    const char* shown;
    int index;
};
class EditorFlowControlIndex : public ::testing::TestWithParam<FlowCase> {};
TEST_P(EditorFlowControlIndex, GivesTheStoredIndex) {
    EXPECT_EQ(FlowControlIndex(GetParam().shown), GetParam().index);
}
INSTANTIATE_TEST_SUITE_P(Shown, EditorFlowControlIndex,
                         ::testing::Values(FlowCase{"Aucun", 0}, FlowCase{"Xon/Xoff", 1},
                                           FlowCase{"RTS/CTS", 2}, FlowCase{"RTS/Xon", 3},
                                           FlowCase{"Xon/Xoff/DTR", 4}, FlowCase{"RTS/CTS/DTR", 5},
                                           FlowCase{"  RTS/Xon/DTR ", 6}, FlowCase{"rts/cts", -1},
                                           FlowCase{"", -1}));

struct StartCase {
    const char* shown;
    const char* character;
    const char* wait;
    const char* code;
};
class EditorStartConditionToCode : public ::testing::TestWithParam<StartCase> {};
TEST_P(EditorStartConditionToCode, GivesTheStoredCode) {
    const auto& c = GetParam();
    EXPECT_EQ(StartConditionToCode(c.shown, c.character, c.wait), c.code);
}
INSTANTIATE_TEST_SUITE_P(
    Shown, EditorStartConditionToCode,
    ::testing::Values(StartCase{"Rien", "x", "3", "NS"}, StartCase{"Caractère", "#", "", "#"},
                      StartCase{"Caractère", "", "", "QCQ"}, StartCase{"Caractère qcq", "#", "", "QCQ"},
                      StartCase{"Montée RTS", "", "", "RTS"}, StartCase{"Attente", "#", "5", "#-5"},
                      StartCase{"Attente", "#", "", "#"}, StartCase{"RS232", "", "", "RS232"},
                      StartCase{"", "#", "5", ""}));

struct CodeCase {
    const char* code;
    int index;
    const char* character;
    const char* wait;
};
class EditorCodeToStartCondition : public ::testing::TestWithParam<CodeCase> {};
TEST_P(EditorCodeToStartCondition, GivesTheShownConditionAndCompanions) {
    const auto& c = GetParam();
    const StartConditionView view = CodeToStartCondition(c.code);
    EXPECT_EQ(view.Index, c.index);
    EXPECT_EQ(view.Character, c.character);
    EXPECT_EQ(view.WaitTime, c.wait);
}
INSTANTIATE_TEST_SUITE_P(Stored, EditorCodeToStartCondition,
                         ::testing::Values(CodeCase{"NS", vocab::StartNothing, "", ""},
                                           CodeCase{"", vocab::StartNothing, "", ""},
                                           CodeCase{"QCQ", vocab::StartAnyCharacter, "", ""},
                                           CodeCase{"RTS", vocab::StartRtsRise, "", ""},
                                           CodeCase{"RS232", vocab::StartRs232, "", ""},
                                           CodeCase{"#", vocab::StartCharacter, "#", ""},
                                           CodeCase{"-", vocab::StartCharacter, "-", ""},
                                           CodeCase{"#-5", vocab::StartWait, "#", "5"},
                                           CodeCase{"--12", vocab::StartWait, "-", "12"}));

// "Caractère" with an empty box is stored as "QCQ" and comes back as "Caractère qcq".
TEST(EditorStartCondition, EmptyCharacterReadsBackAsAnyCharacter) {
    EXPECT_EQ(CodeToStartCondition(StartConditionToCode("Caractère", "", "")).Index,
              vocab::StartAnyCharacter);
}

class EditorNormalizeServicePort : public ::testing::TestWithParam<TextCase> {};
TEST_P(EditorNormalizeServicePort, GivesThePortStored) {
    EXPECT_EQ(NormalizeServicePort(GetParam().input), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Typed, EditorNormalizeServicePort,
                         ::testing::Values(TextCase{"21", "21"}, TextCase{"FTP", "21"},
                                           TextCase{" FTP ", "21"}, TextCase{"25", "25"},
                                           TextCase{"SMTP", "25"}, TextCase{"POP3", ""}, TextCase{"80", "80"},
                                           TextCase{"HTTP", "80"}, TextCase{"443", "443"},
                                           TextCase{"HTTPS", "443"}, TextCase{"70", "70"},
                                           TextCase{"GOPHER", "70"}, TextCase{"1080", "1080"},
                                           TextCase{"SOCKS", "1080"}, TextCase{"23", "23"},
                                           TextCase{"TELNET", "23"}, TextCase{"ftp", "ftp"},
                                           TextCase{"8080", "8080"}, TextCase{"", ""}));

TEST(EditorVocabularyLists, KeepTheirEntriesAsTheProgramWritesThem) {
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
