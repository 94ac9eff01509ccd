// The profile-file engine: the behaviour of the Windows "private profile" functions,
// implemented in standard C++ and used on every platform. Text in and out is UTF-8;
// files are code page 1252 unless they start with a UTF-8 or UTF-16 LE byte-order mark.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ini/document.h"
#include "platform/platform.h"

namespace kirva::ini {

// GetPrivateProfileStringA: the value of key in section, or defaultValue when the file,
// section or key is missing. The result is cut to bufferSize - 1 characters (bytes of the
// code page 1252 text), as the Windows call cuts it to its buffer.
std::string GetProfileString(const std::string& path, const std::string& section, const std::string& key,
                             const std::string& defaultValue, std::size_t bufferSize = 1024);

// GetPrivateProfileSectionA: every line of the section, each followed by one NUL, comment
// lines left out, cut to fit bufferSize as Windows cuts it. Empty when the file or section is missing.
// Lines come as "name=value" with the blanks around name and value removed (quotes kept);
// a line without "=" comes as its text. When the lines and the final NUL do not fit in
// bufferSize characters, the first bufferSize - 2 characters are returned.
std::string GetProfileSection(const std::string& path, const std::string& section, std::size_t bufferSize);

// WritePrivateProfileStringA. value == nullopt deletes the key; key == nullopt deletes the section.
// Creates the file and the section when missing. False when the file could not be written
// (the file on disk is then unchanged).
bool WriteProfileString(const std::string& path, const std::string& section,
                        const std::optional<std::string>& key, const std::optional<std::string>& value);

// WritePrivateProfileSectionA: replaces the key lines of the section by the entries of
// content (separated by NUL; an entry may itself hold line breaks). Empty content leaves the
// section header alone with no key lines.
bool WriteProfileSection(const std::string& path, const std::string& section, std::string_view content);

// While a BatchScope lives, writes to the same files stay in memory and are flushed once,
// by one atomic replace per file, when the outermost scope ends (or Flush is called).
// Reads see the pending writes; a BatchScope is also a ReadScope. A write inside a scope
// returns true unless the file is unusable (a folder, unreadable, too large). Every write
// that was refused inside the scope and every failed flush shows in Flush() and Ok(): this is
// how a writer learns that its writes reached the disk, whatever it wrote them with. The
// edits of a file that could not be written are dropped (the file on disk is unchanged).
class BatchScope {
  public:
    BatchScope();
    ~BatchScope();
    BatchScope(const BatchScope&) = delete;
    BatchScope& operator=(const BatchScope&) = delete;
    // Flushes now; true when every pending file was written.
    bool Flush();
    // True when no write inside this scope was refused and every flush so far succeeded.
    bool Ok() const;

  private:
    bool ok_ = true;
    std::uint64_t failuresAtStart_ = 0;
};

// While a ReadScope (or a BatchScope) lives, each file is compared with the disk once, at its
// first use in the outermost scope: the reads of a whole record cost one system call per file
// and see one version of each file. Outside any scope every call checks the file's stamp.
// Writes are not affected: a flush still merges what another program changed meanwhile.
class ReadScope {
  public:
    ReadScope();
    ~ReadScope();
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;
};

// Every line of a file that is neither blank nor a comment, numbered as in the file, read straight
// from the disk (not through the engine's documents). Missing, NotAFile or Failed leave lines empty.
platform::FileResult ReadFileLines(const std::string& path, std::vector<FileLine>& lines);

// Writes what a batch still holds, then drops every cached document (tests, and callers
// that know a file was replaced).
void ClearCache();

} // namespace kirva::ini
