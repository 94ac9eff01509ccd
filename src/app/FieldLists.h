// The entries of the choice lists of the field table: which entries each list offers, in which
// order, and the value the record stores for each. Free of the window: the command line checks
// stored values against the same lists.
#pragma once

#include <string>
#include <vector>

#include "app/FieldTable.h"
#include "app/ProgramSettings.h"
#include "machine/Vocabularies.h"

namespace kirva {

struct ListItem {
    std::string Entry; // the program's own text
    int Index;         // the value the record stores for it when the field stores an index
};

// The items a list offers, in the order the combo box shows them: transfer methods from entry 1,
// machining types without the empty entry, the caller's folder nodes and the site's specific
// words from the hand-off file. Catalogue lists are filled from InfoCN.ini elsewhere: empty here.
std::vector<ListItem> ListItems(FieldList list, const ProgramSettings& settings);
// Whether a list's entries are words shown through the dictionary (numbers are shown as they are).
bool ListIsTranslated(FieldList list);

// Whether a stored value is one that the field's closed list can show: an index among its
// entries (Index, option buttons), an entry itself (Text), a parity letter, a flow-control index.
// Open lists (typed text allowed), catalogue lists and fields without a list take anything, and
// an empty value always stands (the list shows nothing).
bool ValueInFieldList(const FieldDef& def, const std::string& stored, const ProgramSettings& settings);

} // namespace kirva
