// clsIniVar: the access object through which every settings file is read and written.
// It keeps a current file, section, key and value; an empty argument falls back to the
// matching property and the caller's variable receives it (arguments by reference).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kirva {

// Module-level routines beneath the class.
std::string FNReadIniString(const std::string& path, const std::string& section, const std::string& key,
                            const std::string& defaultValue);
// The result may be ignored, as the Windows call's is; false when the write did not reach the
// file (inside an ini::BatchScope: when it was refused; the scope's Ok() also says so).
bool WriteIniString(const std::string& path, const std::string& section, const std::string& key,
                    const std::string& value);

// Leading-number rule: blanks, sign, digits, at most one ".", exponent; stops at the first other
// character; "" or text without a number gives 0. A comma is never a decimal separator.
double ParseLeadingNumber(const std::string& text);
// Nearest integer, halves to even, for narrowing numbers read from files.
double RoundHalfEven(double value);
// An integer by the leading-number rule, rounded halves to even; nullopt when it does not fit 32 bits.
std::optional<std::int32_t> ParseInt32(const std::string& text);

class clsIniVar {
  public:
    void Init(std::string path, std::string section, std::string key, std::string value);

    const std::string& Path() const { return path_; }
    void Path(const std::string& v) { path_ = v; }
    const std::string& Section() const { return section_; }
    void Section(const std::string& v) { section_ = v; }
    const std::string& Key() const { return key_; }
    void Key(const std::string& v) { key_ = v; }
    const std::string& Value() const { return value_; }
    void Value(const std::string& v) { value_ = v; }

    std::string Read(std::string& key, std::string& section, std::string& path);
    std::string ReadDef(const std::string& defaultValue, std::string& key, std::string& section,
                        std::string& path);
    double ReadVal(std::string& key, std::string& section, std::string& path);
    bool ReadBool(std::string& key, std::string& section, std::string& path);
    bool ReadBoolDef(bool defaultValue, std::string& key, std::string& section, std::string& path);
    std::string ReadSection(std::string& section, std::string& path);
    std::vector<std::string> ReadSectionInTab(std::string& section, std::string& path);
    bool FNKeyExist(std::string& key, std::string& section, std::string& path);
    void WriteStr(std::string& value, std::string& key, std::string& section, std::string& path);
    void WriteVal(double value, std::string& key, std::string& section, std::string& path);
    void WriteBool(bool value, std::string& key, std::string& section, std::string& path);

    // The same operations for callers that pass temporaries or literals ("" = use the property).
    std::string Read(std::string&& key = {}, std::string&& section = {}, std::string&& path = {});
    std::string ReadDef(const std::string& defaultValue, std::string&& key = {}, std::string&& section = {},
                        std::string&& path = {});
    double ReadVal(std::string&& key = {}, std::string&& section = {}, std::string&& path = {});
    bool ReadBool(std::string&& key = {}, std::string&& section = {}, std::string&& path = {});
    bool ReadBoolDef(bool defaultValue, std::string&& key = {}, std::string&& section = {},
                     std::string&& path = {});
    std::string ReadSection(std::string&& section = {}, std::string&& path = {});
    std::vector<std::string> ReadSectionInTab(std::string&& section = {}, std::string&& path = {});
    bool FNKeyExist(std::string&& key = {}, std::string&& section = {}, std::string&& path = {});
    void WriteStr(std::string&& value, std::string&& key = {}, std::string&& section = {},
                  std::string&& path = {});
    void WriteVal(double value, std::string&& key = {}, std::string&& section = {}, std::string&& path = {});
    void WriteBool(bool value, std::string&& key = {}, std::string&& section = {}, std::string&& path = {});

  private:
    std::string path_, section_, key_, value_;
};

} // namespace kirva
