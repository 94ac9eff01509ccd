#include "machine/Vocabularies.h"

#include <array>

#include <utility>

namespace kirva {

namespace {

constexpr std::string_view kParityLetters = "EONM";

std::string_view TrimBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

} // namespace

std::string ParityToLetter(std::string_view shown) {
    for (std::size_t i = 0; i < vocab::Parities.size(); ++i) {
        if (shown == vocab::Parities[i]) return std::string(1, kParityLetters[i]);
    }
    return {};
}

std::string LetterToParity(std::string_view letter) {
    if (letter.size() != 1) return {};
    const auto position = kParityLetters.find(letter.front());
    if (position == std::string_view::npos) return {};
    return vocab::Parities[position];
}

int FlowControlIndex(std::string_view shown) {
    const std::string_view trimmed = TrimBlanks(shown);
    for (std::size_t i = 0; i < vocab::FlowControls.size(); ++i) {
        if (trimmed == vocab::FlowControls[i]) return static_cast<int>(i);
    }
    return -1;
}

std::string StartConditionToCode(std::string_view shown, std::string_view character,
                                 std::string_view waitTime) {
    using namespace vocab;
    if (shown == StartConditions[StartNothing]) return "NS";
    if (shown == StartConditions[StartAnyCharacter]) return "QCQ";
    if (shown == StartConditions[StartRtsRise]) return "RTS";
    if (shown == StartConditions[StartRs232]) return "RS232";
    if (shown == StartConditions[StartWait] && !waitTime.empty()) {
        return std::string(character) + "-" + std::string(waitTime);
    }
    if (shown == StartConditions[StartCharacter] || shown == StartConditions[StartWait]) {
        return character.empty() ? std::string("QCQ") : std::string(character);
    }
    return {};
}

StartConditionView CodeToStartCondition(std::string_view code) {
    using namespace vocab;
    StartConditionView view;
    if (code.empty() || code == "NS") {
        view.Index = StartNothing;
    } else if (code == "QCQ") {
        view.Index = StartAnyCharacter;
    } else if (code == "RTS") {
        view.Index = StartRtsRise;
    } else if (code == "RS232") {
        view.Index = StartRs232;
    } else if (const auto dash = code.rfind('-'); code.size() >= 2 && dash != std::string_view::npos) {
        view.Index = StartWait;
        view.Character = std::string(code.substr(0, dash));
        view.WaitTime = std::string(code.substr(dash + 1));
    } else {
        view.Index = StartCharacter;
        view.Character = std::string(code);
    }
    return view;
}

std::string NormalizeServicePort(std::string_view typed) {
    static constexpr std::pair<std::string_view, std::string_view> kServices[] = {
        {"FTP", "21"},    {"SMTP", "25"},   {"POP3", ""},      {"HTTP", "80"},
        {"HTTPS", "443"}, {"GOPHER", "70"}, {"SOCKS", "1080"}, {"TELNET", "23"},
    };
    const std::string_view trimmed = TrimBlanks(typed);
    for (const auto& [name, port] : kServices) {
        if (trimmed == name || (!port.empty() && trimmed == port)) return std::string(port);
    }
    return std::string(trimmed);
}

namespace {

constexpr std::array<const char*, 32> kControlNames{"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                                                    "BS",  "HT",  "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                                                    "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                                                    "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};

// One character of code page 1252 (code 0 to 255), readably, as UTF-8.
std::string Readable(unsigned code) {
    if (code < 32) return "<" + std::string(kControlNames[code]) + ">";
    if (code == 127) return "<DEL>";
    if (code < 128) return std::string(1, static_cast<char>(code));
    if (code < 160) return "<" + std::to_string(code) + ">"; // code page 1252's own signs are not shown raw
    std::string utf8;                                        // Latin-1 range: two bytes
    utf8 += static_cast<char>(0xC0 | (code >> 6));
    utf8 += static_cast<char>(0x80 | (code & 0x3F));
    return utf8;
}

} // namespace

std::string ReadableCharacters(std::string_view text) {
    // Codes: numbers from 0 to 255 separated by commas, nothing else.
    bool codes = !text.empty();
    unsigned code = 0;
    std::size_t digits = 0;
    std::string named;
    for (std::size_t i = 0; i <= text.size() && codes; ++i) {
        if (i < text.size() && text[i] >= '0' && text[i] <= '9') {
            code = code * 10 + static_cast<unsigned>(text[i] - '0');
            codes = ++digits <= 3 && code <= 255;
        } else if (i == text.size() || text[i] == ',') {
            codes = digits > 0;
            named += Readable(code);
            code = 0;
            digits = 0;
        } else {
            codes = false;
        }
    }
    return codes ? named : ReadableText(text);
}

std::string ReadableText(std::string_view text) {
    std::string shown;
    for (const char c : text) {
        const auto u = static_cast<unsigned char>(c);
        shown += u < 32 || u == 127 ? Readable(u) : std::string(1, c);
    }
    return shown;
}

} // namespace kirva
