// The one rule both backends follow when a registry string value is read as a number: decimal,
// or "0x" and hexadecimal digits, blanks (space, tab) around it allowed, at most 4294967295.
// Standard C++ only: the backends hold the system calls, this holds the rule.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kirva::platform {

inline std::optional<std::uint32_t> RegistryNumberFromText(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return std::nullopt;
    text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
    unsigned base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    std::uint64_t number = 0;
    for (const char ch : text) {
        unsigned digit = 16;
        if (ch >= '0' && ch <= '9') digit = static_cast<unsigned>(ch - '0');
        if (ch >= 'a' && ch <= 'f') digit = static_cast<unsigned>(ch - 'a' + 10);
        if (ch >= 'A' && ch <= 'F') digit = static_cast<unsigned>(ch - 'A' + 10);
        if (digit >= base) return std::nullopt;
        number = number * base + digit;
        if (number > 0xFFFFFFFFull) return std::nullopt;
    }
    return static_cast<std::uint32_t>(number);
}

} // namespace kirva::platform
