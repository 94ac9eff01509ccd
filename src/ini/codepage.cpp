// Code page 1252, UTF-8 and UTF-16 LE conversions and name folding.
#include "ini/codepage.h"

#include <array>
#include <cstdint>

namespace kirva::ini {

namespace {

// Bytes 80..9F of code page 1252; the undefined ones stand for themselves.
constexpr std::array<char16_t, 32> kHigh = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                            0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                            0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                            0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

struct FoldTable {
    std::array<unsigned char, 256> fold{};
    FoldTable() {
        for (int b = 0; b < 256; ++b) {
            const int back = UnicodeToCp1252(FoldCase(Cp1252ToUnicode(static_cast<unsigned char>(b))));
            fold[static_cast<std::size_t>(b)] = static_cast<unsigned char>(back < 0 ? b : back);
        }
    }
};

bool IsContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

} // namespace

char32_t Cp1252ToUnicode(unsigned char byte) {
    if (byte >= 0x80 && byte <= 0x9F) return kHigh[byte - 0x80];
    return byte;
}

int UnicodeToCp1252(char32_t cp) {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<int>(cp);
    for (std::size_t i = 0; i < kHigh.size(); ++i)
        if (kHigh[i] == cp) return static_cast<int>(0x80 + i);
    return -1;
}

Utf8Char DecodeUtf8(std::string_view s, std::size_t i) {
    const auto c = static_cast<unsigned char>(s[i]);
    if (c < 0x80) return {c, 1, true};
    std::size_t len = 0;
    char32_t cp = 0;
    char32_t min = 0;
    if (c >= 0xC2 && c <= 0xDF) {
        len = 2, cp = c & 0x1F, min = 0x80;
    } else if (c >= 0xE0 && c <= 0xEF) {
        len = 3, cp = c & 0x0F, min = 0x800;
    } else if (c >= 0xF0 && c <= 0xF4) {
        len = 4, cp = c & 0x07, min = 0x10000;
    } else {
        return {Cp1252ToUnicode(c), 1, false};
    }
    if (i + len > s.size()) return {Cp1252ToUnicode(c), 1, false};
    for (std::size_t k = 1; k < len; ++k) {
        const auto n = static_cast<unsigned char>(s[i + k]);
        if (!IsContinuation(n)) return {Cp1252ToUnicode(c), 1, false};
        cp = (cp << 6) | (n & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF) return {Cp1252ToUnicode(c), 1, false};
    return {cp, len, true};
}

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

std::string Cp1252ToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    for (const char ch : bytes) {
        const auto b = static_cast<unsigned char>(ch);
        if (b < 0x80)
            out.push_back(ch);
        else
            AppendUtf8(out, Cp1252ToUnicode(b));
    }
    return out;
}

std::string Utf8ToCp1252(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            out.push_back(text[i++]);
            continue;
        }
        const Utf8Char u = DecodeUtf8(text, i);
        if (!u.valid) {
            out.push_back(text[i]);
        } else {
            const int b = UnicodeToCp1252(u.codePoint);
            out.push_back(b < 0 ? '?' : static_cast<char>(b));
        }
        i += u.length;
    }
    return out;
}

std::string Utf16LeToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() / 2 + bytes.size() / 8);
    const std::size_t units = bytes.size() / 2;
    auto unit = [&](std::size_t k) {
        return static_cast<char32_t>(static_cast<unsigned char>(bytes[2 * k]) |
                                     (static_cast<unsigned char>(bytes[2 * k + 1]) << 8));
    };
    for (std::size_t k = 0; k < units; ++k) {
        const char32_t u = unit(k);
        if (u >= 0xD800 && u <= 0xDBFF && k + 1 < units) {
            const char32_t low = unit(k + 1);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00));
                ++k;
                continue;
            }
        }
        AppendUtf8(out, u); // an unpaired half is kept as it is
    }
    return out;
}

std::string Utf8ToUtf16Le(std::string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    auto put = [&](char32_t u) {
        out.push_back(static_cast<char>(u & 0xFF));
        out.push_back(static_cast<char>((u >> 8) & 0xFF));
    };
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Char u = DecodeUtf8(text, i);
        i += u.length;
        if (u.codePoint >= 0x10000) {
            put(0xD800 + ((u.codePoint - 0x10000) >> 10));
            put(0xDC00 + ((u.codePoint - 0x10000) & 0x3FF));
        } else {
            put(u.codePoint);
        }
    }
    return out;
}

std::size_t Utf8PrefixBytes(std::string_view text, std::size_t count) {
    std::size_t i = 0;
    for (std::size_t n = 0; n < count && i < text.size(); ++n) {
        if (static_cast<unsigned char>(text[i]) < 0x80)
            ++i;
        else
            i += DecodeUtf8(text, i).length;
    }
    return i;
}

char32_t FoldCase(char32_t c) {
    if (c >= 'a' && c <= 'z') return c - ('a' - 'A');
    if (c < 0xE0) return c;
    if (c <= 0xFE && c != 0xF7) return c - 0x20;
    switch (c) {
    case 0xFF:
        return 0x178; // ÿ
    case 0x161:
        return 0x160; // š
    case 0x153:
        return 0x152; // œ
    case 0x17E:
        return 0x17D; // ž
    default:
        return c;
    }
}

unsigned char FoldCp1252(unsigned char byte) {
    static const FoldTable table;
    return table.fold[byte];
}

} // namespace kirva::ini
