#include "app/ProgramSettings.h"

#include <cstdint>

#include "app/MessageTexts.h"
#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "ini/profile.h"
#include "translate/messages.h"

namespace kirva {

namespace {

// Largest list the hand-off file may ask for; a larger count is a broken file, not a workshop.
constexpr std::int32_t kMaxListSize = 10000;

// An integer key: number-prefix rule, then the nearest 32-bit integer (halves to even).
// False when the value does not fit in 32 bits.
bool ReadInteger(const std::string& path, const char* section, const char* key, std::int32_t& out) {
    const auto value = ParseInt32(FNReadIniString(path, section, key, ""));
    if (value) out = *value;
    return value.has_value();
}

std::string ReadFolder(const std::string& path, const char* key) {
    std::string value = Trim(FNReadIniString(path, "KIRVA", key, ""));
    return value.empty() ? value : AddTrailingBackslash(value);
}

// The count of a list: an integer as ReadInteger reads it, from 0 to kMaxListSize. Any other value
// (negative, beyond the limit, beyond 32 bits) is reported with the key and the value as the file
// holds it, and gives false.
bool ReadCount(const std::string& path, const char* section, const char* key, std::int32_t& out) {
    const std::string text = Trim(FNReadIniString(path, section, key, ""));
    const auto value = ParseInt32(text);
    if (!value || *value < 0 || *value > kMaxListSize) {
        ShowMessage(texts::kKirvaIniCountOutOfRange, IconWarning, MsgButtons::Ok, std::string(key), text,
                    std::to_string(kMaxListSize));
        return false;
    }
    out = *value;
    return true;
}

// Reads prefix1 ... prefix<count> of section into list[1..count]; list[0] stays empty.
bool ReadList(const std::string& path, const char* section, const std::string& prefix, std::int32_t count,
              std::vector<std::string>& list) {
    if (count < 0 || count > kMaxListSize) return false;
    list.assign(static_cast<std::size_t>(count) + 1, std::string());
    for (std::int32_t n = 1; n <= count; ++n) {
        list[static_cast<std::size_t>(n)] =
            Trim(FNReadIniString(path, section, prefix + std::to_string(n), ""));
    }
    return true;
}

} // namespace

bool ReadProgramSettings(const std::string& path, ProgramSettings& settings) {
    if (!ExistingFile(path)) {
        ShowMessage(texts::kKirvaIniMissing, IconWarning);
        return false;
    }

    ini::ReadScope scope; // one version of the file, compared with the disk once, for every key
    ProgramSettings read;
    if (!ReadInteger(path, "KIRVA", "Mode", read.Mode)) return false;
    if (!ReadInteger(path, "KIRVA", "AppCalling", read.AppCalling)) return false;
    if (!ReadInteger(path, "KIRVA", "CurrentIndexMO", read.CurrentIndexMO)) return false;
    read.PathDirData = ReadFolder(path, "PathDirData");
    read.DefaultPathDirTelvar = ReadFolder(path, "DefaultPathDirTelvar");
    if (!ReadCount(path, "KIRVA", "NbDevice", read.NbDevice)) return false;
    read.PathAppCallingIni = Trim(FNReadIniString(path, "KIRVA", "PathAppCallingIni", ""));

    if (!ReadList(path, "CNC", "RefMO", read.NbDevice, read.RefMO)) return false;

    if (!ReadCount(path, "TREEVIEW", "NbTreeViewNode", read.NbTreeViewNode)) return false;
    if (!ReadList(path, "TREEVIEW", "RefDirNode", read.NbTreeViewNode, read.RefDirNode)) return false;

    std::int32_t nbSpe = 0;
    if (!ReadCount(path, "SPECIFICITE", "NbSpe", nbSpe)) return false;
    if (!ReadList(path, "SPECIFICITE", "Spe", nbSpe, read.Spe)) return false;

    settings = std::move(read);
    return true;
}

ProgramState& App() {
    static ProgramState state;
    return state;
}

WorkstationValues ThisWorkstation() {
    return {App().LocalIPAddress, App().Settings.PathDirData};
}

std::string VersionText() {
    return std::to_string(KIRVA_VERSION_MAJOR) + "." + std::to_string(KIRVA_VERSION_MINOR) + ".0." +
           std::to_string(KIRVA_VERSION_REVISION);
}

} // namespace kirva
