// The profile functions: argument rules and buffer limits of the Windows calls, on top of the
// document store.
#include "ini/profile.h"

#include "ini/codepage.h"
#include "ini/store.h"

namespace kirva::ini {

namespace {

// The Windows calls take C strings: an argument ends at its first NUL.
std::string_view CString(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

// Section and key arguments lose leading and trailing spaces (spaces only, not tabs).
std::string NameArgument(std::string_view text) {
    text = CString(text);
    const std::size_t b = text.find_first_not_of(' ');
    if (b == std::string_view::npos) return {};
    const std::size_t e = text.find_last_not_of(' ');
    return std::string(text.substr(b, e - b + 1));
}

// One outer pair of identical quotes is removed from a value read by key.
std::string_view Unquoted(std::string_view value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        return value.substr(1, value.size() - 2);
    return value;
}

// Text cut to `count` characters, one character counting as one byte of code page 1252.
std::string Cut(std::string_view text, std::size_t count) {
    return std::string(text.substr(0, Utf8PrefixBytes(text, count)));
}

} // namespace

std::string GetProfileString(const std::string& path, const std::string& section, const std::string& key,
                             const std::string& defaultValue, std::size_t bufferSize) {
    if (bufferSize == 0) return {};
    try {
        {
            const store::Reader reader(path);
            std::string value;
            if (reader.get() && reader.get()->FindValue(NameArgument(section), NameArgument(key), value))
                return Cut(Unquoted(value), bufferSize - 1);
        }
        std::string_view def = CString(defaultValue);
        const std::size_t end = def.find_last_not_of(' ');
        def = end == std::string_view::npos ? std::string_view() : def.substr(0, end + 1);
        return Cut(def, bufferSize - 1);
    } catch (...) {
        return {};
    }
}

std::string GetProfileSection(const std::string& path, const std::string& section, std::size_t bufferSize) {
    if (bufferSize < 2) return {};
    try {
        const store::Reader reader(path);
        std::string text;
        if (!reader.get() || !reader.get()->SectionText(NameArgument(section), text)) return {};
        // The entries and the final NUL must fit; otherwise Windows keeps bufferSize - 2 characters.
        if (Utf8PrefixBytes(text, bufferSize - 1) < text.size()) return Cut(text, bufferSize - 2);
        return text;
    } catch (...) {
        return {};
    }
}

bool WriteProfileString(const std::string& path, const std::string& section,
                        const std::optional<std::string>& key, const std::optional<std::string>& value) {
    try {
        Edit edit;
        edit.section = NameArgument(section);
        if (!key) {
            edit.kind = Edit::DeleteSection;
        } else {
            edit.key = NameArgument(*key);
            edit.kind = value ? Edit::SetKey : Edit::DeleteKey;
            if (value) edit.value = std::string(CString(*value));
        }
        return store::Write(path, edit);
    } catch (...) {
        return false;
    }
}

bool WriteProfileSection(const std::string& path, const std::string& section, std::string_view content) {
    try {
        Edit edit;
        edit.kind = Edit::ReplaceSection;
        edit.section = NameArgument(section);
        edit.value = std::string(content);
        return store::Write(path, edit);
    } catch (...) {
        return false;
    }
}

BatchScope::BatchScope() : failuresAtStart_(store::FailureCount()) {
    store::BeginBatch();
}

BatchScope::~BatchScope() {
    try {
        store::EndBatch();
    } catch (...) {
    }
}

bool BatchScope::Flush() {
    bool ok = false;
    try {
        ok = store::FlushAll();
    } catch (...) {
    }
    ok_ = ok_ && ok;
    return ok && Ok();
}

bool BatchScope::Ok() const {
    return ok_ && store::FailureCount() == failuresAtStart_;
}

ReadScope::ReadScope() {
    store::BeginScope();
}

ReadScope::~ReadScope() {
    try {
        store::EndScope();
    } catch (...) {
    }
}

void ClearCache() {
    try {
        store::Clear();
    } catch (...) {
    }
}

platform::FileResult ReadFileLines(const std::string& path, std::vector<FileLine>& lines) {
    lines.clear();
    std::string bytes;
    platform::FileStamp stamp;
    const platform::FileResult result = platform::ReadWholeFile(path, bytes, stamp);
    if (result == platform::FileResult::Ok) lines = Document::Parse(bytes).Lines();
    return result;
}

} // namespace kirva::ini
