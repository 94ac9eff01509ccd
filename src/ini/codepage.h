// Text conversions of the INI engine: code page 1252, UTF-8 and UTF-16 LE, and the case
// folding used to compare section and key names. Internal to src/ini.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kirva::ini {

// Code page 1252 byte to Unicode. The five bytes the code page leaves undefined
// (81, 8D, 8F, 90, 9D) map to the control characters of the same number, as Windows maps them,
// so that they come back unchanged.
char32_t Cp1252ToUnicode(unsigned char byte);
// Unicode to a code page 1252 byte; -1 when the code page cannot hold the character.
int UnicodeToCp1252(char32_t codePoint);

struct Utf8Char {
    char32_t codePoint; // for a byte that starts no valid sequence: that byte read as code page 1252
    std::size_t length; // bytes taken (1 for an invalid byte)
    bool valid;
};
// One character of UTF-8 text at offset i (i < text.size()). Encoded surrogates (as written for
// unpaired UTF-16 halves) are accepted so that any UTF-16 text survives a trip through UTF-8.
Utf8Char DecodeUtf8(std::string_view text, std::size_t i);
void AppendUtf8(std::string& out, char32_t codePoint);

std::string Cp1252ToUtf8(std::string_view bytes);
// Characters the code page cannot hold become "?"; bytes of the input that are not valid UTF-8
// are taken as code page 1252 bytes already and copied unchanged.
std::string Utf8ToCp1252(std::string_view text);
// UTF-16 LE code units (an even number of bytes) to UTF-8, and back, exactly.
std::string Utf16LeToUtf8(std::string_view bytes);
std::string Utf8ToUtf16Le(std::string_view text);

// Bytes of UTF-8 text that hold its first `count` characters (all of it when shorter).
std::size_t Utf8PrefixBytes(std::string_view text, std::size_t count);

// Upper case of ASCII letters, Latin-1 letters and the code page 1252 letters š œ ž ÿ: the
// folding under which section and key names compare equal. Other characters are unchanged.
char32_t FoldCase(char32_t codePoint);
// The same folding on code page 1252 bytes.
unsigned char FoldCp1252(unsigned char byte);

} // namespace kirva::ini
