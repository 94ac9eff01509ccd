// Parsing, looking up and editing the lines of one INI file.
#include "ini/document.h"

#include <algorithm>
#include <cstring>

#include "ini/codepage.h"

namespace kirva::ini {

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\v';
}

std::string_view LineEndText(int end) {
    static constexpr std::string_view kEnds[] = {"", "\n", "\r", "\r\n"};
    return kEnds[end];
}

// Code page 1252 names: one byte a character, a fold table.
bool SameNameCp1252(std::string_view a, std::string_view b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto x = static_cast<unsigned char>(a[i]);
        const auto y = static_cast<unsigned char>(b[i]);
        if (x != y && FoldCp1252(x) != FoldCp1252(y)) return false;
    }
    return true;
}

// UTF-8 names: character by character; a byte that is not valid UTF-8 only matches itself.
bool SameNameUtf8(std::string_view a, std::string_view b) {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        const auto x = static_cast<unsigned char>(a[i]);
        const auto y = static_cast<unsigned char>(b[j]);
        if (x < 0x80 && y < 0x80) {
            if (x != y && FoldCase(x) != FoldCase(y)) return false;
            ++i, ++j;
            continue;
        }
        const Utf8Char u = DecodeUtf8(a, i);
        const Utf8Char v = DecodeUtf8(b, j);
        const char32_t cu = u.valid ? FoldCase(u.codePoint) : 0x110000 + x;
        const char32_t cv = v.valid ? FoldCase(v.codePoint) : 0x110000 + y;
        if (cu != cv) return false;
        i += u.length, j += v.length;
    }
    return i == a.size() && j == b.size();
}

} // namespace

std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' && text[i] != '\n') continue;
        pieces.push_back(text.substr(start, i - start));
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        start = i + 1;
    }
    if (start < text.size() || pieces.empty()) pieces.push_back(text.substr(start));
    return pieces;
}

Document::Document() = default;

Document Document::Parse(std::string_view bytes) {
    Document d;
    if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") {
        d.encoding_ = Encoding::Utf8;
        d.arena_.assign(bytes.substr(3));
    } else if (bytes.size() >= 2 && bytes.substr(0, 2) == "\xFF\xFE") {
        d.encoding_ = Encoding::Utf16Le;
        const std::string_view units = bytes.substr(2, (bytes.size() - 2) & ~std::size_t{1});
        d.arena_ = Utf16LeToUtf8(units);
        if ((bytes.size() - 2) % 2 != 0) d.oddByte_.assign(bytes.substr(bytes.size() - 1));
    } else {
        d.arena_.assign(bytes);
    }
    d.ParseLines(0);
    // A file that holds only its byte-order mark: the mark stands on a line of its own without a
    // line end, so that a line end follows it before anything written into the file.
    if (d.encoding_ != Encoding::Cp1252 && d.lines_.empty()) d.lines_.push_back(Line{});
    d.compactAt_ = 2 * d.arena_.size() + kCompactSlack;
    for (const Line& l : d.lines_) {
        if (l.end != LineEnd::None) {
            d.newLineEnd_ = l.end;
            break;
        }
    }
    return d;
}

void Document::ParseLines(std::size_t from) {
    const char* const base = arena_.data();
    const std::size_t size = arena_.size();
    lines_.reserve(lines_.size() + (size - from) / 24 + 1);
    std::size_t p = from;
    while (p < size) {
        Line line;
        line.off = static_cast<std::uint32_t>(p);
        std::size_t e = p;
        while (e < size && base[e] != '\n' && base[e] != '\r') ++e;
        line.len = static_cast<std::uint32_t>(e - p);
        if (e == size) {
            line.end = LineEnd::None;
            p = e;
        } else if (base[e] == '\n') {
            line.end = LineEnd::Lf;
            p = e + 1;
        } else if (e + 1 < size && base[e + 1] == '\n') {
            line.end = LineEnd::CrLf;
            p = e + 2;
        } else {
            line.end = LineEnd::Cr;
            p = e + 1;
        }
        Classify(line);
        lines_.push_back(line);
    }
    headersValid_ = false;
}

void Document::Classify(Line& line) const {
    const char* const s = arena_.data() + line.off;
    const std::size_t n = line.len;
    std::size_t b = 0;
    while (b < n && IsBlank(s[b])) ++b;
    std::size_t e = n;
    while (e > b && IsBlank(s[e - 1])) --e;
    line.nameOff = line.nameLen = line.valueOff = line.valueLen = 0;
    // A line of NUL bytes (and blanks) is blank too: a damaged file often holds one.
    if (std::all_of(s + b, s + e, [](char c) { return c == '\0' || IsBlank(c); })) {
        line.kind = Kind::Blank;
        return;
    }
    if (s[b] == ';') {
        line.kind = Kind::Comment;
        return;
    }
    if (s[b] == '[') {
        // The name runs to the first "]" (or the end of the line); the rest of the line is ignored.
        line.kind = Kind::Header;
        std::size_t nb = b + 1;
        const void* close = std::memchr(s + nb, ']', n - nb);
        std::size_t ne = close ? static_cast<std::size_t>(static_cast<const char*>(close) - s) : e;
        while (nb < ne && IsBlank(s[nb])) ++nb;
        while (ne > nb && IsBlank(s[ne - 1])) --ne;
        line.nameOff = static_cast<std::uint32_t>(nb);
        line.nameLen = static_cast<std::uint32_t>(ne - nb);
        return;
    }
    const void* eq = std::memchr(s + b, '=', e - b);
    if (!eq) {
        line.kind = Kind::Text;
        line.nameOff = static_cast<std::uint32_t>(b);
        line.nameLen = static_cast<std::uint32_t>(e - b);
        return;
    }
    line.kind = Kind::Entry;
    const std::size_t q = static_cast<std::size_t>(static_cast<const char*>(eq) - s);
    std::size_t ne = q;
    while (ne > b && IsBlank(s[ne - 1])) --ne;
    std::size_t vb = q + 1;
    while (vb < e && IsBlank(s[vb])) ++vb;
    line.nameOff = static_cast<std::uint32_t>(b);
    line.nameLen = static_cast<std::uint32_t>(ne - b);
    line.valueOff = static_cast<std::uint32_t>(vb);
    line.valueLen = static_cast<std::uint32_t>(e - vb);
}

std::string Document::Serialize() const {
    std::string text;
    std::size_t total = 0;
    for (const Line& l : lines_) total += l.len + 2;
    text.reserve(total);
    for (const Line& l : lines_) {
        text.append(Text(l));
        text.append(LineEndText(static_cast<int>(l.end)));
    }
    switch (encoding_) {
    case Encoding::Cp1252:
        return text;
    case Encoding::Utf8:
        return "\xEF\xBB\xBF" + text;
    case Encoding::Utf16Le:
        return "\xFF\xFE" + Utf8ToUtf16Le(text) + oddByte_;
    }
    return text;
}

std::string Document::ToWorking(std::string_view utf8) const {
    return encoding_ == Encoding::Cp1252 ? Utf8ToCp1252(utf8) : std::string(utf8);
}

std::string Document::ToUtf8(std::string_view working) const {
    return encoding_ == Encoding::Cp1252 ? Cp1252ToUtf8(working) : std::string(working);
}

bool Document::SameName(std::string_view inFile, std::string_view wanted) const {
    // Folding never changes the length of a name, in either encoding.
    if (inFile.size() != wanted.size()) return false;
    return encoding_ == Encoding::Cp1252 ? SameNameCp1252(inFile, wanted) : SameNameUtf8(inFile, wanted);
}

std::size_t Document::FindSection(std::string_view name) const {
    if (!headersValid_) {
        headers_.clear();
        for (std::size_t i = 0; i < lines_.size(); ++i)
            if (lines_[i].kind == Kind::Header) headers_.push_back(static_cast<std::uint32_t>(i));
        headersValid_ = true;
    }
    for (const std::uint32_t h : headers_)
        if (SameName(Name(lines_[h]), name)) return h;
    return npos;
}

std::size_t Document::SectionEnd(std::size_t header) const {
    std::size_t i = header + 1;
    while (i < lines_.size() && lines_[i].kind != Kind::Header) ++i;
    return i;
}

std::size_t Document::FindKey(std::size_t header, std::string_view key) const {
    for (std::size_t i = header + 1; i < lines_.size(); ++i) {
        const Line& l = lines_[i];
        if (l.kind == Kind::Header) break;
        if (l.kind == Kind::Entry && SameName(Name(l), key)) return i;
    }
    return npos;
}

std::size_t Document::InsertionPoint(std::size_t header) const {
    std::size_t at = header + 1;
    for (std::size_t i = header + 1; i < lines_.size() && lines_[i].kind != Kind::Header; ++i)
        if (lines_[i].kind == Kind::Entry || lines_[i].kind == Kind::Text) at = i + 1;
    return at;
}

std::string Document::Render(std::size_t from, std::size_t to) const {
    std::string text;
    for (std::size_t i = from; i < to; ++i) {
        text.append(Text(lines_[i]));
        text.append(LineEndText(static_cast<int>(lines_[i].end)));
    }
    return text;
}

bool Document::FindValue(std::string_view section, std::string_view key, std::string& value) const {
    const std::size_t h = FindSection(ToWorking(section));
    if (h == npos) return false;
    const std::size_t k = FindKey(h, ToWorking(key));
    if (k == npos) return false;
    value = ToUtf8(Value(lines_[k]));
    return true;
}

std::vector<FileLine> Document::Lines() const {
    std::vector<FileLine> result;
    std::string section;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const Line& l = lines_[i];
        if (l.kind == Kind::Blank || l.kind == Kind::Comment) continue;
        FileLine line;
        line.Number = i + 1;
        line.Name = ToUtf8(Name(l));
        if (l.kind == Kind::Header) {
            section = line.Name;
            line.kind = FileLine::Header;
        } else {
            line.kind = l.kind == Kind::Entry ? FileLine::Entry : FileLine::Text;
            line.Value = ToUtf8(Value(l));
        }
        line.Section = section;
        result.push_back(std::move(line));
    }
    return result;
}

bool Document::SectionText(std::string_view section, std::string& text) const {
    const std::size_t h = FindSection(ToWorking(section));
    if (h == npos) return false;
    std::string working;
    for (std::size_t i = h + 1; i < lines_.size(); ++i) {
        const Line& l = lines_[i];
        if (l.kind == Kind::Header) break;
        if (l.kind == Kind::Entry) {
            working.append(Name(l));
            working.push_back('=');
            working.append(Value(l));
            working.push_back('\0');
        } else if (l.kind == Kind::Text) {
            working.append(Name(l));
            working.push_back('\0');
        }
    }
    text = ToUtf8(working);
    return true;
}

// ------------------------------------------------------------------ editing

Document::Line Document::MakeLine(std::string_view text, LineEnd end) {
    Line line;
    line.off = static_cast<std::uint32_t>(arena_.size());
    line.len = static_cast<std::uint32_t>(text.size());
    line.end = end;
    arena_.append(text);
    Classify(line);
    return line;
}

void Document::Changed() {
    headersValid_ = false;
}

void Document::InsertText(std::size_t at, std::string_view text) {
    // The line before gets a line end when it was the last line of a file without one.
    if (at > 0 && lines_[at - 1].end == LineEnd::None) lines_[at - 1].end = newLineEnd_;
    std::vector<Line> added;
    for (const std::string_view piece : SplitLines(text)) added.push_back(MakeLine(piece, newLineEnd_));
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), added.begin(), added.end());
    Changed();
}

void Document::ReplaceLine(std::size_t at, std::string_view text) {
    const std::vector<std::string_view> pieces = SplitLines(text);
    // A replaced last line that had no line end gets one, as everything after it will need it.
    const LineEnd own = lines_[at].end == LineEnd::None ? newLineEnd_ : lines_[at].end;
    const bool wasHeader = lines_[at].kind == Kind::Header;
    lines_[at] = MakeLine(pieces[0], pieces.size() > 1 ? newLineEnd_ : own);
    std::vector<Line> added;
    for (std::size_t i = 1; i < pieces.size(); ++i)
        added.push_back(MakeLine(pieces[i], i + 1 < pieces.size() ? newLineEnd_ : own));
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at + 1), added.begin(), added.end());
    // One key line replaced by another moves no header: the index of headers stays valid, so a
    // save of many keys costs no walk of the whole file per key.
    if (!added.empty() || wasHeader || lines_[at].kind == Kind::Header) Changed();
}

void Document::AppendSection(std::string_view name, const std::vector<std::string>& lines) {
    std::string text = "[" + std::string(name) + "]";
    for (const std::string& l : lines) text += "\n" + l;
    InsertText(lines_.size(), text);
}

bool Document::Apply(const Edit& edit) {
    CompactIfNeeded();
    switch (edit.kind) {
    case Edit::SetKey:
        return SetKey(edit);
    case Edit::DeleteKey:
        return DeleteKey(edit);
    case Edit::DeleteSection:
        return DeleteSection(edit);
    case Edit::ReplaceSection:
        return ReplaceSection(edit);
    }
    return false;
}

bool Document::SetKey(const Edit& e) {
    const std::string section = ToWorking(e.section);
    const std::string key = ToWorking(e.key);
    const std::string value = ToWorking(e.value);
    const std::size_t h = FindSection(section);
    if (h == npos) {
        AppendSection(section, {key + "=" + value});
        return true;
    }
    const std::size_t k = FindKey(h, key);
    if (k != npos) {
        // A key that already holds the value keeps its line byte for byte, blanks around "="
        // included; otherwise it keeps its line's place and its spelling.
        if (Value(lines_[k]) == value) return false;
        std::string text(Name(lines_[k]));
        text += '=';
        text += value;
        if (text == Text(lines_[k])) return false;
        ReplaceLine(k, text);
        return true;
    }
    InsertText(InsertionPoint(h), key + "=" + value);
    return true;
}

bool Document::DeleteKey(const Edit& e) {
    const std::size_t h = FindSection(ToWorking(e.section));
    if (h == npos) return false;
    const std::size_t k = FindKey(h, ToWorking(e.key));
    if (k == npos) return false;
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(k));
    Changed();
    return true;
}

bool Document::DeleteSection(const Edit& e) {
    const std::size_t h = FindSection(ToWorking(e.section));
    if (h == npos) return false;
    const std::size_t end = SectionEnd(h);
    // The header and its entries go; comments and blank lines stay where they are.
    const auto first = lines_.begin() + static_cast<std::ptrdiff_t>(h);
    const auto last = lines_.begin() + static_cast<std::ptrdiff_t>(end);
    const auto kept = std::remove_if(first, last, [](const Line& l) {
        return l.kind == Kind::Header || l.kind == Kind::Entry || l.kind == Kind::Text;
    });
    lines_.erase(kept, last);
    Changed();
    return true;
}

bool Document::ReplaceSection(const Edit& e) {
    const std::string section = ToWorking(e.section);
    // Entries end at the first empty one (a double NUL ends the list).
    std::vector<std::string> entries;
    std::string_view rest = e.value;
    while (!rest.empty()) {
        const std::size_t nul = rest.find('\0');
        const std::string_view entry = rest.substr(0, nul);
        if (entry.empty()) break;
        entries.push_back(ToWorking(entry));
        if (nul == std::string_view::npos) break;
        rest.remove_prefix(nul + 1);
    }
    const std::size_t h = FindSection(section);
    if (h == npos) {
        AppendSection(section, entries);
        return true;
    }
    const std::size_t end = SectionEnd(h);
    const std::string before = Render(h, end);
    std::size_t at = npos;
    std::size_t out = h + 1;
    for (std::size_t i = h + 1; i < end; ++i) {
        const Kind k = lines_[i].kind;
        if (k == Kind::Entry || k == Kind::Text) {
            if (at == npos) at = out;
            continue;
        }
        lines_[out++] = lines_[i];
    }
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(out),
                 lines_.begin() + static_cast<std::ptrdiff_t>(end));
    if (at == npos) at = h + 1;
    std::string text;
    for (std::size_t i = 0; i < entries.size(); ++i) text += (i ? "\n" : "") + entries[i];
    if (!entries.empty()) InsertText(at, text);
    Changed();
    return Render(h, SectionEnd(h)) != before;
}

void Document::CompactIfNeeded() {
    // Edited lines are appended to the arena; drop the text no line uses any more.
    if (arena_.size() <= compactAt_) return;
    std::string packed;
    std::size_t live = 0;
    for (const Line& l : lines_) live += l.len;
    packed.reserve(live);
    for (Line& l : lines_) {
        const std::size_t off = packed.size();
        packed.append(Text(l));
        l.off = static_cast<std::uint32_t>(off);
    }
    arena_.swap(packed);
    compactAt_ = 2 * arena_.size() + kCompactSlack;
}

} // namespace kirva::ini
