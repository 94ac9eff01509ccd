// clsIniVar and the two file routines beneath it.
#include "ini/clsIniVar.h"

#include <charconv>
#include <cmath>

#include "ini/codepage.h"
#include "ini/helpers.h"
#include "ini/profile.h"

namespace kirva {

namespace {

constexpr std::size_t kValueBuffer = 1024;
// The section buffer holds 32,755 characters while 32,766 is passed as its size: a section read
// is cut by the engine at 32,764 characters and then to what the buffer holds.
constexpr std::size_t kSectionSizePassed = 32766;
constexpr std::size_t kSectionBufferHeld = 32755;

void Fallback(std::string& argument, const std::string& property) {
    if (argument.empty()) argument = property;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

std::string FNReadIniString(const std::string& path, const std::string& section, const std::string& key,
                            const std::string& defaultValue) {
    return ini::GetProfileString(path, section, key, defaultValue, kValueBuffer);
}

bool WriteIniString(const std::string& path, const std::string& section, const std::string& key,
                    const std::string& value) {
    return ini::WriteProfileString(path, section, key, value);
}

double ParseLeadingNumber(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    const std::size_t start = i;
    std::size_t intDigits = 0, fracDigits = 0;
    while (i < text.size() && IsDigit(text[i])) ++i, ++intDigits;
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && IsDigit(text[i])) ++i, ++fracDigits;
    }
    if (intDigits + fracDigits == 0) return 0;
    std::size_t end = i;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
        const std::size_t expStart = j;
        while (j < text.size() && IsDigit(text[j])) ++j;
        if (j > expStart) end = j; // an "E" without digits is not part of the number
    }
    double value = 0;
    const auto [ptr, ec] = std::from_chars(text.data() + start, text.data() + end, value);
    if (ec == std::errc::result_out_of_range) {
        // Too large or too small for a double: infinity or 0, as the C library gives them.
        const std::size_t e = text.find_first_of("eE", start);
        const bool tiny = e < end && text.find('-', e) < end;
        value = tiny ? 0.0 : HUGE_VAL;
    } else if (ec != std::errc() || ptr == text.data() + start) {
        return 0;
    }
    return negative ? -value : value;
}

double RoundHalfEven(double value) {
    if (!std::isfinite(value)) return value;
    if (std::fabs(value - std::trunc(value)) == 0.5) return 2.0 * std::round(value / 2.0);
    return std::round(value);
}

std::optional<std::int32_t> ParseInt32(const std::string& text) {
    const double value = RoundHalfEven(ParseLeadingNumber(text));
    if (!(value >= -2147483648.0 && value <= 2147483647.0)) return std::nullopt; // NaN too
    return static_cast<std::int32_t>(value);
}

void clsIniVar::Init(std::string path, std::string section, std::string key, std::string value) {
    path_ = std::move(path);
    section_ = std::move(section);
    key_ = std::move(key);
    value_ = std::move(value);
}

std::string clsIniVar::Read(std::string& key, std::string& section, std::string& path) {
    Fallback(key, key_);
    Fallback(section, section_);
    Fallback(path, path_);
    return Trim(FNReadIniString(path, section, key, ""));
}

std::string clsIniVar::ReadDef(const std::string& defaultValue, std::string& key, std::string& section,
                               std::string& path) {
    std::string text = Read(key, section, path);
    return text.empty() ? defaultValue : text;
}

double clsIniVar::ReadVal(std::string& key, std::string& section, std::string& path) {
    return ParseLeadingNumber(Read(key, section, path));
}

bool clsIniVar::ReadBool(std::string& key, std::string& section, std::string& path) {
    return Read(key, section, path) == "1";
}

bool clsIniVar::ReadBoolDef(bool defaultValue, std::string& key, std::string& section, std::string& path) {
    const std::string text = Read(key, section, path);
    return text.empty() ? defaultValue : text == "1";
}

std::string clsIniVar::ReadSection(std::string& section, std::string& path) {
    Fallback(section, section_);
    Fallback(path, path_);
    const std::string text = ini::GetProfileSection(path, section, kSectionSizePassed);
    return text.substr(0, ini::Utf8PrefixBytes(text, kSectionBufferHeld));
}

std::vector<std::string> clsIniVar::ReadSectionInTab(std::string& section, std::string& path) {
    std::vector<std::string> entries(1);
    const std::string text = ReadSection(section, path);
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t nul = text.find('\0', start);
        if (nul == std::string::npos) nul = text.size();
        const std::string piece = text.substr(start, nul - start);
        if (!piece.empty() && piece[0] != '\'') entries.push_back(piece);
        start = nul + 1;
    }
    return entries;
}

bool clsIniVar::FNKeyExist(std::string& key, std::string& section, std::string& path) {
    Fallback(key, key_);
    Fallback(section, section_);
    Fallback(path, path_);
    const std::string text = ReadSection(section, path);
    if (text.empty()) return false;
    // The Key property is searched, not the argument, and anywhere in the section text.
    return text.find(key_ + "=") != std::string::npos;
}

void clsIniVar::WriteStr(std::string& value, std::string& key, std::string& section, std::string& path) {
    Fallback(value, value_);
    Fallback(key, key_);
    Fallback(section, section_);
    Fallback(path, path_);
    WriteIniString(path, section, key, value);
}

void clsIniVar::WriteVal(double value, std::string& key, std::string& section, std::string& path) {
    std::string text = FormatValue(value);
    WriteStr(text, key, section, path);
}

void clsIniVar::WriteBool(bool value, std::string& key, std::string& section, std::string& path) {
    std::string text = value ? "1" : "0";
    WriteStr(text, key, section, path);
}

// ------------------------------------------------------------------ temporaries and literals

std::string clsIniVar::Read(std::string&& key, std::string&& section, std::string&& path) {
    return Read(key, section, path);
}
std::string clsIniVar::ReadDef(const std::string& defaultValue, std::string&& key, std::string&& section,
                               std::string&& path) {
    return ReadDef(defaultValue, key, section, path);
}
double clsIniVar::ReadVal(std::string&& key, std::string&& section, std::string&& path) {
    return ReadVal(key, section, path);
}
bool clsIniVar::ReadBool(std::string&& key, std::string&& section, std::string&& path) {
    return ReadBool(key, section, path);
}
bool clsIniVar::ReadBoolDef(bool defaultValue, std::string&& key, std::string&& section, std::string&& path) {
    return ReadBoolDef(defaultValue, key, section, path);
}
std::string clsIniVar::ReadSection(std::string&& section, std::string&& path) {
    return ReadSection(section, path);
}
std::vector<std::string> clsIniVar::ReadSectionInTab(std::string&& section, std::string&& path) {
    return ReadSectionInTab(section, path);
}
bool clsIniVar::FNKeyExist(std::string&& key, std::string&& section, std::string&& path) {
    return FNKeyExist(key, section, path);
}
void clsIniVar::WriteStr(std::string&& value, std::string&& key, std::string&& section, std::string&& path) {
    WriteStr(value, key, section, path);
}
void clsIniVar::WriteVal(double value, std::string&& key, std::string&& section, std::string&& path) {
    WriteVal(value, key, section, path);
}
void clsIniVar::WriteBool(bool value, std::string&& key, std::string&& section, std::string&& path) {
    WriteBool(value, key, section, path);
}

} // namespace kirva
