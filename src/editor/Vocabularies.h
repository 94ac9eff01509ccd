// The window's side of the choice lists: which entries each list of a field offers, in which
// order and with which stored index, and the filling of the combo boxes. Word entries are shown
// translated; each item keeps its untranslated entry, so conversions never see the translation.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <QString>

#include "app/FieldLists.h"
#include "app/ProgramSettings.h"
#include "machine/Vocabularies.h"

class QComboBox;

namespace kirva {

// Item data roles of a filled combo box.
inline constexpr int kEntryRole = 0x0100 + 10; // the untranslated entry (QString)
inline constexpr int kIndexRole = 0x0100 + 11; // the index stored for it (int)

// The translated display texts of every fixed list, made once when the window opens.
class VocabularyCache {
  public:
    void Fill(const ProgramSettings& settings); // FillVocabularies
    struct Item {
        QString Text;  // shown
        QString Entry; // untranslated
        int Index;
    };
    const std::vector<Item>& Items(FieldList list) const;

  private:
    std::vector<std::vector<Item>> lists_;
};

// Clears the box and adds the list's items (display text, entry, stored index).
void FillComboBox(QComboBox* box, const std::vector<VocabularyCache::Item>& items);

// The entry the box shows: the untranslated entry of the chosen item, or the typed text.
QString ShownEntry(const QComboBox* box);
// Shows an entry: selects the item of that entry, or types it (editable box), or, for a fixed
// list, adds an item holding it so that a value outside the list is kept. "" selects nothing.
void ShowEntry(QComboBox* box, const QString& entry);
// Shows an item by stored index; an index without item is added as an item named by its number,
// except `emptyIndex`, which selects nothing.
void ShowIndex(QComboBox* box, int index, int emptyIndex);
// The stored index of the chosen item; `emptyIndex` when nothing is chosen.
int ShownIndex(const QComboBox* box, int emptyIndex);

} // namespace kirva
