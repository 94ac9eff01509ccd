#include "editor/RtfReader.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <set>

#include "ini/codepage.h"

namespace kirva {

namespace {

std::string Utf8(char32_t cp) {
    std::string out;
    ini::AppendUtf8(out, cp);
    return out;
}

// Destinations whose content is never shown.
const std::set<std::string, std::less<>>& SkippedDestinations() {
    static const std::set<std::string, std::less<>> names = {"fonttbl",
                                                             "colortbl",
                                                             "stylesheet",
                                                             "info",
                                                             "pict",
                                                             "object",
                                                             "header",
                                                             "headerl",
                                                             "headerr",
                                                             "headerf",
                                                             "footer",
                                                             "footerl",
                                                             "footerr",
                                                             "footerf",
                                                             "footnote",
                                                             "listtable",
                                                             "listoverridetable",
                                                             "rsidtbl",
                                                             "generator",
                                                             "themedata",
                                                             "colorschememapping",
                                                             "datastore",
                                                             "latentstyles",
                                                             "filetbl",
                                                             "revtbl",
                                                             "xmlnstbl",
                                                             "author",
                                                             "operator",
                                                             "title",
                                                             "subject",
                                                             "keywords",
                                                             "comment",
                                                             "company",
                                                             "doccomm",
                                                             "pgdsctbl",
                                                             "fldinst",
                                                             "bkmkstart",
                                                             "bkmkend",
                                                             "nonshppict",
                                                             "shppict",
                                                             "pn",
                                                             "pntext",
                                                             "mmathPr",
                                                             "wgrffmtfilter",
                                                             "passwordhash",
                                                             "defchp",
                                                             "defpap"};
    return names;
}

struct GroupState {
    bool Bold = false, Italic = false, Underline = false;
    bool Skip = false;
    int UnicodeSkip = 1; // characters that follow \uN as its fallback
};

class Reader {
  public:
    explicit Reader(std::string_view in) : in_(in) { paragraphs_.emplace_back(); }

    std::vector<RtfParagraph> Run() {
        while (pos_ < in_.size()) {
            const char c = in_[pos_];
            if (c == '{') {
                ++pos_;
                Push();
            } else if (c == '}') {
                ++pos_;
                Pop();
            } else if (c == '\\') {
                ++pos_;
                ControlSymbolOrWord();
            } else if (c == '\r' || c == '\n') {
                ++pos_;
            } else {
                ++pos_;
                Text(Cp1252ToUtf8(static_cast<unsigned char>(c)));
            }
        }
        if (paragraphs_.size() > 1 && paragraphs_.back().Runs.empty()) paragraphs_.pop_back();
        return std::move(paragraphs_);
    }

  private:
    static constexpr std::size_t kMaxDepth = 512;

    GroupState& State() { return stack_.back(); }

    void Push() {
        pendingSkip_ = 0;
        if (stack_.size() >= kMaxDepth) {
            ++overflow_;
            return;
        }
        stack_.push_back(stack_.back());
        groupStart_ = true;
    }
    void Pop() {
        groupStart_ = false;
        pendingSkip_ = 0;
        if (overflow_ > 0)
            --overflow_;
        else if (stack_.size() > 1)
            stack_.pop_back();
    }

    void Text(const std::string& utf8) {
        groupStart_ = false;
        if (pendingSkip_ > 0) {
            --pendingSkip_;
            return;
        }
        const GroupState& s = State();
        if (s.Skip) return;
        std::vector<RtfRun>& runs = paragraphs_.back().Runs;
        if (runs.empty() || runs.back().Bold != s.Bold || runs.back().Italic != s.Italic ||
            runs.back().Underline != s.Underline)
            runs.push_back({"", s.Bold, s.Italic, s.Underline});
        runs.back().Text += utf8;
    }

    void Paragraph() {
        pendingSkip_ = 0;
        if (!State().Skip) paragraphs_.emplace_back();
    }

    static int HexDigit(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    }

    void ControlSymbolOrWord() {
        if (pos_ >= in_.size()) return;
        const char c = in_[pos_];
        const bool wasGroupStart = groupStart_;
        groupStart_ = false;
        if (std::isalpha(static_cast<unsigned char>(c))) {
            ControlWord(wasGroupStart);
            return;
        }
        ++pos_;
        switch (c) {
        case '\\':
        case '{':
        case '}':
            Text(std::string(1, c));
            break;
        case '\'': {
            const int hi = pos_ < in_.size() ? HexDigit(in_[pos_]) : -1;
            const int lo = pos_ + 1 < in_.size() ? HexDigit(in_[pos_ + 1]) : -1;
            if (hi >= 0 && lo >= 0) {
                pos_ += 2;
                Text(Cp1252ToUtf8(static_cast<unsigned char>(hi * 16 + lo)));
            }
            break;
        }
        case '*':
            if (wasGroupStart) State().Skip = true;
            break;
        case '~':
            Text(Utf8(0x00A0));
            break;
        case '_':
            Text(Utf8(0x2011));
            break;
        case '\r':
        case '\n':
            Paragraph();
            break;
        default: // "\-" optional hyphen, "\|", "\:" and unknown symbols show nothing
            break;
        }
    }

    void ControlWord(bool atGroupStart) {
        std::string word;
        while (pos_ < in_.size() && std::isalpha(static_cast<unsigned char>(in_[pos_])) && word.size() < 32)
            word += in_[pos_++];
        bool hasParam = false;
        bool negative = false;
        long long param = 0;
        if (pos_ < in_.size() && in_[pos_] == '-') {
            negative = true;
            ++pos_;
        }
        while (pos_ < in_.size() && std::isdigit(static_cast<unsigned char>(in_[pos_]))) {
            if (param < 100000000) param = param * 10 + (in_[pos_] - '0');
            hasParam = true;
            ++pos_;
        }
        if (negative) param = -param;
        if (pos_ < in_.size() && in_[pos_] == ' ') ++pos_; // the delimiter belongs to the word

        GroupState& s = State();
        if (atGroupStart && SkippedDestinations().count(word) > 0) {
            s.Skip = true;
            return;
        }
        const bool on = !hasParam || param != 0;
        if (word == "par" || word == "sect" || word == "page")
            Paragraph();
        else if (word == "line")
            Text("\n");
        else if (word == "tab")
            Text("\t");
        else if (word == "b")
            s.Bold = on;
        else if (word == "i")
            s.Italic = on;
        else if (word == "ul")
            s.Underline = on;
        else if (word == "ulnone")
            s.Underline = false;
        else if (word == "plain")
            s.Bold = s.Italic = s.Underline = false;
        else if (word == "uc")
            s.UnicodeSkip = hasParam && param >= 0 && param < 16 ? static_cast<int>(param) : 1;
        else if (word == "u" && hasParam) {
            const char32_t cp = static_cast<char32_t>(param < 0 ? param + 65536 : param);
            Text(Utf8(cp));
            pendingSkip_ = s.UnicodeSkip;
        } else if (word == "emdash")
            Text(Utf8(0x2014));
        else if (word == "endash")
            Text(Utf8(0x2013));
        else if (word == "bullet")
            Text(Utf8(0x2022));
        else if (word == "lquote")
            Text(Utf8(0x2018));
        else if (word == "rquote")
            Text(Utf8(0x2019));
        else if (word == "ldblquote")
            Text(Utf8(0x201C));
        else if (word == "rdblquote")
            Text(Utf8(0x201D));
        else if (word == "bin" && hasParam && param > 0)
            pos_ += std::min<std::size_t>(static_cast<std::size_t>(param), in_.size() - pos_);
    }

    std::string_view in_;
    std::size_t pos_ = 0;
    std::vector<GroupState> stack_{GroupState{}};
    std::size_t overflow_ = 0;
    bool groupStart_ = false;
    int pendingSkip_ = 0;
    std::vector<RtfParagraph> paragraphs_;
};

void AppendEscaped(std::string& html, const std::string& text) {
    for (char c : text) {
        switch (c) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        case '\n':
            html += "<br/>";
            break;
        default:
            html += c;
        }
    }
}

bool IsValidUtf8(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        const ini::Utf8Char c = ini::DecodeUtf8(s, i);
        if (!c.valid) return false;
        i += c.length;
    }
    return true;
}

} // namespace

std::string Cp1252ToUtf8(unsigned char byte) {
    return Utf8(ini::Cp1252ToUnicode(byte));
}

std::string RtfParagraph::FNText() const {
    std::string text;
    for (const RtfRun& run : Runs) text += run.Text;
    return text;
}

std::vector<RtfParagraph> ReadRtf(std::string_view bytes) {
    return Reader(bytes).Run();
}

std::string RtfToHtml(std::string_view bytes) {
    std::string html = "<html><body>";
    for (const RtfParagraph& paragraph : ReadRtf(bytes)) {
        html += "<p style=\"margin:0; white-space:pre-wrap\">";
        if (paragraph.Runs.empty()) html += "<br/>";
        for (const RtfRun& run : paragraph.Runs) {
            if (run.Bold) html += "<b>";
            if (run.Italic) html += "<i>";
            if (run.Underline) html += "<u>";
            AppendEscaped(html, run.Text);
            if (run.Underline) html += "</u>";
            if (run.Italic) html += "</i>";
            if (run.Bold) html += "</b>";
        }
        html += "</p>";
    }
    html += "</body></html>";
    return html;
}

bool LooksLikeRtf(std::string_view bytes) {
    const std::size_t start = bytes.find_first_not_of(" \t\r\n");
    return start != std::string_view::npos && bytes.substr(start, 5) == "{\\rtf";
}

std::string PlainFileToUtf8(std::string_view bytes) {
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") return std::string(bytes.substr(3));
    if (IsValidUtf8(bytes)) return std::string(bytes);
    return ini::Cp1252ToUtf8(bytes);
}

} // namespace kirva
