// The window side of the control catalogue: filling the group and model choice lists from
// InfoCN.ini and showing an information file in the box rtbInfoMOCN.
#pragma once

#include <QString>
#include <cstdint>
#include <string>

#include "machine/ControlCatalogue.h"

class QComboBox;
class QTextEdit;
class QWidget;

namespace kirva::CatalogueWidgets {

// Clears the box and adds one item a group: text = the group's name, item data = its code.
// A missing catalogue leaves the box empty, without a message.
void FillGroups(QComboBox* box, const ControlCatalogue& catalogue);
// Clears the box and adds one item a model of the group: text = the model's name, item data = its code.
void FillModels(QComboBox* box, const ControlCatalogue& catalogue, std::int32_t groupCode);
// Selects the item whose data is the code; false (selection unchanged) when there is none.
bool SelectCode(QComboBox* box, std::int32_t code);
// The code of the selected item, 0 when none is selected.
std::int32_t SelectedCode(const QComboBox* box);

// A read-only text box named rtbInfoMOCN for the information files.
QTextEdit* CreateInformationBox(QWidget* parent);
// Shows a file in the box: a name whose extension, upper-cased, is ".RTF" as rich text, anything
// else as plain text. A missing or unreadable file empties the box and gives false.
bool ShowInformationFile(QTextEdit* box, const std::string& path);
// Shows the information file of a kind (6 received program, 7 model) and name under the data folder.
bool ShowInformation(QTextEdit* box, const std::string& pathDirData, int kind, const std::string& name);

} // namespace kirva::CatalogueWidgets
