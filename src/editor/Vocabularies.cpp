#include "editor/Vocabularies.h"

#include <QComboBox>
#include <QLineEdit>
#include <QVariant>

#include "translate/translate.h"

namespace kirva {

namespace {

constexpr int kListCount = static_cast<int>(FieldList::CatalogueModels) + 1;

} // namespace

void VocabularyCache::Fill(const ProgramSettings& settings) {
    lists_.assign(kListCount, {});
    for (int l = 0; l < kListCount; ++l) {
        const auto list = static_cast<FieldList>(l);
        const bool translated = ListIsTranslated(list);
        for (const ListItem& item : ListItems(list, settings)) {
            const QString entry = QString::fromStdString(item.Entry);
            QString text = entry;
            if (translated && !item.Entry.empty()) {
                text = QString::fromStdString(TK_TRANSLATE::TranslateText(item.Entry, kDicoSection));
            }
            lists_[l].push_back({text, entry, item.Index});
        }
    }
}

const std::vector<VocabularyCache::Item>& VocabularyCache::Items(FieldList list) const {
    static const std::vector<Item> none;
    const auto l = static_cast<std::size_t>(list);
    return l < lists_.size() ? lists_[l] : none;
}

void FillComboBox(QComboBox* box, const std::vector<VocabularyCache::Item>& items) {
    box->clear();
    for (const auto& item : items) {
        box->addItem(item.Text);
        const int row = box->count() - 1;
        box->setItemData(row, item.Entry, kEntryRole);
        box->setItemData(row, item.Index, kIndexRole);
    }
}

QString ShownEntry(const QComboBox* box) {
    const int index = box->currentIndex();
    if (index >= 0 && box->currentText() == box->itemText(index)) {
        const QVariant entry = box->itemData(index, kEntryRole);
        return entry.isValid() ? entry.toString() : box->itemText(index);
    }
    return box->currentText();
}

void ShowEntry(QComboBox* box, const QString& entry) {
    int found = -1;
    for (int i = 0; i < box->count() && found < 0; ++i) {
        const QVariant e = box->itemData(i, kEntryRole);
        if ((e.isValid() ? e.toString() : box->itemText(i)) == entry) found = i;
    }
    if (found >= 0) {
        box->setCurrentIndex(found);
    } else if (box->isEditable()) {
        box->setCurrentIndex(-1);
        box->setEditText(entry);
    } else if (entry.isEmpty()) {
        box->setCurrentIndex(-1);
    } else {
        box->addItem(entry);
        box->setItemData(box->count() - 1, entry, kEntryRole);
        box->setItemData(box->count() - 1, -1, kIndexRole);
        box->setCurrentIndex(box->count() - 1);
    }
}

void ShowIndex(QComboBox* box, int index, int emptyIndex) {
    const int found = box->findData(index, kIndexRole);
    if (found >= 0) {
        box->setCurrentIndex(found);
    } else if (index == emptyIndex) {
        box->setCurrentIndex(-1);
    } else {
        const QString text = QString::number(index);
        box->addItem(text);
        box->setItemData(box->count() - 1, text, kEntryRole);
        box->setItemData(box->count() - 1, index, kIndexRole);
        box->setCurrentIndex(box->count() - 1);
    }
}

int ShownIndex(const QComboBox* box, int emptyIndex) {
    const int current = box->currentIndex();
    if (current < 0) return emptyIndex;
    const QVariant index = box->itemData(current, kIndexRole);
    return index.isValid() ? index.toInt() : emptyIndex;
}

} // namespace kirva
