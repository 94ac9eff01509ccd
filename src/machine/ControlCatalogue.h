// The catalogue of numerical-control groups and models (InfoCN.ini in the data folder): the group
// and model choice lists, the group of a model, the ISO syntax preset of a group, and the paths of
// the information files shown for a model or for a program received from a control.
// The catalogue is produced by another tool of the suite; this program only reads it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kirva {

// A comma list "3,1,7" as integers: element 0 holds the number of pieces, elements 1..n the pieces.
// A piece that is not a number gives 0; an empty text gives {0}.
std::vector<std::int32_t> ParseCodeList(const std::string& text);

// One item of a choice list: the trimmed display name and the code the configuration stores.
struct CatalogueEntry {
    std::string Text;
    std::int32_t Code = 0;
    bool operator==(const CatalogueEntry&) const = default;
};

// The ISO syntax preset of a group: every field of the syntax panel it sets, by INI key of section
// "SYNTAXE_MO" (the group's own keys, "" when the group lacks one, and the program's standard
// codes), and the two flags.
struct SyntaxPreset {
    std::map<std::string, std::string> Fields;
    bool ForceSepDec = false;
    bool IJRel = false;
};

class ControlCatalogue {
  public:
    static constexpr const char* kFileName = "InfoCN.ini";

    // The catalogue file at path; on systems with case-sensitive names a file that differs only in
    // case is found too.
    explicit ControlCatalogue(const std::string& path);
    // The catalogue of a data folder (PathDirData, which ends with the separator).
    static ControlCatalogue InDataFolder(const std::string& pathDirData);

    const std::string& Path() const { return path_; }
    bool Exists() const;

    // The groups of "ListeCodeGroup", in its order; empty when the file or the list is missing.
    std::vector<CatalogueEntry> Groups() const;
    // The models of a group ("ListeCodeModel" of "GROUP_" + code), named from section "MODELS".
    std::vector<CatalogueEntry> Models(std::int32_t groupCode) const;
    // The first group of "ListeCodeGroup" whose model list holds the model; 0 / "" when none.
    std::int32_t FNGroupCodeOfModel(std::int32_t modelCode) const;
    std::string FNGroupTextOfModel(std::int32_t modelCode) const;
    // The preset of a group; nullopt when the file is missing (the fields are then left as they are).
    std::optional<SyntaxPreset> FNSyntaxPreset(std::int32_t groupCode) const;

    // The syntax keys that a group presets from the catalogue, in the catalogue's order.
    static const std::vector<std::string>& CatalogueSyntaxKeys();
    // The programming codes that every preset resets to the program's own standard values (key, value).
    static const std::vector<std::pair<std::string, std::string>>& StandardCodes();

  private:
    std::string Read(const std::string& section, const std::string& key) const;
    std::vector<std::int32_t> GroupCodes() const;
    std::vector<std::int32_t> ModelCodes(std::int32_t groupCode) const;

    std::string path_;
};

// Information files shown in the information box of the syntax panel.
enum class InfoFileKind : int {
    ReceivedProgram = 6, // folder "FROMCN": "ISO" + name padded + ".txt"
    Model = 7,           // folder "INFOCN": "MO_" + name + ".RTF"
};

// The information file of a kind (6 or 7) for a name, under the data folder (which ends with the
// separator; the joined path keeps the doubled separator). The folder is created when missing.
// Names of kind 6 are program numbers, padded on the left with "0" to 4 digits ("12" -> "ISO0012.txt").
// A file that differs only in case is found too. Returns "" for another kind.
std::string InformationFilePath(const std::string& pathDirData, int kind, const std::string& name);

// Whether a file is loaded as rich text: its extension, upper-cased, is ".RTF".
bool IsRichTextFile(const std::string& name);

} // namespace kirva
