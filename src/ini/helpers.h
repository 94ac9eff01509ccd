// Small text, path and section helpers used throughout the program.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kirva {

// Folder-path rules with the platform's separator ("\" on Windows, "/" elsewhere).
std::string AddTrailingBackslash(const std::string& path);
std::string RemoveTrailingBackslash(const std::string& path);

// Value of "tag:" in a "name:value|name:value|" line, up to the next "|"; "" when absent.
std::string GetTagValue(const std::string& line, const std::string& tag);

// Pads text to width: alignment 1 pads before, 3 after, anything else centres.
std::string PadText(const std::string& text, std::int16_t width, std::int16_t alignment,
                    const std::string& padChar);

// A number in the general display format of the user's locale (the locale's decimal separator).
std::string FormatValue(double value);
std::string FormatValue(std::int64_t value);

// The lines of a section with comments stripped; lines[0] is unused, lines 1..n are the lines kept.
std::int16_t ReadSectionLines(const std::string& path, const std::string& section,
                              std::vector<std::string>& lines);
// Replaces every line of the section by the given lines, all of them, in order.
void WriteSectionLines(const std::string& path, const std::string& section,
                       const std::vector<std::string>& lines);

// The regular file at path as it is on disk: the path itself, or, where file names are
// case-sensitive, the one spelled otherwise ("telvar.ini" for "Telvar.ini"). nullopt when there
// is none: a folder, a device or a FIFO of that name is no settings file (nothing is opened, so a
// FIFO cannot block).
std::optional<std::string> ExistingFile(const std::string& path);

// Trims blanks (space, tab) at both ends / at the end only.
std::string Trim(const std::string& text);
// A file-system path from UTF-8 text and back (std::filesystem would otherwise take the system's
// code page for narrow text on Windows).
std::filesystem::path PathFromUtf8(const std::string& utf8);
std::string Utf8FromPath(const std::filesystem::path& path);
std::string TrimRight(const std::string& text);
std::string ToUpper(const std::string& text); // ASCII and Latin-1 letters of UTF-8 text

} // namespace kirva
