// The registry on POSIX: one text file shared by the programs of the suite.
//
//   [HKEY_LOCAL_MACHINE\SOFTWARE\MAROVEX\TALM\KALDERON]
//   AppHwnd=dword:00003039
//   Description=Marovex Telvareur
//   ImagePath=expand:"\"/opt/talm/exe/srvany.exe\""
//   FailureActions=hex:80,51,01,00
//
// One section per key, spelled with its root; one line per value. Strings stand as plain text
// unless they could be mistaken for a tagged value (then str:"..."). Key paths and value names
// compare without regard to case. Lines this code does not change (comments, other keys) stay.
//
// Each process keeps the file parsed between calls and parses it again only when its stamp
// changed. Writers take an advisory lock on "<file>.lock", apply their one change to the file as
// it stands and replace it through ReplaceFileContents (a private temporary file, flushed and
// renamed over the file), so two programs writing at once lose nothing.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace kirva::platform {

namespace {

using posix::FoldCase;
using posix::TrimBlanks;
using Lines = std::vector<std::string>;

enum class Kind { String, Expand, Dword, Binary };

struct Value {
    Kind kind = Kind::String;
    std::string text;
    std::uint32_t dword = 0;
    std::vector<std::uint8_t> bytes;
};

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

bool HasControlCharacter(std::string_view text) {
    for (char ch : text)
        if (static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F) return true;
    return false;
}

std::string SectionKey(RegRoot root, const std::string& keyPath) {
    const std::string path = NormalizeKeyPath(keyPath);
    return FoldCase(path.empty() ? std::string(RootName(root)) : std::string(RootName(root)) + "\\" + path);
}

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

bool NeedsQuotedString(std::string_view text) {
    if (text.empty()) return false;
    if (HasControlCharacter(text) || TrimBlanks(text).size() != text.size()) return true;
    for (std::string_view tag : {kDwordTag, kHexTag, kExpandTag, kStringTag})
        if (StartsWithNoCase(text, tag)) return true;
    return false;
}

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

// ------------------------------------------------------------------ lines
struct ParsedLine {
    enum { Other, Header, Entry } kind = Other;
    std::string key;       // Header: folded, normalized key path with its root
    std::string name;      // Entry: value name as written
    std::string_view data; // Entry: text after "=", trimmed (a view into the line)
};

// One line of the file, without its line end. The byte-order mark at the start of the file is
// removed before its first line gets here: EF BB BF anywhere else belongs to the line.
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

// The registry of the suite holds a few keys, some kilobytes. Files beyond this are refused:
// reads find nothing in them and writes fail, with the file left as it is. The limit is far
// above any real registry, yet bounds what each process of the suite keeps of the file between
// calls (its parsed copy takes a few times the file's size in memory) and the time one parse
// takes (about a second at the limit on a small office computer).
constexpr std::uint64_t kMaxRegistrySize = 64u << 20;

// A key's lines: its header line and those that follow it up to the next header. Block 0
// holds the lines before the first header. The values of a key are indexed when the key is
// first looked into, so that reading a file costs little more than finding its headers.
struct Block {
    Lines lines;
    bool indexed = false;
    std::unordered_map<std::string, std::size_t> values; // folded value name -> its first line
    std::size_t lastEntry = 0;                           // last value line, or the header
};

// The file as lines grouped by key, with an index of keys. Only the first block of a key
// counts: values under a repeated header are kept but never found.
struct Document {
    std::vector<Block> blocks = std::vector<Block>(1);
    std::unordered_map<std::string, std::size_t> keys; // folded key path with its root -> block

    void AddLine(std::string line, const ParsedLine& parsed) {
        if (parsed.kind == ParsedLine::Header) {
            keys.emplace(parsed.key, blocks.size());
            blocks.emplace_back();
        }
        blocks.back().lines.push_back(std::move(line));
    }
};

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

// The line of a value, or nullptr.
const std::string* FindValue(Document& document, const std::string& sectionKey, const std::string& name) {
    Block* block = FindKey(document, sectionKey);
    if (block == nullptr) return nullptr;
    const auto value = block->values.find(FoldCase(name));
    return value == block->values.end() ? nullptr : &block->lines[value->second];
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

// ------------------------------------------------------------------ the copy kept between calls
// The registry file as last read or written by this process, and the stamp of that version.
// Each call compares the file's stamp with it (one stat) and parses the file again only when
// another program changed it.
struct Cache {
    std::mutex mutex;
    bool valid = false;
    std::string path;    // the registry path it belongs to
    bool exists = false; // false: the file was missing (an empty registry)
    FileStamp stamp;
    Document document;

    void Forget() {
        valid = false;
        document = Document();
    }
};

Cache& TheCache() {
    static Cache cache;
    return cache;
}

// Brings the cache up to date with the file at `path`. False when the file cannot be read:
// not a regular file, no access, or larger than kMaxRegistrySize.
bool Load(Cache& cache, const std::string& path) {
    FileStamp now;
    FileResult state = StatFile(path, now);
    if (state == FileResult::Ok && now.Size > kMaxRegistrySize) state = FileResult::Failed;
    if (state == FileResult::Ok && cache.valid && cache.exists && cache.path == path && cache.stamp == now)
        return true;
    std::string bytes;
    if (state == FileResult::Ok) {
        cache.Forget();
        state = ReadWholeFile(path, bytes, now);
        if (state == FileResult::Ok && bytes.size() > kMaxRegistrySize) state = FileResult::Failed;
    }
    if (state == FileResult::Missing) {
        if (!cache.valid || cache.exists || cache.path != path) cache.document = Document();
        cache.valid = true;
        cache.path = path;
        cache.exists = false;
        cache.stamp = FileStamp();
        return true;
    }
    if (state != FileResult::Ok) {
        cache.Forget();
        return false;
    }
    cache.document = Parse(bytes);
    cache.valid = true;
    cache.path = path;
    cache.exists = true;
    cache.stamp = now;
    return true;
}

std::optional<Value> ReadValue(RegRoot root, const std::string& keyPath, const std::string& name) {
    try {
        Cache& cache = TheCache();
        const std::lock_guard<std::mutex> guard(cache.mutex);
        if (!Load(cache, posix::RegistryFilePath())) return std::nullopt;
        const std::string* line = FindValue(cache.document, SectionKey(root, keyPath), name);
        if (line == nullptr) return std::nullopt;
        return DecodeData(ParseLine(*line).data);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// ------------------------------------------------------------------ writing

// How long a writer waits for another one to finish.
constexpr auto kWritersPatience = std::chrono::seconds(5);
// Opens the writers' lock file, never through a link. A new lock file gets the registry file's
// own mode and, where the process may set it, its group, so that every user who may write the
// registry may take the lock; without a registry file it gets the usual mode for the umask.
int OpenLockFile(const std::string& lockPath, const struct stat* registry) {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    for (int attempt = 0; attempt < 3; ++attempt) {
        int fd = ::open(lockPath.c_str(), O_RDWR | kFlags);
        if (fd < 0 && (errno == EACCES || errno == EROFS))
            fd = ::open(lockPath.c_str(), O_RDONLY | kFlags); // flock needs no write access
        if (fd >= 0 || errno != ENOENT) return fd;
        const mode_t mode = registry != nullptr ? (registry->st_mode & 0666) : 0666;
        fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_EXCL | kFlags, mode);
        if (fd >= 0) {
            if (registry != nullptr) {
                if (registry->st_gid != ::getegid())
                    (void)!::fchown(fd, static_cast<uid_t>(-1), registry->st_gid);
                (void)!::fchmod(fd, mode); // the umask took bits away at creation
            }
            return fd;
        }
        if (errno != EEXIST) return -1; // EEXIST: another writer created it meanwhile
    }
    return -1;
}

// Takes the writers' lock, waiting kWritersPatience at most for another writer to finish.
int LockWriters(const std::string& lockPath, const struct stat* registry) {
    posix::Descriptor fd(OpenLockFile(lockPath, registry));
    struct stat info {};
    if (fd.get() < 0 || ::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return -1;
    const auto giveUp = std::chrono::steady_clock::now() + kWritersPatience;
    while (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() > giveUp) return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return fd.Release();
}

// Thrown from inside a replacement to leave the file as it is.
struct Refused : std::exception {};

// Applies `change` to the current content of the file under the writers' lock and replaces the
// file when it changed. `change` returns whether it changed anything; it may run twice (again on
// the file's new content when a program that takes no lock changed the file meanwhile).
bool Update(const std::function<bool(Document&)>& change) {
    namespace fs = std::filesystem;
    try {
        const std::string named = posix::RegistryFilePath();
        // A registry file that is a link is replaced where the link points; the lock lies beside it.
        std::string path;
        if (!posix::ResolveLinks(named, path)) return false;
        struct stat info {};
        const bool exists = ::stat(path.c_str(), &info) == 0;
        if (!exists && errno != ENOENT) return false;
        if (exists && (!S_ISREG(info.st_mode) || static_cast<std::uint64_t>(info.st_size) > kMaxRegistrySize))
            return false;
        std::error_code ec;
        const fs::path folder = fs::path(path).parent_path();
        if (!exists && !folder.empty()) fs::create_directories(folder, ec);
        if (ec) return false;

        const posix::Descriptor lock(LockWriters(path + ".lock", exists ? &info : nullptr));
        if (lock.get() < 0) return false;
        Cache& cache = TheCache();
        const std::lock_guard<std::mutex> guard(cache.mutex);
        if (!Load(cache, named)) return false;

        // The cache is taken apart for the change; it is whole again only when the file is.
        Document working = std::move(cache.document);
        const bool baseExists = cache.exists;
        const FileStamp base = cache.stamp;
        cache.Forget();
        if (!change(working)) {
            cache.document = std::move(working);
            cache.valid = true;
            return true;
        }
        if (SerializedSize(working) > kMaxRegistrySize) return false;
        std::string bytes = Serialize(working);
        bool bytesCurrent = true;

        FileStamp written;
        const FileResult result = ReplaceFileContents(
            path,
            [&](const std::string* current, std::string& out) {
                FileStamp now;
                const bool asRead = current == nullptr
                                        ? !baseExists
                                        : baseExists && StatFile(path, now) == FileResult::Ok && now == base;
                if (!asRead) {
                    if (current != nullptr && current->size() > kMaxRegistrySize) throw Refused();
                    working = current != nullptr ? Parse(*current) : Document();
                    change(working);
                    bytesCurrent = false;
                }
                if (!bytesCurrent) {
                    if (SerializedSize(working) > kMaxRegistrySize) throw Refused();
                    bytes = Serialize(working);
                }
                out = std::move(bytes);
                bytesCurrent = false;
            },
            written);
        if (result != FileResult::Ok) return false; // the next call reads the file again

        cache.document = std::move(working);
        cache.valid = true;
        cache.path = named;
        cache.exists = true;
        cache.stamp = written;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool WriteValue(RegRoot root, const std::string& keyPath, const std::string& name, const Value& value) {
    if (HasControlCharacter(keyPath)) return false;
    const std::string line = EncodeName(name) + "=" + EncodeData(value);
    return Update([&](Document& document) { return SetValue(document, root, keyPath, name, line); });
}

std::optional<std::uint32_t> ParseNumber(std::string_view text) {
    text = TrimBlanks(text);
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) return std::nullopt;
    std::uint64_t number = 0;
    for (char ch : text) {
        const int digit = HexDigit(ch);
        if (digit < 0 || digit >= base) return std::nullopt;
        number = number * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(digit);
        if (number > 0xFFFFFFFFull) return std::nullopt;
    }
    return static_cast<std::uint32_t>(number);
}

} // namespace

std::optional<std::string> RegReadString(RegRoot root, const std::string& keyPath, const std::string& name) {
    auto value = ReadValue(root, keyPath, name);
    if (!value || value->kind == Kind::Binary) return std::nullopt;
    if (value->kind == Kind::Dword) return std::to_string(value->dword);
    return std::move(value->text);
}

std::optional<std::uint32_t> RegReadDword(RegRoot root, const std::string& keyPath, const std::string& name) {
    auto value = ReadValue(root, keyPath, name);
    if (!value || value->kind == Kind::Binary) return std::nullopt;
    if (value->kind == Kind::Dword) return value->dword;
    return ParseNumber(value->text);
}

std::optional<std::vector<std::uint8_t>> RegReadBinary(RegRoot root, const std::string& keyPath,
                                                       const std::string& name) {
    auto value = ReadValue(root, keyPath, name);
    if (!value || value->kind != Kind::Binary) return std::nullopt;
    return std::move(value->bytes);
}

bool RegWriteString(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::string& value, bool expand) {
    Value v;
    v.kind = expand ? Kind::Expand : Kind::String;
    v.text = value;
    return WriteValue(root, keyPath, name, v);
}

bool RegWriteDword(RegRoot root, const std::string& keyPath, const std::string& name, std::uint32_t value) {
    Value v;
    v.kind = Kind::Dword;
    v.dword = value;
    return WriteValue(root, keyPath, name, v);
}

bool RegWriteBinary(RegRoot root, const std::string& keyPath, const std::string& name,
                    const std::vector<std::uint8_t>& data) {
    Value v;
    v.kind = Kind::Binary;
    v.bytes = data;
    return WriteValue(root, keyPath, name, v);
}

bool RegDeleteValue(RegRoot root, const std::string& keyPath, const std::string& name) {
    // Deleting from a registry file that does not exist changes nothing and creates nothing.
    std::error_code ec;
    if (!std::filesystem::exists(posix::RegistryFilePath(), ec) && !ec) return true;
    return Update([&](Document& document) { return DeleteValue(document, root, keyPath, name); });
}

} // namespace kirva::platform
