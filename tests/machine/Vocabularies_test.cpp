// The fixed choice lists of a machine's fields and the conversions between what a list shows
// and what the record stores: parity letters, flow-control indexes, start conditions, ports.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "machine/HeaderPreview.h"
#include "machine/Vocabularies.h"

namespace kirva {
namespace {

// Parity both ways; a text or letter outside the list (case and blanks count) gives nothing.
TEST(Vocabularies, ParityShownAndStored) {
    const std::pair<const char*, const char*> parities[] = {
        {"Paire", "E"}, {"Impaire", "O"}, {"Aucune", "N"}, {"Marque", "M"}};
    for (const auto& [shown, letter] : parities) {
        EXPECT_EQ(ParityToLetter(shown), letter);
        EXPECT_EQ(LetterToParity(letter), shown);
    }
    for (const char* shown : {"paire", " Paire", ""}) EXPECT_EQ(ParityToLetter(shown), "") << shown;
    for (const char* letter : {"m", "X", "", "EO"}) EXPECT_EQ(LetterToParity(letter), "") << letter;
}

// Service names give their port (POP3 none on purpose); any other text is kept, trimmed.
TEST(Vocabularies, ServicePortStored) {
    const std::pair<const char*, const char*> cases[] = {
        {"FTP", "21"},    {" FTP ", "21"},  {"SMTP", "25"},     {"POP3", ""},
        {"HTTP", "80"},   {"HTTPS", "443"}, {"GOPHER", "70"},   {"SOCKS", "1080"},
        {"TELNET", "23"}, {"ftp", "ftp"},   {" 8080 ", "8080"}, {"", ""}};
    for (const auto& [typed, port] : cases) EXPECT_EQ(NormalizeServicePort(typed), port) << typed;
}

TEST(Vocabularies, FlowControlIndexOfTheTrimmedText) {
    const std::pair<const char*, int> cases[] = {
        {"Aucun", 0},       {"Xon/Xoff", 1}, {"RTS/CTS", 2},        {"RTS/Xon", 3},  {"Xon/Xoff/DTR", 4},
        {"RTS/CTS/DTR", 5}, {"\tAucun", 0},  {"  RTS/Xon/DTR ", 6}, {"rts/cts", -1}, {"", -1}};
    for (const auto& [shown, index] : cases) EXPECT_EQ(FlowControlIndex(shown), index) << shown;
}

// "Attente" with a waiting time is the character, "-" and the time; without one it is stored
// as "Caractère": the character, "QCQ" when there is none.
TEST(Vocabularies, StartConditionToCode) {
    struct Case {
        const char *shown, *character, *wait, *code;
    };
    const Case cases[] = {{"Rien", "x", "3", "NS"},      {"Caractère", "#", "5", "#"},
                          {"Caractère", "", "", "QCQ"},  {"Caractère qcq", "#", "", "QCQ"},
                          {"Montée RTS", "", "", "RTS"}, {"Attente", "#", "5", "#-5"},
                          {"Attente", "#", "", "#"},     {"Attente", "", "", "QCQ"},
                          {"RS232", "", "", "RS232"},    {"rien", "", "", ""}};
    for (const Case& c : cases)
        EXPECT_EQ(StartConditionToCode(c.shown, c.character, c.wait), c.code)
            << c.shown << c.character << c.wait;
}

// Indexes: 0 "Rien", 1 "Caractère", 2 "Caractère qcq", 3 "Montée RTS", 4 "Attente", 5 "RS232". A
// code holding "-" is split at its last one; the companion boxes take input for "Caractère" (the
// character) and "Attente" (both).
TEST(Vocabularies, CodeToStartCondition) {
    struct Case {
        const char* code;
        int index;
        const char *character, *wait;
    };
    const Case cases[] = {{"NS", 0, "", ""},     {"", 0, "", ""},       {"QCQ", 2, "", ""},
                          {"RTS", 3, "", ""},    {"RS232", 5, "", ""},  {"#", 1, "#", ""},
                          {"-", 1, "-", ""},     {"qcq", 1, "qcq", ""}, {"#-5", 4, "#", "5"},
                          {"--12", 4, "-", "12"}};
    for (const Case& c : cases) {
        const StartConditionView view = CodeToStartCondition(c.code);
        EXPECT_EQ(view.Index, c.index) << c.code;
        EXPECT_EQ(view.Character, c.character) << c.code;
        EXPECT_EQ(view.WaitTime, c.wait) << c.code;
        EXPECT_EQ(view.CharacterEnabled(), c.index == 1 || c.index == 4) << c.code;
        EXPECT_EQ(view.WaitTimeEnabled(), c.index == 4) << c.code;
    }
}

} // namespace
} // namespace kirva

TEST(Vocabularies, CharactersShownReadably) {
    const std::pair<const char*, const char*> cases[] = {
        {"13,10", "<CR><LF>"},
        {"18", "<DC2>"},
        {"37", "%"},
        {"0,127,233", "<NUL><DEL>é"},
        {"%", "%"},
        {"a\tb", "a<HT>b"},
        {"256", "256"},
        {"13,,10", "13,,10"},
        {"1310", "1310"},
        {"", ""},
        {"13, 10", "13, 10"},
        {"é", "é"},
    };
    for (const auto& [typed, shown] : cases) EXPECT_EQ(kirva::ReadableCharacters(typed), shown) << typed;
}

TEST(Vocabularies, HeaderPreviewFollowsTheSyntaxFields) {
    kirva::MachineConfig m;
    m.RefMO = "TOUR_T01";
    m.EOB = "13,10";
    m.CarDebProg = "%";
    m.NbDigitNumProg = 3; // "001" is a number, not the code of <SOH>
    m.CarDebBloc = "N";
    m.NumBloc1 = 10;
    m.IncrBloc = 5;
    m.BlocDeb = "G90";
    m.CarDebCom = "(";
    m.CarFinCom = ")";
    using Lines = std::vector<std::string>;
    EXPECT_EQ(kirva::HeaderPreview(m),
              (Lines{"% <CR><LF>", "001 <CR><LF>", "N10 G90 <CR><LF>", "N15 ... <CR><LF>"}));
    m.HeaderVisible = true;
    m.HeaderText = "Bride";
    EXPECT_EQ(kirva::HeaderPreview(m),
              (Lines{"% <CR><LF>", "001 <CR><LF>", "(PROGRAMME 001) <CR><LF>", "(MACHINE TOUR_T01) <CR><LF>",
                     "(Bride) <CR><LF>", "N10 G90 <CR><LF>", "N15 ... <CR><LF>"}));
    m.InsertMode = 1; // compact
    m.CarCartouche = ";";
    m.CarFinCom = "";
    m.EOB = "";
    EXPECT_EQ(kirva::HeaderPreview(m)[2], ";PROGRAMME 001 - MACHINE TOUR_T01 - Bride");
}
