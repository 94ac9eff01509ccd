// Values and their tags, quoting, and the registry file as lines grouped by key.
#include "platform/posix/registry_text.h"
#include "platform/posix/internal.h"

#include <cstdio>

namespace kirva::platform::posix::registry {

namespace {

const char* RootName(RegRoot root) {
    return root == RegRoot::LocalMachine ? "HKEY_LOCAL_MACHINE" : "HKEY_CURRENT_USER";
}

// "\SOFTWARE\\X\" and "SOFTWARE\X" name the same key.
std::string NormalizeKeyPath(std::string_view path) {
    std::string normalized;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('\\', start);
        if (end == std::string_view::npos) end = path.size();
        if (end > start) {
            if (!normalized.empty()) normalized += '\\';
            normalized += path.substr(start, end - start);
        }
        start = end + 1;
    }
    return normalized;
}

} // namespace

bool HasControlCharacter(std::string_view text) {
    for (char ch : text)
        if (static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F) return true;
    return false;
}

std::string SectionKey(RegRoot root, const std::string& keyPath) {
    const std::string path = NormalizeKeyPath(keyPath);
    return FoldCase(path.empty() ? std::string(RootName(root)) : std::string(RootName(root)) + "\\" + path);
}

namespace {

// ------------------------------------------------------------------ quoting
std::string Quote(std::string_view text) {
    static const char* hex = "0123456789abcdef";
    std::string quoted = "\"";
    for (char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        switch (ch) {
        case '\\':
            quoted += "\\\\";
            break;
        case '"':
            quoted += "\\\"";
            break;
        case '\n':
            quoted += "\\n";
            break;
        case '\r':
            quoted += "\\r";
            break;
        case '\t':
            quoted += "\\t";
            break;
        default:
            if (c < 0x20 || c == 0x7F) {
                quoted += "\\x";
                quoted += hex[c >> 4];
                quoted += hex[c & 15];
            } else {
                quoted += ch;
            }
        }
    }
    return quoted + "\"";
}

int HexDigit(char ch) {
    if (ch >= '0' && ch <= '9') return ch - '0';
    if (ch >= 'a' && ch <= 'f') return ch - 'a' + 10;
    if (ch >= 'A' && ch <= 'F') return ch - 'A' + 10;
    return -1;
}

// Reads a quoted text starting at text[0] == '"'; `used` receives the characters taken.
std::optional<std::string> Unquote(std::string_view text, std::size_t& used) {
    if (text.empty() || text[0] != '"') return std::nullopt;
    std::string plain;
    for (std::size_t i = 1; i < text.size(); ++i) {
        const char ch = text[i];
        if (ch == '"') {
            used = i + 1;
            return plain;
        }
        if (ch != '\\' || i + 1 == text.size()) {
            plain += ch;
            continue;
        }
        const char next = text[++i];
        switch (next) {
        case 'n':
            plain += '\n';
            break;
        case 'r':
            plain += '\r';
            break;
        case 't':
            plain += '\t';
            break;
        case 'x':
            if (i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0) {
                plain += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
                i += 2;
            } else {
                plain += next;
            }
            break;
        default:
            plain += next; // \\ and \" and anything else stand for the character itself
        }
    }
    return std::nullopt; // no closing quote
}

// The whole text must be one quoted string.
std::optional<std::string> UnquoteAll(std::string_view text) {
    std::size_t used = 0;
    auto plain = Unquote(text, used);
    if (!plain || used != text.size()) return std::nullopt;
    return plain;
}

// ------------------------------------------------------------------ values
constexpr std::string_view kDwordTag = "dword:";
constexpr std::string_view kHexTag = "hex:";
constexpr std::string_view kExpandTag = "expand:";
constexpr std::string_view kStringTag = "str:";

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && FoldCase(text.substr(0, prefix.size())) == prefix;
}

} // namespace

std::optional<Value> DecodeData(std::string_view data) {
    Value value;
    if (StartsWithNoCase(data, kDwordTag)) {
        const std::string_view digits = TrimBlanks(data.substr(kDwordTag.size()));
        if (digits.empty() || digits.size() > 8) return std::nullopt;
        for (char ch : digits) {
            if (HexDigit(ch) < 0) return std::nullopt;
            value.dword = value.dword * 16 + static_cast<std::uint32_t>(HexDigit(ch));
        }
        value.kind = Kind::Dword;
        return value;
    }
    if (StartsWithNoCase(data, kHexTag)) {
        value.kind = Kind::Binary;
        std::string_view rest = TrimBlanks(data.substr(kHexTag.size()));
        while (!rest.empty()) {
            const std::size_t comma = rest.find(',');
            const std::string_view byte = TrimBlanks(rest.substr(0, comma));
            if (byte.empty() || byte.size() > 2) return std::nullopt;
            int number = 0;
            for (char ch : byte) {
                if (HexDigit(ch) < 0) return std::nullopt;
                number = number * 16 + HexDigit(ch);
            }
            value.bytes.push_back(static_cast<std::uint8_t>(number));
            if (comma == std::string_view::npos) break;
            rest = rest.substr(comma + 1);
        }
        return value;
    }
    if (StartsWithNoCase(data, kExpandTag) || StartsWithNoCase(data, kStringTag)) {
        const bool expand = StartsWithNoCase(data, kExpandTag);
        auto text = UnquoteAll(TrimBlanks(data.substr(expand ? kExpandTag.size() : kStringTag.size())));
        if (!text) return std::nullopt;
        value.kind = expand ? Kind::Expand : Kind::String;
        value.text = std::move(*text);
        return value;
    }
    value.text = std::string(data);
    return value;
}

namespace {

bool NeedsQuotedString(std::string_view text) {
    if (text.empty()) return false;
    if (HasControlCharacter(text) || TrimBlanks(text).size() != text.size()) return true;
    for (std::string_view tag : {kDwordTag, kHexTag, kExpandTag, kStringTag})
        if (StartsWithNoCase(text, tag)) return true;
    return false;
}

} // namespace

std::string EncodeData(const Value& value) {
    char buffer[16];
    switch (value.kind) {
    case Kind::Dword:
        std::snprintf(buffer, sizeof buffer, "%08x", static_cast<unsigned>(value.dword));
        return std::string(kDwordTag) + buffer;
    case Kind::Binary: {
        std::string data(kHexTag);
        for (std::size_t i = 0; i < value.bytes.size(); ++i) {
            std::snprintf(buffer, sizeof buffer, i == 0 ? "%02x" : ",%02x",
                          static_cast<unsigned>(value.bytes[i]));
            data += buffer;
        }
        return data;
    }
    case Kind::Expand:
        return std::string(kExpandTag) + Quote(value.text);
    case Kind::String:
        break;
    }
    return NeedsQuotedString(value.text) ? std::string(kStringTag) + Quote(value.text) : value.text;
}

// "@" is the key's default (unnamed) value.
std::string EncodeName(const std::string& name) {
    if (name.empty()) return "@";
    const bool plain = name != "@" && name.find_first_of("=\"") == std::string::npos &&
                       !HasControlCharacter(name) && TrimBlanks(name).size() == name.size() &&
                       name[0] != '[' && name[0] != ';' && name[0] != '#';
    return plain ? name : Quote(name);
}

// One line of the file as far as the registry is concerned.
struct ParsedLine {
    enum { Other, Header, Entry } kind = Other;
    std::string key;       // Header: folded, normalized key path with its root
    std::string name;      // Entry: value name as written
    std::string_view data; // Entry: text after "=", trimmed (a view into the line)
};

// One line of the file, without its line end. The byte-order mark at the start of the file is
// removed before its first line gets here: EF BB BF anywhere else belongs to the line.
namespace {

ParsedLine ParseLine(std::string_view line) {
    ParsedLine parsed;
    line = TrimBlanks(line);
    if (line.empty() || line[0] == ';' || line[0] == '#') return parsed;
    if (line[0] == '[') {
        const std::size_t close = line.rfind(']');
        if (close == std::string_view::npos || close == 0) return parsed;
        parsed.kind = ParsedLine::Header;
        parsed.key = FoldCase(NormalizeKeyPath(TrimBlanks(line.substr(1, close - 1))));
        return parsed;
    }
    std::size_t equals = 0;
    if (line[0] == '"') {
        std::size_t used = 0;
        auto name = Unquote(line, used);
        if (!name) return parsed;
        const std::string_view rest = TrimBlanks(line.substr(used));
        if (rest.empty() || rest[0] != '=') return parsed;
        parsed.name = std::move(*name);
        equals = line.size() - rest.size();
    } else {
        equals = line.find('=');
        if (equals == std::string_view::npos) return parsed;
        parsed.name = std::string(TrimBlanks(line.substr(0, equals)));
        if (parsed.name == "@") parsed.name.clear();
    }
    parsed.kind = ParsedLine::Entry;
    parsed.data = TrimBlanks(line.substr(equals + 1));
    return parsed;
}

// ------------------------------------------------------------------ the parsed file
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

} // namespace

void Document::AddLine(std::string line, const ParsedLine& parsed) {
    if (parsed.kind == ParsedLine::Header) {
        keys.emplace(parsed.key, blocks.size());
        blocks.emplace_back();
    }
    blocks.back().lines.push_back(std::move(line));
}

// Lines end at LF; a CR before it belongs to the line end. Only lines that start with "[" can
// be headers; the others are left for the index of their key.
Document Parse(std::string_view content) {
    Document document;
    const ParsedLine other;
    bool first = true;
    std::size_t start = 0;
    while (start < content.size()) {
        std::size_t end = content.find('\n', start);
        if (end == std::string_view::npos) end = content.size();
        std::string_view line = content.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        std::string_view text = line;
        if (first && text.substr(0, kByteOrderMark.size()) == kByteOrderMark)
            text.remove_prefix(kByteOrderMark.size());
        first = false;
        const std::string_view trimmed = TrimBlanks(text);
        document.AddLine(std::string(line), !trimmed.empty() && trimmed[0] == '[' ? ParseLine(text) : other);
        start = end + 1;
    }
    return document;
}

std::size_t SerializedSize(const Document& document) {
    std::size_t size = 0;
    for (const Block& block : document.blocks)
        for (const std::string& line : block.lines) size += line.size() + 1;
    return size;
}

// Each line ends with LF.
std::string Serialize(const Document& document) {
    std::string content;
    content.reserve(SerializedSize(document));
    for (const Block& block : document.blocks)
        for (const std::string& line : block.lines) {
            content += line;
            content += '\n';
        }
    return content;
}

namespace {

// Indexes the values of a key's block (again, after a line was removed). Its first line is the
// header, never a value.
void IndexValues(Block& block) {
    block.values.clear();
    block.lastEntry = 0;
    for (std::size_t i = 1; i < block.lines.size(); ++i) {
        const ParsedLine parsed = ParseLine(block.lines[i]);
        if (parsed.kind != ParsedLine::Entry) continue;
        block.lastEntry = i;
        block.values.emplace(FoldCase(parsed.name), i);
    }
    block.indexed = true;
}

// The block of a key with its values indexed, or nullptr.
Block* FindKey(Document& document, const std::string& sectionKey) {
    const auto key = document.keys.find(sectionKey);
    if (key == document.keys.end()) return nullptr;
    Block& block = document.blocks[key->second];
    if (!block.indexed) IndexValues(block);
    return &block;
}

} // namespace

std::optional<Value> FindValue(Document& document, RegRoot root, const std::string& keyPath,
                               const std::string& name) {
    Block* block = FindKey(document, SectionKey(root, keyPath));
    if (block == nullptr) return std::nullopt;
    const auto value = block->values.find(FoldCase(name));
    if (value == block->values.end()) return std::nullopt;
    return DecodeData(ParseLine(block->lines[value->second]).data);
}

// Puts the value's line in place: over its current line, after the key's last value, or in a
// new key at the end of the file. False when the file already says exactly this.
bool SetValue(Document& document, RegRoot root, const std::string& keyPath, const std::string& name,
              const std::string& line) {
    const std::string foldedName = FoldCase(name);
    if (Block* block = FindKey(document, SectionKey(root, keyPath))) {
        const auto value = block->values.find(foldedName);
        if (value != block->values.end()) {
            std::string& current = block->lines[value->second];
            if (current == line) return false;
            current = line;
            return true;
        }
        // Only lines that are not values (comments, blanks) follow the last value: none of
        // the indexed lines moves.
        const std::size_t at = block->lastEntry + 1;
        block->lines.insert(block->lines.begin() + static_cast<std::ptrdiff_t>(at), line);
        block->values.emplace(foldedName, at);
        block->lastEntry = at;
        return true;
    }
    Block& last = document.blocks.back();
    if (!last.lines.empty() && !TrimBlanks(last.lines.back()).empty()) last.lines.emplace_back();
    const std::string path = NormalizeKeyPath(keyPath);
    std::string header = "[" + std::string(RootName(root)) + (path.empty() ? "" : "\\" + path) + "]";
    const ParsedLine parsedHeader = ParseLine(header);
    document.AddLine(std::move(header), parsedHeader);
    document.AddLine(line, ParsedLine());
    return true;
}

// False when the value is not there.
bool DeleteValue(Document& document, RegRoot root, const std::string& keyPath, const std::string& name) {
    Block* block = FindKey(document, SectionKey(root, keyPath));
    if (block == nullptr) return false;
    const auto value = block->values.find(FoldCase(name));
    if (value == block->values.end()) return false;
    block->lines.erase(block->lines.begin() + static_cast<std::ptrdiff_t>(value->second));
    IndexValues(*block); // a later value of the same name, if any, is now the one found
    return true;
}

} // namespace kirva::platform::posix::registry
