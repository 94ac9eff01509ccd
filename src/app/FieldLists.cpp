#include "app/FieldLists.h"

#include <array>

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

bool ValueInFieldList(const FieldDef& def, const std::string& stored, const ProgramSettings& settings) {
    if (stored.empty()) return true;
    switch (def.Conv) {
    case FieldConv::Parity:
        return stored.size() == 1 && std::string_view("EONM").find(stored[0]) != std::string_view::npos;
    case FieldConv::FlowControl:
        return stored.size() == 1 && stored[0] >= '0' &&
               stored[0] < '0' + static_cast<int>(vocab::FlowControls.size());
    case FieldConv::Index: {
        const std::vector<ListItem> items = ListItems(def.List, settings);
        if (items.empty()) return true;
        // A number reads as 0 when it is missing: a list whose entries start above 0 shows nothing.
        if (stored == "0" && items.front().Index > 0) return true;
        for (const ListItem& item : items) {
            if (stored == std::to_string(item.Index)) return true;
        }
        return false;
    }
    case FieldConv::Text:
        if (def.Widget != FieldWidget::Combo) return true;
        for (const ListItem& item : ListItems(def.List, settings)) {
            if (stored == item.Entry) return true;
        }
        return false;
    default:
        return true;
    }
}

} // namespace kirva
