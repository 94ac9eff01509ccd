// Text, path and section helpers.
#include "ini/helpers.h"

#include <cstdio>

#include "ini/codepage.h"
#include "ini/profile.h"
#include "platform/platform.h"

namespace kirva {

namespace {

constexpr char kSeparator = platform::kPathSeparator;
// The pair of sizes of every whole-section read of the program (see clsIniVar).
constexpr std::size_t kSectionSizePassed = 32766;
constexpr std::size_t kSectionBufferHeld = 32755;

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

std::size_t CharCount(std::string_view text) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < text.size(); ++n) i += ini::DecodeUtf8(text, i).length;
    return n;
}

bool StartsFrenchElision(char c) {
    return c == 'd' || c == 'D' || c == 'l' || c == 'L' || c == 'n' || c == 'N';
}

// A line without its comment: a "'" in the first position comments the whole line; "d'", "l'",
// "n'" (any case) are French apostrophes; any other "'" ends the line.
std::string StripComment(const std::string& line) {
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] != '\'') continue;
        if (i == 0) return {};
        if (StartsFrenchElision(line[i - 1])) continue;
        return Trim(line.substr(0, i));
    }
    return Trim(line);
}

std::string RemoveDoubledQuotes(std::string text) {
    std::size_t at = 0;
    while ((at = text.find("''", at)) != std::string::npos) text.erase(at, 2);
    return text;
}

} // namespace

std::string Trim(const std::string& text) {
    std::size_t b = 0, e = text.size();
    while (b < e && IsBlank(text[b])) ++b;
    while (e > b && IsBlank(text[e - 1])) --e;
    return text.substr(b, e - b);
}

std::string TrimRight(const std::string& text) {
    std::size_t e = text.size();
    while (e > 0 && IsBlank(text[e - 1])) --e;
    return text.substr(0, e);
}

std::string ToUpper(const std::string& text) {
    // Every mapping below keeps the length of the UTF-8 text, so positions carry over.
    std::string upper;
    upper.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            upper.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : text[i]);
            ++i;
            continue;
        }
        const ini::Utf8Char u = ini::DecodeUtf8(text, i);
        if (u.valid && u.length == 2)
            ini::AppendUtf8(upper, ini::FoldCase(u.codePoint));
        else
            upper.append(text, i, u.length);
        i += u.length;
    }
    return upper;
}

std::string AddTrailingBackslash(const std::string& path) {
    const std::string trimmed = Trim(path);
    if (!trimmed.empty() && trimmed.back() == kSeparator) return path;
    return TrimRight(path) + kSeparator;
}

std::string RemoveTrailingBackslash(const std::string& path) {
    if (!path.empty() && path.back() == kSeparator) return path.substr(0, path.size() - 1);
    return path;
}

std::string GetTagValue(const std::string& line, const std::string& tag) {
    if (line.empty()) return {};
    const std::size_t at = ToUpper(line).find(ToUpper(tag));
    if (at == std::string::npos) return {};
    const std::size_t start = at + tag.size();
    std::size_t bar = line.find('|', at);
    // Lines of this program close every value with "|"; without one the value runs to the end.
    if (bar == std::string::npos) bar = line.size();
    if (bar < start) return {};
    return line.substr(start, bar - start);
}

std::string PadText(const std::string& text, std::int16_t width, std::int16_t alignment,
                    const std::string& padChar) {
    const std::string pad =
        padChar.empty() ? std::string(" ") : padChar.substr(0, ini::DecodeUtf8(padChar, 0).length);
    const std::size_t length = CharCount(text);
    if (width <= 0 || length >= static_cast<std::size_t>(width)) return text;
    const std::size_t n = static_cast<std::size_t>(width) - length;
    std::size_t before = 0;
    if (alignment == 1)
        before = n;
    else if (alignment != 3)
        before = n / 2;
    std::string padded;
    for (std::size_t i = 0; i < before; ++i) padded += pad;
    padded += text;
    for (std::size_t i = before; i < n; ++i) padded += pad;
    return padded;
}

std::string FormatValue(double value) {
    if (value == 0) value = 0; // no "-0"
    char buffer[64];
    // General format with the decimal separator of the C library's LC_NUMERIC.
    std::snprintf(buffer, sizeof buffer, "%.15G", value);
    return buffer;
}

std::string FormatValue(std::int64_t value) {
    return std::to_string(value);
}

std::int16_t ReadSectionLines(const std::string& path, const std::string& section,
                              std::vector<std::string>& lines) {
    lines.clear();
    std::string text = ini::GetProfileSection(path, section, kSectionSizePassed);
    text.resize(ini::Utf8PrefixBytes(text, kSectionBufferHeld));
    if (text.empty()) return 0;
    lines.emplace_back();
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t nul = text.find('\0', start);
        if (nul == std::string::npos) nul = text.size();
        const std::string kept = StripComment(text.substr(start, nul - start));
        if (!kept.empty()) lines.push_back(RemoveDoubledQuotes(kept));
        start = nul + 1;
    }
    // A section of comments only keeps nothing: the array stays empty, as for a missing section.
    if (lines.size() == 1) lines.clear();
    return static_cast<std::int16_t>(lines.empty() ? 0 : lines.size() - 1);
}

void WriteSectionLines(const std::string& path, const std::string& section,
                       const std::vector<std::string>& lines) {
    std::string content;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i) content += "\r\n";
        content += lines[i];
    }
    ini::WriteProfileSection(path, section, content);
}

std::optional<std::string> ExistingFile(const std::string& path) {
    platform::FileStamp stamp;
    if (platform::StatFile(path, stamp) == platform::FileResult::Ok) return path;
    const std::size_t slash = path.find_last_of(platform::kPathSeparator);
    if (slash == std::string::npos) return platform::FindFileNoCase(".", path);
    return platform::FindFileNoCase(path.substr(0, slash), path.substr(slash + 1));
}

std::filesystem::path PathFromUtf8(const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string Utf8FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

} // namespace kirva
