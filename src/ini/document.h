// The parsed text of one INI file. Every line is kept as it was read, with its own line end,
// and only the lines an edit touches change, so that a file written back differs from the
// one read exactly where it was edited. Internal to src/ini, but for FileLine and Lines(): the
// numbered lines that the workshop checks report places with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kirva::ini {

enum class Encoding : std::uint8_t { Cp1252, Utf8, Utf16Le };

// One change to a file as the caller asked for it (UTF-8 text). Kept until the file is written,
// so that it can be applied again on top of a file that another program changed meanwhile.
struct Edit {
    enum Kind : std::uint8_t { SetKey, DeleteKey, DeleteSection, ReplaceSection };
    Kind kind = SetKey;
    std::string section;
    std::string key;
    std::string value; // ReplaceSection: the entries, separated by NUL
};

// One line of a file that is neither blank nor a comment, as the engine reads it (UTF-8).
struct FileLine {
    enum Kind : std::uint8_t { Header, Entry, Text };
    std::size_t Number = 0; // from 1
    Kind kind = Entry;
    std::string Section; // the section the line stands in (a header: its own name); "" before any
    std::string Name;    // section name, key, or the bare text of a line without "="
    std::string Value;   // blanks around it removed
};

class Document {
  public:
    // The document of a file that does not exist yet: code page 1252, CR LF.
    Document();
    // Any bytes are accepted; Serialize() gives them back unchanged.
    static Document Parse(std::string_view fileBytes);
    std::string Serialize() const;

    Encoding encoding() const { return encoding_; }
    std::size_t LineCount() const { return lines_.size(); }

    // Text arguments and results below are UTF-8; names are compared without regard to case.
    // The value of the first key of that name in the first section of that name, blanks
    // around it removed (quotes kept). False when the section or the key is missing.
    bool FindValue(std::string_view section, std::string_view key, std::string& value) const;
    // The lines of the section that are neither blank nor comments, each as "name=value" (or
    // the bare text of a line without "=") followed by NUL. False when the section is missing.
    bool SectionText(std::string_view section, std::string& text) const;

    // Every header, entry and bare text line in file order, numbered as in the file.
    std::vector<FileLine> Lines() const;

    // Applies an edit; true when the text of the document changed.
    bool Apply(const Edit& edit);

  private:
    enum class Kind : std::uint8_t { Blank, Comment, Header, Entry, Text };
    enum class LineEnd : std::uint8_t { None, Lf, Cr, CrLf };
    struct Line {
        std::uint32_t off = 0, len = 0;         // text in arena_, without the line end
        std::uint32_t nameOff = 0, nameLen = 0; // header name, key name or bare text (from off)
        std::uint32_t valueOff = 0, valueLen = 0;
        LineEnd end = LineEnd::None;
        Kind kind = Kind::Blank;
    };
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    // Arguments arrive in UTF-8; the text is held as code page 1252 bytes for code page
    // files and as UTF-8 for the others.
    std::string ToWorking(std::string_view utf8) const;
    std::string ToUtf8(std::string_view working) const;

    std::string_view Text(const Line& l) const { return {arena_.data() + l.off, l.len}; }
    std::string_view Name(const Line& l) const { return {arena_.data() + l.off + l.nameOff, l.nameLen}; }
    std::string_view Value(const Line& l) const { return {arena_.data() + l.off + l.valueOff, l.valueLen}; }
    bool SameName(std::string_view inFile, std::string_view wanted) const;

    void Classify(Line& line) const;
    Line MakeLine(std::string_view text, LineEnd end);
    void ParseLines(std::size_t from);

    std::size_t FindSection(std::string_view name) const;
    std::size_t SectionEnd(std::size_t header) const;
    std::size_t FindKey(std::size_t header, std::string_view key) const;
    std::size_t InsertionPoint(std::size_t header) const;
    std::string Render(std::size_t from, std::size_t to) const;

    void InsertText(std::size_t at, std::string_view text);
    void ReplaceLine(std::size_t at, std::string_view text);
    void AppendSection(std::string_view name, const std::vector<std::string>& lines);
    void Changed();
    void CompactIfNeeded();

    bool SetKey(const Edit& e);
    bool DeleteKey(const Edit& e);
    bool DeleteSection(const Edit& e);
    bool ReplaceSection(const Edit& e);

    Encoding encoding_ = Encoding::Cp1252;
    LineEnd newLineEnd_ = LineEnd::CrLf; // for lines the engine adds: the file's first line end
    std::string arena_;                  // text of every line; edited lines are appended
    std::vector<Line> lines_;
    static constexpr std::size_t kCompactSlack = 1 << 20;
    std::size_t compactAt_ = kCompactSlack;
    std::string oddByte_; // a UTF-16 file of an odd length keeps its last byte here
    mutable std::vector<std::uint32_t> headers_;
    mutable bool headersValid_ = false;
};

// Splits text at CR, LF and CR LF as lines of a file are split (a final line end adds no line).
std::vector<std::string_view> SplitLines(std::string_view text);

} // namespace kirva::ini
