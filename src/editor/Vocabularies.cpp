#include "editor/Vocabularies.h"

#include <QComboBox>
#include <QLineEdit>
#include <QVariant>

#include "translate/translate.h"

namespace kirva {

namespace {

template <typename Array>
std::vector<ListItem> All(const Array& entries, std::size_t from = 0) {
    std::vector<ListItem> items;
    for (std::size_t i = from; i < entries.size(); ++i) items.push_back({entries[i], static_cast<int>(i)});
    return items;
}

std::vector<ListItem> FromSettings(const std::vector<std::string>& values) {
    // Index 0 of the hand-off lists is unused; empty values offer nothing to choose.
    std::vector<ListItem> items;
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (!values[i].empty()) items.push_back({values[i], static_cast<int>(i)});
    }
    return items;
}

std::vector<ListItem> Numbers(int first, int last) {
    std::vector<ListItem> items;
    for (int n = first; n <= last; ++n) items.push_back({std::to_string(n), n});
    return items;
}

constexpr std::array<const char*, 2> kConnectionRoles{"Client", "Serveur"};
constexpr std::array<const char*, 2> kHeaderModes{"Cartouche complet", "Cartouche compact"};
constexpr std::array<const char*, 2> kHeaderVisibility{"Masqué", "Visible"};

constexpr int kListCount = static_cast<int>(FieldList::CatalogueModels) + 1;

} // namespace

std::vector<ListItem> ListItems(FieldList list, const ProgramSettings& settings) {
    using L = FieldList;
    switch (list) {
    case L::None:
    case L::CatalogueGroups:
    case L::CatalogueModels:
        return {};
    case L::SerialSpeeds:
        return All(vocab::SerialSpeeds);
    case L::Parities:
        return All(vocab::Parities);
    case L::StopBits:
        return All(vocab::StopBits);
    case L::FlowControls:
        return All(vocab::FlowControls);
    case L::TransferMethods:
        return All(vocab::TransferMethods, 1);
    case L::ReadingModes:
        return All(vocab::ReadingModes);
    case L::MultiProgModes:
        return All(vocab::MultiProgModes);
    case L::InternetServices:
        return All(vocab::InternetServices);
    case L::StartConditions:
        return All(vocab::StartConditions);
    case L::BlockSizes:
        return All(vocab::BlockSizes);
    case L::OpeningModes:
        return All(vocab::OpeningModes);
    case L::NumberingModes:
        return All(vocab::NumberingModes);
    case L::MachiningTypes:
        return All(vocab::MachiningTypes, 1);
    case L::InsertionPositions:
        return All(vocab::InsertionPositions);
    case L::CommentPositions:
        return All(vocab::CommentPositions);
    case L::Steps10To65:
        return All(vocab::Steps10To65);
    case L::Steps10To240:
        return All(vocab::Steps10To240);
    case L::ComPorts:
        return Numbers(1, 16);
    case L::DataBits:
        return Numbers(5, 8);
    case L::FolderNodes:
        return FromSettings(settings.RefDirNode);
    case L::Specificities:
        return FromSettings(settings.Spe);
    case L::ConnectionRoles:
        return All(kConnectionRoles);
    case L::HeaderModes:
        return All(kHeaderModes);
    case L::HeaderVisibility:
        return All(kHeaderVisibility);
    }
    return {};
}

bool ListIsTranslated(FieldList list) {
    using L = FieldList;
    switch (list) {
    case L::Parities:
    case L::FlowControls:
    case L::TransferMethods:
    case L::ReadingModes:
    case L::MultiProgModes:
    case L::StartConditions:
    case L::OpeningModes:
    case L::NumberingModes:
    case L::MachiningTypes:
    case L::InsertionPositions:
    case L::CommentPositions:
    case L::ConnectionRoles:
    case L::HeaderModes:
    case L::HeaderVisibility:
        return true;
    default:
        return false;
    }
}

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
