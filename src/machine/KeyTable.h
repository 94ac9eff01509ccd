// The key table: one row per key of Telvar.ini, in the order in which the writer puts them.
// The reader, the writer, the window's field binding, the documentation and the tests walk it.
//
// Reading goes section by section in ReadSections() order. Inside a section the keys are read
// in the order of their ReadRank (rows with rank 0 keep the table order); "DNC" and
// "SYNTAXE_MO" carry their own order that way. A row with ReadIn set is read while that other
// section is being read (with its own section passed explicitly): "ChainExe" is read inside
// "DNC" and, having RuleReadAgain, once more in "CHAINAGE".
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "machine/MachineConfig.h"

namespace kirva {

enum class KeyKind : std::uint8_t { Int16, Int32, Double, String, Bool };

enum class KeyAccess : std::uint8_t { Read = 1, Write = 2, ReadWrite = 3 };
constexpr bool IsRead(KeyAccess a) {
    return (static_cast<int>(a) & 1) != 0;
}
constexpr bool IsWritten(KeyAccess a) {
    return (static_cast<int>(a) & 2) != 0;
}

// Where the value of a key lives.
enum class KeySource : std::uint8_t {
    Record,         // a field of MachineConfig
    Remonte,        // a field of the program-wide RemonteState
    LocalIPAddress, // App().LocalIPAddress (written only)
    PathDirData,    // App().Settings.PathDirData (written only)
    Constant,       // the row's Default text (written only)
    Count,          // the number of entries of a numbered list ("NbActivity", "NbCanalAnalyse")
    Activity,       // numbered key: a field of WorkshopActivity, key = name + n
    Channel,        // numbered key: a field of AnalysisChannel, key = name + n
};

// Rules that a plain "read with default, write as is" does not cover. Bit flags.
enum KeyRule : std::uint8_t {
    RuleNone = 0,
    RuleIsoIniDefault = 1, // missing or empty reads as machine directory + separator + "Iso.ini"
    RuleDefaultBauds = 2,  // missing or empty reads as the "Bauds" just read
    RuleLeadingDot = 4,    // written trimmed with a "." put in front when missing (empty stays empty)
    RuleReadAsText = 8,    // read as text, then converted to the field's number
    RuleReadAgain = 16,    // read once more while its own section is read
};

// The field a row edits. Exactly one alternative matches the row's Source and Kind.
using KeyMember = std::variant<std::monostate,                   //
                               std::int16_t MachineConfig::*,    //
                               std::int32_t MachineConfig::*,    //
                               double MachineConfig::*,          //
                               std::string MachineConfig::*,     //
                               bool MachineConfig::*,            //
                               std::string RemonteState::*,      //
                               bool RemonteState::*,             //
                               std::int32_t WorkshopActivity::*, //
                               std::string WorkshopActivity::*,  //
                               std::string AnalysisChannel::*>;

struct KeyDef {
    const char* Section;
    const char* Key;     // spelling written to the file; numbered keys: the name before n
    const char* ReadKey; // spelling used when reading, nullptr = Key ("ladY" is read as "LadY")
    KeyKind Kind;
    KeyAccess Access;
    const char* Default; // text a missing or empty value reads as (nullptr = "", 0, false);
                         // for Source Constant, the text always written
    KeySource Source;
    KeyMember Member;
    std::uint8_t Rules = RuleNone;
    std::uint8_t ReadRank = 0;    // position in the section's reading order, 0 = table order
    const char* ReadIn = nullptr; // section during whose reading this key is read, nullptr = its own

    const char* KeyForReading() const { return ReadKey ? ReadKey : Key; }
    const char* ReadSection() const { return ReadIn ? ReadIn : Section; }
    bool Numbered() const { return Source == KeySource::Activity || Source == KeySource::Channel; }
};

// Every key of Telvar.ini in writer order (the lists' own sections "PLANS" and "CANAUX" and the
// ISO insertion file are not here: their classes own them).
std::span<const KeyDef> KeyTable();

// The sections in the order the reader walks them.
std::span<const char* const> ReadSections();

// The row of (section, key), without regard to case; either spelling of a key is accepted.
// Numbered keys are found by their name without the number ("CodeActivity"). nullptr when unknown.
const KeyDef* FindKey(std::string_view section, std::string_view key);

// Inclusive range of a numeric kind (Int16, Int32); Double and others give the double range.
double KindMin(KeyKind kind);
double KindMax(KeyKind kind);

// Typed access to the field of a row (nullptr when the row has no field of type T in these
// objects, for instance the constants or numbered keys).
template <typename T>
T* KeyField(MachineConfig& machine, RemonteState& remonte, const KeyDef& def) {
    if (auto p = std::get_if<T MachineConfig::*>(&def.Member)) return &(machine.**p);
    if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, bool>) {
        if (auto p = std::get_if<T RemonteState::*>(&def.Member)) return &(remonte.**p);
    }
    return nullptr;
}
template <typename T>
const T* KeyField(const MachineConfig& machine, const RemonteState& remonte, const KeyDef& def) {
    return KeyField<T>(const_cast<MachineConfig&>(machine), const_cast<RemonteState&>(remonte), def);
}

// The value of a row as the file holds it: strings as they stand, numbers in plain decimal
// ("2.5" for doubles), booleans "1"/"0"; constants, computed keys (IPserver, PathData) and
// counts give what the writer writes (FileExt already with its dot); numbered rows give "".
std::string GetKeyText(const MachineConfig& machine, const RemonteState& remonte, const KeyDef& def);
// Sets the field of a row from text by the reading rules of its kind (leading number, halves
// to even, "1" is true). False, field unchanged, when the number is out of the field's range or
// the row has no field (constants, computed and numbered keys).
bool SetKeyText(MachineConfig& machine, RemonteState& remonte, const KeyDef& def, const std::string& text);

} // namespace kirva
