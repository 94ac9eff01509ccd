// What the command line prints: plain text for people (colours only on a terminal), JSON for
// programs, a table whose columns line up whatever the accents.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kirva::cli {

// Terminal colours, empty when colours are off.
struct Style {
    bool On = false;
    std::string Paint(const std::string& text, const char* code) const {
        return On ? "\x1b[" + std::string(code) + "m" + text + "\x1b[0m" : text;
    }
    std::string Bold(const std::string& t) const { return Paint(t, "1"); }
    std::string Red(const std::string& t) const { return Paint(t, "31"); }
    std::string Green(const std::string& t) const { return Paint(t, "32"); }
    std::string Yellow(const std::string& t) const { return Paint(t, "33"); }
    std::string Dim(const std::string& t) const { return Paint(t, "2"); }
};

// Characters of UTF-8 text as a terminal counts them (one per code point).
std::size_t Width(const std::string& text);
// Prints rows as columns separated by two blanks; the first row is the header (bold).
void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows, const Style& style);

// A JSON string literal.
std::string Json(const std::string& text);
std::string Json(const std::optional<std::string>& text);

// Builds one JSON object, member by member, in the order given.
class JsonObject {
  public:
    JsonObject& Text(const char* name, const std::string& value);
    JsonObject& Text(const char* name, const std::optional<std::string>& value);
    JsonObject& Number(const char* name, long long value);
    JsonObject& Bool(const char* name, bool value);
    JsonObject& Raw(const char* name, const std::string& json); // an array or object already made
    std::string str() const { return "{" + body_ + "}"; }

  private:
    JsonObject& Member(const char* name, const std::string& json);
    std::string body_;
};
std::string JsonArray(const std::vector<std::string>& elements);

} // namespace kirva::cli
