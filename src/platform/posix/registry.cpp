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
// Writers take an advisory lock on "<file>.lock", read the file afresh, apply their one change
// and replace the file atomically, so two programs writing at once lose nothing.
#include "platform/platform.h"
#include "platform/posix/internal.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

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
    std::string key;  // Header: folded, normalized key path with its root
    std::string name; // Entry: value name as written
    std::string data; // Entry: text after "=", trimmed
};

ParsedLine ParseLine(std::string_view line) {
    ParsedLine parsed;
    if (line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3);
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
    parsed.data = std::string(TrimBlanks(line.substr(equals + 1)));
    return parsed;
}

// Where a key and one of its values stand in the file.
struct Location {
    std::ptrdiff_t header = -1;    // the key's header line, -1 when the key is missing
    std::ptrdiff_t value = -1;     // the value's line, -1 when missing
    std::ptrdiff_t lastEntry = -1; // last value line of the key (or its header)
};

Location Locate(const Lines& lines, const std::string& sectionKey, const std::string& name) {
    Location where;
    const std::string foldedName = FoldCase(name);
    bool inside = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const ParsedLine parsed = ParseLine(lines[i]);
        if (parsed.kind == ParsedLine::Header) {
            if (where.header >= 0) break; // the key ended
            inside = parsed.key == sectionKey;
            if (inside) where.header = where.lastEntry = static_cast<std::ptrdiff_t>(i);
        } else if (inside && parsed.kind == ParsedLine::Entry) {
            where.lastEntry = static_cast<std::ptrdiff_t>(i);
            if (where.value < 0 && FoldCase(parsed.name) == foldedName)
                where.value = static_cast<std::ptrdiff_t>(i);
        }
    }
    return where;
}

// Reads the file's lines; a missing file is an empty registry. False when it cannot be read.
bool ReadLines(const std::string& path, Lines& lines) {
    lines.clear();
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno == ENOENT || errno == ENOTDIR;
    std::string content;
    char buffer[8192];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            ::close(fd);
            return false;
        }
        if (got == 0) break;
        content.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(fd);
    std::size_t start = 0;
    while (start < content.size()) {
        std::size_t end = content.find('\n', start);
        if (end == std::string::npos) end = content.size();
        std::string line = content.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(std::move(line));
        start = end + 1;
    }
    return true;
}

std::optional<Value> ReadValue(RegRoot root, const std::string& keyPath, const std::string& name) {
    try {
        Lines lines;
        if (!ReadLines(posix::RegistryFilePath(), lines)) return std::nullopt;
        const Location where = Locate(lines, SectionKey(root, keyPath), name);
        if (where.value < 0) return std::nullopt;
        return DecodeData(ParseLine(lines[static_cast<std::size_t>(where.value)]).data);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

bool WriteAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t put = ::write(fd, text.data() + done, text.size() - done);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        done += static_cast<std::size_t>(put);
    }
    return true;
}

// Takes the writers' lock, waiting a few seconds at most for another writer to finish.
int LockWriters(const std::string& lockPath) {
    const int fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) return -1;
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() > giveUp) {
            ::close(fd);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return fd;
}

// Applies `change` to the current content of the file under the writers' lock and replaces the
// file when it changed. `change` returns whether it changed anything.
bool Update(const std::function<bool(Lines&)>& change) {
    namespace fs = std::filesystem;
    try {
        std::string path = posix::RegistryFilePath();
        std::error_code ec;
        // A registry file that is a link is replaced where the link points.
        struct stat link {};
        if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode))
            path = fs::canonical(path, ec).string();
        if (ec) return false;
        const fs::path folder = fs::path(path).parent_path();
        if (!folder.empty()) fs::create_directories(folder, ec);
        if (ec) return false;

        const int lockFd = LockWriters(path + ".lock");
        if (lockFd < 0) return false;
        bool ok = false;
        Lines lines;
        if (ReadLines(path, lines)) {
            if (!change(lines)) {
                ok = true;
            } else {
                std::string content;
                for (const std::string& line : lines) content += line + "\n";
                // A new file gets the usual mode for the user's umask; a replaced one keeps its own.
                struct stat info {};
                const bool existed = ::stat(path.c_str(), &info) == 0;
                const std::string temporary = path + ".tmp";
                const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
                if (fd >= 0) {
                    ok = WriteAll(fd, content) && (!existed || ::fchmod(fd, info.st_mode & 07777) == 0) &&
                         ::fsync(fd) == 0;
                    ok = (::close(fd) == 0) && ok;
                    ok = ok && ::rename(temporary.c_str(), path.c_str()) == 0;
                    if (!ok) ::unlink(temporary.c_str());
                    if (ok) {
                        const int dirFd =
                            ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                        if (dirFd >= 0) {
                            ::fsync(dirFd);
                            ::close(dirFd);
                        }
                    }
                }
            }
        }
        ::close(lockFd);
        return ok;
    } catch (const std::exception&) {
        return false;
    }
}

bool WriteValue(RegRoot root, const std::string& keyPath, const std::string& name, const Value& value) {
    if (HasControlCharacter(keyPath)) return false;
    const std::string line = EncodeName(name) + "=" + EncodeData(value);
    return Update([&](Lines& lines) {
        const Location where = Locate(lines, SectionKey(root, keyPath), name);
        if (where.value >= 0) {
            auto& current = lines[static_cast<std::size_t>(where.value)];
            if (current == line) return false;
            current = line;
        } else if (where.header >= 0) {
            lines.insert(lines.begin() + where.lastEntry + 1, line);
        } else {
            if (!lines.empty() && !TrimBlanks(lines.back()).empty()) lines.emplace_back();
            const std::string path = NormalizeKeyPath(keyPath);
            lines.push_back("[" + std::string(RootName(root)) + (path.empty() ? "" : "\\" + path) + "]");
            lines.push_back(line);
        }
        return true;
    });
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
    return Update([&](Lines& lines) {
        const Location where = Locate(lines, SectionKey(root, keyPath), name);
        if (where.value < 0) return false;
        lines.erase(lines.begin() + where.value);
        return true;
    });
}

} // namespace kirva::platform
