// A small reader for the rich text that the controls' information files hold: paragraphs, bold,
// italic, underline, code page 1252 escapes and Unicode characters. Everything else (fonts,
// colours, pictures, style sheets, document information) is skipped. Standard C++ only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kirva {

struct RtfRun {
    std::string Text; // UTF-8
    bool Bold = false;
    bool Italic = false;
    bool Underline = false;
    bool operator==(const RtfRun&) const = default;
};

struct RtfParagraph {
    std::vector<RtfRun> Runs;
    std::string FNText() const; // the paragraph's text without formatting
};

// The paragraphs of an RTF document (a final empty paragraph is left out). Text that does not
// start with "{\rtf" is read the same way, as a document without a header.
std::vector<RtfParagraph> ReadRtf(std::string_view bytes);
// The document as HTML for a rich-text box: one <p> a paragraph, <b>, <i> and <u> for the styles.
std::string RtfToHtml(std::string_view bytes);
// Whether the bytes start (after blanks) with "{\rtf".
bool LooksLikeRtf(std::string_view bytes);
// Text of a plain file: UTF-8 when it is valid UTF-8 (a byte-order mark dropped), otherwise code page 1252.
std::string PlainFileToUtf8(std::string_view bytes);
// One code page 1252 byte as UTF-8.
std::string Cp1252ToUtf8(unsigned char byte);

} // namespace kirva
