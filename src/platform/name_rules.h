// Rules on file names that both backends follow; the system calls stay in the backends.
// Standard C++ only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kirva::platform {

// The parts of a relative name ("Lng/FR.lng"), split at any of `separators`, without the empty
// and "." parts.
inline std::vector<std::string> NameParts(std::string_view name, std::string_view separators) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= name.size()) {
        std::size_t end = name.find_first_of(separators, start);
        if (end == std::string_view::npos) end = name.size();
        const std::string_view part = name.substr(start, end - start);
        if (!part.empty() && part != ".") parts.emplace_back(part);
        start = end + 1;
    }
    return parts;
}

// The temporary file of a replacement, beside the file: ".<name>.<process id>-<counter>.tmp", so
// that one left by a killed writer is recognised and removed later.
template <class Char>
std::basic_string<Char> TemporaryName(std::basic_string_view<Char> name, unsigned long process,
                                      unsigned long counter) {
    const auto number = [](unsigned long value) {
        std::basic_string<Char> digits;
        do digits.insert(digits.begin(), static_cast<Char>('0' + value % 10));
        while ((value /= 10) != 0);
        return digits;
    };
    std::basic_string<Char> temporary(1, static_cast<Char>('.'));
    temporary.append(name);
    temporary += static_cast<Char>('.');
    temporary += number(process);
    temporary += static_cast<Char>('-');
    temporary += number(counter);
    for (const char c : std::string_view(".tmp")) temporary += static_cast<Char>(c);
    return temporary;
}

// Whether entry is a temporary file of the file called name (see TemporaryName). sameName
// compares two names as the system's file names compare (with or without regard to case).
template <class Char, class SameName>
bool IsTemporaryOf(std::basic_string_view<Char> entry, std::basic_string_view<Char> name, SameName sameName) {
    const std::size_t suffix = 4; // ".tmp"
    if (entry.size() <= name.size() + 2 + suffix || entry[0] != Char('.') ||
        entry[1 + name.size()] != Char('.'))
        return false;
    const Char tmp[] = {Char('.'), Char('t'), Char('m'), Char('p')};
    if (!sameName(entry.substr(1, name.size()), name) ||
        !sameName(entry.substr(entry.size() - suffix), std::basic_string_view<Char>(tmp, suffix)))
        return false;
    const std::basic_string_view<Char> tag =
        entry.substr(name.size() + 2, entry.size() - name.size() - 2 - suffix);
    const std::size_t dash = tag.find(Char('-'));
    const auto digits = [](std::basic_string_view<Char> text) {
        if (text.empty()) return false;
        for (const Char c : text)
            if (c < Char('0') || c > Char('9')) return false;
        return true;
    };
    return dash != std::basic_string_view<Char>::npos && digits(tag.substr(0, dash)) &&
           digits(tag.substr(dash + 1));
}

} // namespace kirva::platform
