// Dictionary translation of the texts the program shows.
#include <gtest/gtest.h>

#include <string>

#include "ini/profile.h"
#include "support/TempDir.h"
#include "translate/translate.h"

namespace kirva::test {
namespace {

using TK_TRANSLATE::TranslateText;

std::string Crlf(const std::string& text) {
    std::string out;
    for (char c : text) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

// A fresh folder; the shared dictionary points at `name` in it ("" = no dictionary).
class TranslateTest : public ::testing::Test {
  protected:
    void Use(const std::string& name) {
        ini::ClearCache();
        TK_TRANSLATE::Shared().Init(name.empty() ? name : dir / name);
    }
    void TearDown() override { TK_TRANSLATE::Shared().Init(""); }
    TempDir dir;
};

// Without a dictionary the text stands, nothing is written, and "x1x", "x2x" ... take the values
// of any kind, each placeholder everywhere it occurs.
TEST_F(TranslateTest, WithoutDictionary) {
    Use("");
    EXPECT_EQ(TranslateText("Erreur", kDicoSection), "Erreur");
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
    EXPECT_EQ(TranslateText("x1x|x2x|x3x|x4x", kDicoSection, 3, std::string("CN"), "txt", -12L),
              "3|CN|txt|-12");
    EXPECT_EQ(TranslateText("x1x x2x", kDicoSection, 2.5, -0.125), "2.5 -0.125");
    EXPECT_EQ(TranslateText("x1x-x1x", kDicoSection, "A"), "A-A");
    EXPECT_EQ(TranslateText("x1x x2x", kDicoSection, "A"), "A x2x");
    EXPECT_EQ(TranslateText("x1x x2x", kDicoSection, "[x2x]", "B"), "[B] B");
    EXPECT_EQ(TranslateText("x10x x1x", kDicoSection, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10), "10 1");
    EXPECT_EQ(TranslateText("X1X x1x", kDicoSection, "v"), "X1X v");
    EXPECT_EQ(TranslateText("Ligne 1vbCrLfLigne 2", kDicoSection), "Ligne 1\r\nLigne 2");
}

TEST_F(TranslateTest, FrenchDictionaryLearnsMissingTextsInCodePage1252) {
    WriteBytes(dir / "Lng/FR.lng", Crlf("[KIRVA]\nAjouter...=Ajouter...\n"));
    Use("Lng/FR.lng");
    EXPECT_EQ(TranslateText("Erreur", kDicoSection), "Erreur");
    EXPECT_EQ(TranslateText("Réseau", kDicoSection), "Réseau");
    EXPECT_EQ(TranslateText("Statut : ", kDicoSection), "Statut : ");
    EXPECT_EQ(TranslateText("Un\r\nDeux", kDicoSection), "Un\r\nDeux");
    // Texts that a profile file cannot hold as keys are not learnt.
    for (const char* text : {"a=b", "[SECTION]", "; note", ""})
        EXPECT_EQ(TranslateText(text, kDicoSection), text);
    EXPECT_EQ(ReadBytes(dir / "Lng/FR.lng"),
              Crlf("[KIRVA]\nAjouter...=Ajouter...\nErreur=Erreur\nR\xE9seau=R\xE9seau\n"
                   "Statut :=\"Statut : \"\nUnvbCrLfDeux=UnvbCrLfDeux\n"));
    // What was learnt reads back as the text itself, blanks and line breaks included.
    Use("Lng/FR.lng");
    EXPECT_EQ(TranslateText("Statut : ", kDicoSection), "Statut : ");
    EXPECT_EQ(TranslateText("Un\r\nDeux", kDicoSection), "Un\r\nDeux");
}

TEST_F(TranslateTest, OtherDictionariesNeverLearn) {
    for (const char* name : {"EN.lng", "fr.lng", "FR.LNG"}) {
        WriteBytes(dir / name, Crlf("[KIRVA]\nAjouter...=Add...\n"));
        Use(name);
        EXPECT_EQ(TranslateText("Erreur", kDicoSection), "Erreur") << name;
        EXPECT_EQ(TranslateText("Ajouter...", kDicoSection), "Add...") << name;
        EXPECT_EQ(ReadBytes(dir / name), Crlf("[KIRVA]\nAjouter...=Add...\n")) << name;
    }
    Use("missing folder/FR.lng"); // cannot be written: fails silently
    EXPECT_EQ(TranslateText("Erreur", kDicoSection), "Erreur");
}

// Texts a profile read would change (quotes around them, blanks at their ends) are learnt so that
// the dictionary gives them back unchanged.
TEST_F(TranslateTest, LearntQuotedTextsReadBackUnchanged) {
    for (const char* pass : {"learnt", "read back"}) {
        Use("FR.lng");
        for (const char* text : {"\"Oui\"", "'Non'", "\"", " - "})
            EXPECT_EQ(TranslateText(text, kDicoSection), text) << pass;
    }
    EXPECT_EQ(ReadBytes(dir / "FR.lng"),
              Crlf("[KIRVA]\n\"Oui\"=\"\"Oui\"\"\n'Non'=\"'Non'\"\n\"=\"\n-=\" - \"\n"));
}

// A French dictionary saved as UTF-8 without any entry yet holds only its byte-order mark; what
// it learns is added in UTF-8 after it, on a line of its own.
TEST_F(TranslateTest, DictionaryHoldingOnlyAByteOrderMarkLearnsInUtf8) {
    WriteBytes(dir / "FR.lng", "\xEF\xBB\xBF");
    Use("FR.lng");
    EXPECT_EQ(TranslateText("R\xC3\xA9seau", kDicoSection), "R\xC3\xA9seau");
    EXPECT_EQ(ReadBytes(dir / "FR.lng"), "\xEF\xBB\xBF\r\n[KIRVA]\r\nR\xC3\xA9seau=R\xC3\xA9seau\r\n");
    Use("FR.lng");
    EXPECT_EQ(ini::GetProfileString(dir / "FR.lng", kDicoSection, "R\xC3\xA9seau", ""), "R\xC3\xA9seau");
}

// An entry of another dictionary: found in its section without regard to case, the mnemonic
// part of the key, "vbCrLf" a line break, placeholders in any order, an empty one keeps French.
TEST_F(TranslateTest, OtherDictionaryTranslates) {
    struct Case {
        const char *dictionary, *text, *expected;
    };
    const Case cases[] = {{"[KIRVA]\nDeux mots=TwovbCrLfwords\n", "Deux mots", "Two\r\nwords"},
                          {"[KIRVA]\nDe x1x vers x2x=To x2x from x1x\n", "De x1x vers x2x", "To B from A"},
                          {"[KIRVA]\nErreur=\n", "Erreur", "Erreur"},
                          {"[HARBIX]\nErreur=Error\n", "Erreur", "Erreur"},
                          {"[kirva]\nERREUR=Error\n", "Erreur", "Error"},
                          {"[KIRVA]\nStatut : =\"Status: \"\n", "Statut : ", "Status: "},
                          {"[KIRVA]\n&Ajouter=&Add\nAjouter=Add\n", "&Ajouter", "&Add"}};
    for (const Case& c : cases) {
        WriteBytes(dir / "EN.lng", Crlf(c.dictionary));
        Use("EN.lng");
        EXPECT_EQ(TranslateText(c.text, kDicoSection, "A", "B"), c.expected) << c.dictionary;
    }
}

} // namespace
} // namespace kirva::test
