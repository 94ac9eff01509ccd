// The information box rtbInfoMOCN and the RTF reader behind it.
#include <gtest/gtest.h>

#include <QTextCursor>
#include <QTextEdit>

#include "editor/CatalogueWidgets.h"
#include "editor/RtfReader.h"
#include "support/TestSupport.h"

namespace kirva {
namespace {

using test::RecordingMessages;
using test::TempDir;
using test::WriteBytes;

// ---------------------------------------------------------------- RTF reader

struct RtfCase {
    const char* name;
    std::string rtf;
    std::vector<std::string> paragraphs;
};

TEST(EditorCatalogueRtf, ParagraphsAndCharacters) {
    const std::vector<RtfCase> cases = {
        {"paragraphs", "{\\rtf1\\ansi Line 1\\par Line 2\\par}", {"Line 1", "Line 2"}},
        {"header groups skipped",
         "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0\\fswiss Arial;}}{\\colortbl;\\red255\\green0\\blue0;}"
         "{\\*\\generator Writer 1.0;}{\\info{\\title T}}\\f0\\fs20 Texte\\par}",
         {"Texte"}},
        {"code page escapes", "{\\rtf1 Fra\\'e9sage \\'80 \\'9c\\par}", {"Fraésage € œ"}},
        {"unicode with fallback",
         "{\\rtf1\\uc1 \\u8364?uro \\u-3913?x\\uc2\\u233\\'65\\'65!}",
         {"€uro \uF0B7xé!"}},
        {"escaped symbols", "{\\rtf1 a\\{b\\}c\\\\d\\~e\\-f}", {"a{b}c\\d\u00A0ef"}},
        {"line and tab", "{\\rtf1 a\\line b\\tab c}", {"a\nb\tc"}},
        {"raw line breaks ignored", "{\\rtf1 a\r\nb}", {"ab"}},
        {"unbalanced braces", "{\\rtf1 a}}}b{{", {"ab"}},
        {"not rtf at all", "plain", {"plain"}},
        {"empty", "", {""}},
    };
    for (const RtfCase& c : cases) {
        std::vector<std::string> texts;
        for (const RtfParagraph& p : ReadRtf(c.rtf)) texts.push_back(p.FNText());
        EXPECT_EQ(texts, c.paragraphs) << c.name;
    }
}

TEST(EditorCatalogueRtf, BoldItalicUnderlineFollowTheGroups) {
    const auto paragraphs =
        ReadRtf("{\\rtf1 n {\\b b {\\i bi}} \\ul u\\ulnone  n\\b0 {\\i0 x}\\i i\\plain p}");
    ASSERT_EQ(paragraphs.size(), 1u);
    const std::vector<RtfRun> expected = {{"n ", false, false, false}, {"b ", true, false, false},
                                          {"bi", true, true, false},   {" ", false, false, false},
                                          {"u", false, false, true},   {" nx", false, false, false},
                                          {"i", false, true, false},   {"p", false, false, false}};
    EXPECT_EQ(paragraphs[0].Runs, expected);
}

TEST(EditorCatalogueRtf, DeepNestingAndHugeNumbersDoNotBreakTheReader) {
    const std::string deep = std::string(100000, '{') + "x" + std::string(100000, '}');
    EXPECT_EQ(ReadRtf("{\\rtf1 " + deep + "}").front().FNText(), "x");
    EXPECT_EQ(ReadRtf("{\\rtf1 \\u99999999999999 a\\bin999999999 b}").size(), 1u);
}

// ---------------------------------------------------------------- widgets

TEST(EditorCatalogue, InformationFilesShowAsRichOrPlainText) {
    TempDir dir;
    RecordingMessages messages;
    const std::string data = dir.path().string() + "/";
    QWidget parent;
    QTextEdit* box = CatalogueWidgets::CreateInformationBox(&parent);
    EXPECT_EQ(box->objectName(), "rtbInfoMOCN");
    EXPECT_TRUE(box->isReadOnly());

    // Rich text keeps its bold; markup characters stay text; an empty paragraph stays, with its line.
    WriteBytes(data + "INFOCN/MO_Tour.RTF",
               "{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}\\f0 Mod\\'e8le {\\b gras} <b>&\\par\\par fin}");
    ASSERT_TRUE(CatalogueWidgets::ShowInformation(box, data, 7, "Tour"));
    EXPECT_EQ(box->toPlainText(), QStringLiteral("Modèle gras <b>&\n\n\nfin"));
    QTextCursor cursor(box->document());
    cursor.setPosition(box->toPlainText().indexOf("gras") + 1);
    EXPECT_EQ(cursor.charFormat().fontWeight(), QFont::Bold);
    cursor.setPosition(2);
    EXPECT_NE(cursor.charFormat().fontWeight(), QFont::Bold);

    // A received program is text, even when it holds what looks like RTF; code page 1252 bytes decode.
    WriteBytes(data + "FROMCN/ISO0012.txt", "{\\rtf1 x}\r\nG0 X1 (\xE9)");
    ASSERT_TRUE(CatalogueWidgets::ShowInformation(box, data, 6, "12"));
    EXPECT_EQ(box->toPlainText(), QStringLiteral("{\\rtf1 x}\nG0 X1 (é)"));

    EXPECT_FALSE(CatalogueWidgets::ShowInformation(box, data, 7, "Absent"));
    EXPECT_EQ(box->toPlainText(), "");
    EXPECT_TRUE(messages.entries.empty());
}

} // namespace
} // namespace kirva
