#include "translate/translate.h"

#include "ini/clsIniVar.h"

namespace kirva {

namespace {

constexpr const char* kLineBreakWord = "vbCrLf";

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
    if (from.empty()) return;
    std::size_t pos = 0;
    while ((pos = text.find(from, pos)) != std::string::npos) {
        text.replace(pos, from.size(), to);
        pos += to.size();
    }
}

// The dictionary key of a text: line breaks written as "vbCrLf", so that a key never spans lines.
std::string DictionaryKey(const std::string& text) {
    std::string key = text;
    ReplaceAll(key, "\r\n", kLineBreakWord);
    ReplaceAll(key, "\r", kLineBreakWord);
    ReplaceAll(key, "\n", kLineBreakWord);
    return key;
}

// The value written for a text, so that reading the entry back gives the text unchanged: a profile
// read drops blanks at either end and one outer pair of identical quotes, so such a text is quoted.
std::string DictionaryValue(const std::string& text) {
    if (text.empty()) return text;
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    const bool quoted =
        text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
    return blank(text.front()) || blank(text.back()) || quoted ? "\"" + text + "\"" : text;
}

// A text that a profile file can hold as a key and give back under the same key.
bool CanBeLearnt(const std::string& key) {
    if (key.empty() || key.find('=') != std::string::npos) return false;
    const std::size_t first = key.find_first_not_of(" \t");
    return first != std::string::npos && key[first] != '[' && key[first] != ';';
}

} // namespace

std::string clsTranslate::Trans(const std::string& text, const std::string& section,
                                const std::vector<std::string>& values) {
    const std::string key = DictionaryKey(text);
    std::string result;
    if (!pathDico_.empty() && !key.empty()) result = FNReadIniString(pathDico_, section, key, "");
    if (result.empty()) {
        result = text;
        ReplaceAll(result, "\r\n", kLineBreakWord);
        // The French dictionary learns every text it does not hold yet; a dictionary that cannot
        // be written leaves the text as it is, without a word.
        if (pathDico_.find("FR.lng") != std::string::npos) LearnText(text, section);
    }
    ReplaceAll(result, kLineBreakWord, "\r\n");
    for (std::size_t i = 1; i < values.size(); ++i) {
        ReplaceAll(result, "x" + std::to_string(i) + "x", values[i]);
    }
    return result;
}

bool clsTranslate::LearnText(const std::string& text, const std::string& section) const {
    try {
        const std::string key = DictionaryKey(text);
        if (pathDico_.empty() || !CanBeLearnt(key)) return false;
        return WriteIniString(pathDico_, section, key, DictionaryValue(key));
    } catch (...) {
        return false;
    }
}

namespace TK_TRANSLATE {

clsTranslate& Shared() {
    static clsTranslate instance;
    return instance;
}

std::string TranslateTextV(const std::string& text, const std::string& section,
                           const std::vector<std::string>& values) {
    return Shared().Trans(text, section, values);
}

} // namespace TK_TRANSLATE

} // namespace kirva
