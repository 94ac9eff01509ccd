// The field table: one row per field of the window. Every editable key of Telvar.ini and every
// field of the caller's machine entry has exactly one row, which says on which panel and in which
// group box the field stands, its label, its widget, its choice list and the key it edits.
// Panels are built from it; the transfer between the window and MachineConfig, the tooltips, the
// hidden fields of the DNC transfer program and the tests walk it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "app/ProgramSettings.h"
#include "machine/KeyTable.h"

namespace kirva {

enum class FieldWidget : std::uint8_t {
    Line,      // text box
    Password,  // text box whose text is not shown while typing
    Info,      // text box that shows a value and cannot be edited (disabled)
    Combo,     // choice list: one of its entries or nothing
    EditCombo, // choice list that also takes typed text
    Check,     // check box; Label is its caption
    Options,   // option buttons, members Member, Member + 1, ...; the checked one's rank is the value
};

// How the shown value becomes the stored one.
enum class FieldConv : std::uint8_t {
    Text,           // the text as it stands (numbers by the key's kind)
    Index,          // the entry's index in its list (Options: the checked button's rank)
    Parity,         // ParityToLetter / LetterToParity
    FlowControl,    // FlowControlIndex
    StartCondition, // StartConditionToCode / CodeToStartCondition with the two companion boxes
    ServicePort,    // NormalizeServicePort
    CatalogueCode,  // the catalogue code carried by the chosen entry (group or model)
};

// The list of a choice field (or the captions of option buttons).
enum class FieldList : std::uint8_t {
    None,
    SerialSpeeds,
    Parities,
    StopBits,
    FlowControls,
    TransferMethods, // entries 1 to 21, the shown text set to entry 1 when filled
    ReadingModes,
    MultiProgModes,
    InternetServices,
    StartConditions,
    BlockSizes,
    OpeningModes,
    NumberingModes,
    MachiningTypes, // non-empty entries only
    InsertionPositions,
    CommentPositions,
    Steps10To65,
    Steps10To240,
    ComPorts,         // "1" to "16"
    DataBits,         // "5" to "8"
    FolderNodes,      // the caller's folder nodes (Kirva.ini [TREEVIEW])
    Specificities,    // the site's specific option words (Kirva.ini [SPECIFICITE])
    ConnectionRoles,  // option captions "Client", "Serveur"
    HeaderModes,      // option captions "Cartouche complet", "Cartouche compact"
    HeaderVisibility, // option captions "Masqué", "Visible"
    CatalogueGroups,  // filled from InfoCN.ini
    CatalogueModels,  // filled from InfoCN.ini for the chosen group
};

// Where the value of a field is kept.
enum class FieldStore : std::uint8_t {
    Telvar,    // a key of Telvar.ini (Section, Key of the key table)
    Both,      // a key of Telvar.ini that the caller's entry holds too
    Caller,    // a field of the caller's entry only (Key names the MachineConfig field)
    Registry,  // the Run value of the machine (StartWithWindows)
    WindowOnly // a companion box: part of another field's value
};

enum FieldFlag : std::uint8_t {
    FlagNone = 0,
    FlagHiddenInMode2 = 1, // only the program manager uses it: hidden when the DNC transfer program called
    FlagOptional = 2,      // a machine may leave it empty: the apply does not stop on it
};

struct FieldDef {
    const char* Array; // control array ("cboDnc") or, with Member -1, the control's own name
    int Member;        // member number in the array, -1 for a control of its own
    const char* Panel; // panel number ("3.2")
    const char* Group; // group box title; "tabDnc/Emission" = page "Emission" of the tab widget tabDnc
    const char* Label; // label (French, as the program holds it); a check box's caption
    FieldWidget Widget;
    FieldList List;
    FieldConv Conv;
    FieldStore Store;
    const char* Section; // Telvar.ini section (Telvar, Both); nullptr otherwise
    const char* Key;     // Telvar.ini key; the caller's field name; "StartWithWindows"
    int Command = -1;    // member of cmdExit standing beside the field (browse buttons: BrowseTable)
    std::uint8_t Flags = FlagNone;
};

std::span<const FieldDef> FieldTable();

// The panels: the nineteen nodes of the window's tree, in the order the tree is built.
struct TreeNodeDef {
    const char* Text;   // French, translated before use; the translated text is the node's key
    const char* Parent; // French text of the parent node, nullptr for a top node
    const char* Panel;  // panel number
};
std::span<const TreeNodeDef> TreeNodes();
// The node text of a panel number ("3.2" -> "RS 232"), "" when none.
std::string PanelTitle(std::string_view panel);

// The row of a control (array and member), nullptr when none.
const FieldDef* FindField(std::string_view array, int member);
// The row that edits a key (Telvar.ini section and key, or caller's field), nullptr when none.
const FieldDef* FindFieldForKey(std::string_view section, std::string_view key);

// "<Array>_<Member>" or the control's own name.
std::string FieldObjectName(const FieldDef& def);
std::string ControlName(std::string_view array, int member);

// The key table row of a field bound to Telvar.ini, nullptr otherwise.
const KeyDef* FieldKey(const FieldDef& def);

// Whether the apply lets the field stay empty: a field marked FlagOptional, or one that holds text
// (the files keep an empty text as it is: a serial machine has no remote host, a network machine
// no parity). An empty number cannot be stored: numeric fields must be filled.
bool FieldMayStayEmpty(const FieldDef& def);

// The companion boxes of a start-condition field (character, waiting time).
struct StartCompanions {
    const char* Array;
    int Character;
    int WaitTime;
};
StartCompanions StartConditionCompanions(const FieldDef& def);

// Where a field's value is kept, for its tooltip: "Telvar.ini [COMM] Parite",
// "Kalderon.ini [CNC3] PathFileHead", ... The caller's file and entry come from settings.
std::string FieldTooltip(const FieldDef& def, const ProgramSettings& settings);

// The value a field edits, as text: strings as they stand, booleans "1"/"0", integers in plain
// decimal, doubles in their shortest exact form; "" for a companion box.
std::string FieldStoredText(const FieldDef& def, const MachineConfig& machine, const RemonteState& remonte);
// Sets the value a field edits from text (numbers by the reading rules of their kind). False,
// value unchanged, when the text is out of the field's range or the field keeps no value.
bool SetFieldStoredText(const FieldDef& def, MachineConfig& machine, RemonteState& remonte,
                        const std::string& text);

// The value of a field of the caller's entry, as text, and its setting from text (numbers read by
// the leading-number rule). False when key is not a caller's field.
bool GetCallerText(const MachineConfig& machine, std::string_view key, std::string& text);
bool SetCallerText(MachineConfig& machine, std::string_view key, const std::string& text);
// Whether a caller's field is a number.
bool CallerFieldIsNumber(std::string_view key);

} // namespace kirva
