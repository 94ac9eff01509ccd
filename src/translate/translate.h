// Dictionary translation: every text shown passes through TranslateText with the section "KIRVA".
#pragma once

#include <concepts>
#include <string>
#include <vector>

#include "ini/helpers.h"

namespace kirva {

class clsTranslate {
  public:
    void Init(const std::string& path) { pathDico_ = path; }
    const std::string& PathDico() const { return pathDico_; }
    void PathDico(const std::string& path) { pathDico_ = path; }
    // values[0] is unused; values[1..n] replace "x1x" ... "xnx" in that order.
    std::string Trans(const std::string& text, const std::string& section, const std::vector<std::string>& values);
    // Adds text to the dictionary at PathDico (key and value the text, line breaks as "vbCrLf").
    // True only when the entry reached the disk; false when it did not (no dictionary path, a text
    // that cannot be a key, a file that cannot be written). Never shows a message: every message
    // passes through this dictionary.
    bool LearnText(const std::string& text, const std::string& section) const;

  private:
    std::string pathDico_;
};

namespace TK_TRANSLATE {

// The shared instance, created on first use.
clsTranslate& Shared();

namespace detail {
inline std::string ToText(const std::string& v) { return v; }
inline std::string ToText(const char* v) { return v; }
inline std::string ToText(std::floating_point auto v) { return FormatValue(static_cast<double>(v)); }
inline std::string ToText(std::integral auto v) { return FormatValue(static_cast<std::int64_t>(v)); }
} // namespace detail

std::string TranslateTextV(const std::string& text, const std::string& section, const std::vector<std::string>& values);

// TranslateText("Le port COM x1x ...", "KIRVA", 3): values of any kind, in the locale's general format.
template <typename... Values>
std::string TranslateText(const std::string& text, const std::string& section, const Values&... values) {
    std::vector<std::string> v{std::string()};
    (v.push_back(detail::ToText(values)), ...);
    return TranslateTextV(text, section, v);
}

} // namespace TK_TRANSLATE

// The section of this program in the dictionaries.
inline constexpr const char* kDicoSection = "KIRVA";

} // namespace kirva
