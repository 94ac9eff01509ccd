#include "machine/ControlCatalogue.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <system_error>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "platform/platform.h"

namespace kirva {

namespace {

// A piece of a comma list as an integer: the whole trimmed piece must be a decimal number.
std::int32_t CodeOfPiece(const std::string& piece) {
    const std::string text = Trim(piece);
    std::size_t i = (!text.empty() && (text[0] == '+' || text[0] == '-')) ? 1 : 0;
    const std::size_t digitsStart = i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
    bool any = i > digitsStart;
    if (i < text.size() && text[i] == '.') {
        const std::size_t fraction = ++i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
        any = any || i > fraction;
    }
    if (!any || i != text.size()) return 0;
    const double value = RoundHalfEven(ParseLeadingNumber(text));
    if (!(std::abs(value) <= static_cast<double>(std::numeric_limits<std::int32_t>::max()))) return 0;
    return static_cast<std::int32_t>(value);
}

std::string SectionOfGroup(std::int32_t groupCode) {
    return "GROUP_" + std::to_string(groupCode);
}

} // namespace

std::vector<std::int32_t> ParseCodeList(const std::string& text) {
    std::vector<std::int32_t> codes{0};
    if (text.empty()) return codes;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = text.find(',', start);
        codes.push_back(
            CodeOfPiece(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start)));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    codes[0] = static_cast<std::int32_t>(codes.size() - 1);
    return codes;
}

ControlCatalogue::ControlCatalogue(const std::string& path) : path_(path) {
    std::error_code ec;
    if (path_.empty() || std::filesystem::exists(path_, ec)) return;
    const std::filesystem::path p(path_);
    if (auto found = platform::FindFileNoCase(p.parent_path().string(), p.filename().string()))
        path_ = *found;
}

ControlCatalogue ControlCatalogue::InDataFolder(const std::string& pathDirData) {
    return ControlCatalogue(pathDirData + kFileName);
}

bool ControlCatalogue::Exists() const {
    std::error_code ec;
    return !path_.empty() && std::filesystem::is_regular_file(path_, ec);
}

std::string ControlCatalogue::Read(const std::string& section, const std::string& key) const {
    clsIniVar ini;
    return ini.Read(std::string(key), std::string(section), std::string(path_));
}

std::vector<std::int32_t> ControlCatalogue::GroupCodes() const {
    if (!Exists()) return {0};
    return ParseCodeList(Read("CN_GROUP", "ListeCodeGroup"));
}

std::vector<std::int32_t> ControlCatalogue::ModelCodes(std::int32_t groupCode) const {
    if (!Exists()) return {0};
    return ParseCodeList(Read(SectionOfGroup(groupCode), "ListeCodeModel"));
}

std::vector<CatalogueEntry> ControlCatalogue::Groups() const {
    std::vector<CatalogueEntry> groups;
    const std::vector<std::int32_t> codes = GroupCodes();
    for (std::int32_t i = 1; i <= codes[0]; ++i)
        groups.push_back({Trim(Read(SectionOfGroup(codes[i]), "Name")), codes[i]});
    return groups;
}

std::vector<CatalogueEntry> ControlCatalogue::Models(std::int32_t groupCode) const {
    std::vector<CatalogueEntry> models;
    const std::vector<std::int32_t> codes = ModelCodes(groupCode);
    for (std::int32_t i = 1; i <= codes[0]; ++i)
        models.push_back({Trim(Read("MODELS", "Ref_" + std::to_string(codes[i]))), codes[i]});
    return models;
}

std::int32_t ControlCatalogue::FNGroupCodeOfModel(std::int32_t modelCode) const {
    const std::vector<std::int32_t> groups = GroupCodes();
    for (std::int32_t g = 1; g <= groups[0]; ++g) {
        const std::vector<std::int32_t> models = ModelCodes(groups[g]);
        for (std::int32_t m = 1; m <= models[0]; ++m)
            if (models[m] == modelCode) return groups[g];
    }
    return 0;
}

std::string ControlCatalogue::FNGroupTextOfModel(std::int32_t modelCode) const {
    const std::vector<std::int32_t> groups = GroupCodes();
    for (std::int32_t g = 1; g <= groups[0]; ++g) {
        const std::vector<std::int32_t> models = ModelCodes(groups[g]);
        for (std::int32_t m = 1; m <= models[0]; ++m)
            if (models[m] == modelCode) return Trim(Read(SectionOfGroup(groups[g]), "Name"));
    }
    return "";
}

std::optional<SyntaxPreset> ControlCatalogue::FNSyntaxPreset(std::int32_t groupCode) const {
    if (!Exists()) return std::nullopt;
    const std::string section = SectionOfGroup(groupCode);
    SyntaxPreset preset;
    for (const std::string& key : CatalogueSyntaxKeys()) preset.Fields[key] = Trim(Read(section, key));
    preset.ForceSepDec = Read(section, "ForceSepDec") == "1";
    preset.IJRel = Read(section, "IJRel") == "1";
    for (const auto& [key, value] : StandardCodes()) preset.Fields[key] = value;
    return preset;
}

const std::vector<std::string>& ControlCatalogue::CatalogueSyntaxKeys() {
    static const std::vector<std::string> keys = {"CarDebProg", "CarDebBloc", "CarDebCom", "CarFinCom",
                                                  "CarBlocOpt", "BlocType",   "IncrBloc",  "NumBloc1",
                                                  "BlocDeb",    "BlocFin",    "CarSepDec"};
    return keys;
}

const std::vector<std::pair<std::string, std::string>>& ControlCatalogue::StandardCodes() {
    static const std::vector<std::pair<std::string, std::string>> codes = {
        {"Abs", "G90"},      {"Rel", "G91"},       {"LadR", "R"},      {"LadX", "X"},
        {"LadY", "Y"},       {"LadZ", "Z"},        {"CodeVcc", "G96"}, {"CodeStr", "G97"},
        {"CodeVaTr", "G95"}, {"CodeVaMin", "G94"}, {"LadS", "S"}};
    return codes;
}

std::string InformationFilePath(const std::string& pathDirData, int kind, const std::string& name) {
    std::string folder, file;
    const std::string sep(1, platform::kPathSeparator);
    if (kind == static_cast<int>(InfoFileKind::Model)) {
        folder = pathDirData + sep + "INFOCN";
        file = "MO_" + name + ".RTF";
    } else if (kind == static_cast<int>(InfoFileKind::ReceivedProgram)) {
        folder = pathDirData + sep + "FROMCN";
        file = "ISO" + PadText(name, 4, 1, "0") + ".txt";
    } else {
        return "";
    }
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) std::filesystem::create_directories(folder, ec);
    const std::string path = folder + sep + file;
    if (!std::filesystem::exists(path, ec))
        if (auto found = platform::FindFileNoCase(folder, file)) return *found;
    return path;
}

bool IsRichTextFile(const std::string& name) {
    const std::size_t dot = name.find_last_of('.');
    const std::size_t sep = name.find_last_of("/\\");
    if (dot == std::string::npos || (sep != std::string::npos && dot < sep)) return false;
    return ToUpper(name.substr(dot)) == ".RTF";
}

} // namespace kirva
