// The text of the POSIX registry file: values and their tags, quoting, and the file parsed as
// lines grouped by key. Internal to src/platform/posix (registry.cpp and its tests).
#pragma once

#include "platform/platform.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kirva::platform::posix::registry {

enum class Kind { String, Expand, Dword, Binary };

struct Value {
    Kind kind = Kind::String;
    std::string text;
    std::uint32_t dword = 0;
    std::vector<std::uint8_t> bytes;
};

// The registry of the suite holds a few keys, some kilobytes. Files beyond this are refused:
// reads find nothing in them and writes fail, with the file left as it is. The limit is far
// above any real registry, yet bounds what each process of the suite keeps of the file between
// calls (its parsed copy takes a few times the file's size in memory) and the time one parse
// takes (about a second at the limit on a small office computer).
inline constexpr std::uint64_t kMaxRegistrySize = 64u << 20;

// A key's lines: its header line and those that follow it up to the next header. Block 0
// holds the lines before the first header. The values of a key are indexed when the key is
// first looked into, so that reading a file costs little more than finding its headers.
struct Block {
    std::vector<std::string> lines;
    bool indexed = false;
    std::unordered_map<std::string, std::size_t> values; // folded value name -> its first line
    std::size_t lastEntry = 0;                           // last value line, or the header
};

struct ParsedLine;

// The file as lines grouped by key, with an index of keys. Only the first block of a key
// counts: values under a repeated header are kept but never found.
struct Document {
    std::vector<Block> blocks = std::vector<Block>(1);
    std::unordered_map<std::string, std::size_t> keys; // folded key path with its root -> block

    void AddLine(std::string line, const ParsedLine& parsed);
};

// Whether text holds a control character (such a key path cannot be written).
bool HasControlCharacter(std::string_view text);
// The folded name of a key's section: its root, "\", the normalized path.
std::string SectionKey(RegRoot root, const std::string& keyPath);

// The data after "=" as a value; nullopt when a tagged value is malformed.
std::optional<Value> DecodeData(std::string_view data);
// A value as the data after "=", and a value name as it stands before "=".
std::string EncodeData(const Value& value);
std::string EncodeName(const std::string& name);

// Lines end at LF (a CR before it belongs to the line end); a byte-order mark is skipped on the
// file's first line only.
Document Parse(std::string_view content);
std::size_t SerializedSize(const Document& document);
// Each line ends with LF.
std::string Serialize(const Document& document);

// The value of that name under that key, or nullopt (also for a malformed tagged value).
std::optional<Value> FindValue(Document& document, RegRoot root, const std::string& keyPath,
                               const std::string& name);
// Puts the value's line in place: over its current line, after the key's last value, or in a
// new key at the end of the file. False when the file already says exactly this.
bool SetValue(Document& document, RegRoot root, const std::string& keyPath, const std::string& name,
              const std::string& line);
// False when the value is not there.
bool DeleteValue(Document& document, RegRoot root, const std::string& keyPath, const std::string& name);

} // namespace kirva::platform::posix::registry
