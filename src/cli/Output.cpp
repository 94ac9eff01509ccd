#include "cli/Output.h"

#include <cstdio>

namespace kirva::cli {

std::size_t Width(const std::string& text) {
    std::size_t width = 0;
    for (const unsigned char c : text) width += (c & 0xC0) != 0x80 ? 1 : 0;
    return width;
}

void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows, const Style& style) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        if (widths.size() < row.size()) widths.resize(row.size(), 0);
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], Width(row[c]));
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        std::string line;
        for (std::size_t c = 0; c < rows[r].size(); ++c) {
            std::string cell = rows[r][c];
            if (c + 1 < rows[r].size()) cell += std::string(widths[c] - Width(cell) + 2, ' ');
            line += cell;
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        out << (r == 0 ? style.Bold(line) : line) << '\n';
    }
}

std::string Json(const std::string& text) {
    std::string json = "\"";
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"':
            json += "\\\"";
            break;
        case '\\':
            json += "\\\\";
            break;
        case '\n':
            json += "\\n";
            break;
        case '\r':
            json += "\\r";
            break;
        case '\t':
            json += "\\t";
            break;
        default:
            if (c < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                json += escaped;
            } else {
                json += ch;
            }
        }
    }
    return json + "\"";
}

std::string Json(const std::optional<std::string>& text) {
    return text ? Json(*text) : "null";
}

JsonObject& JsonObject::Member(const char* name, const std::string& json) {
    if (!body_.empty()) body_ += ",";
    body_ += Json(std::string(name)) + ":" + json;
    return *this;
}
JsonObject& JsonObject::Text(const char* name, const std::string& value) {
    return Member(name, Json(value));
}
JsonObject& JsonObject::Text(const char* name, const std::optional<std::string>& value) {
    return Member(name, Json(value));
}
JsonObject& JsonObject::Number(const char* name, long long value) {
    return Member(name, std::to_string(value));
}
JsonObject& JsonObject::Bool(const char* name, bool value) {
    return Member(name, value ? "true" : "false");
}
JsonObject& JsonObject::Raw(const char* name, const std::string& json) {
    return Member(name, json);
}

std::string JsonArray(const std::vector<std::string>& elements) {
    std::string json = "[";
    for (std::size_t i = 0; i < elements.size(); ++i) json += (i ? "," : "") + elements[i];
    return json + "]";
}

} // namespace kirva::cli
