// frmKirva: the hints beside the fields that a mistake costs most on the shop floor: character
// codes shown by name ("13,10" is <CR><LF>), a COM port this computer does not have, and a TCP or
// COM port that another machine of the workshop already uses (the rule of "kirva-cli check").
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <string_view>

#include "editor/QtText.h"
#include "editor/frmKirva.h"
#include "ini/clsIniVar.h"
#include "machine/Vocabularies.h"
#include "platform/platform.h"
#include "workshop/Workshop.h"

namespace kirva {

namespace {

inline constexpr const char* kPortMissingHint = "Port absent de ce poste";
// x1x the machine that uses the port.
inline constexpr const char* kPortUsedHint = "Aussi utilisé par x1x";

// The keys whose value is characters, typed as they are or as codes.
bool HoldsCharacters(std::string_view key) {
    for (const char* k :
         {"EOB", "BOT", "EOT", "BOR", "EOR", "TCarFiltered", "TCarFilteredBy", "RCarFiltered",
          "RCarFilteredBy", "CarSepAppel", "SepCarMultiAppel", "MarqueurDebAppel", "MarqueurFinAppel"})
        if (key == k) return true;
    return false;
}

bool IsPortListen(const FieldDef& def) {
    return def.Section != nullptr && std::string_view(def.Key) == "PortListen";
}

bool IsSerialPort(const FieldDef& def) {
    return def.Section != nullptr && std::string_view(def.Key) == "NumPort";
}

} // namespace

bool frmKirva::FieldHasHint(const FieldDef& def) const {
    return def.Section != nullptr && (HoldsCharacters(def.Key) || IsPortListen(def) || IsSerialPort(def));
}

void frmKirva::UpdateHint(const FieldDef& def) {
    QLabel* hint = hints_.value(Q(FieldObjectName(def)), nullptr);
    QWidget* w = WidgetOf(def);
    if (hint == nullptr || w == nullptr) return;
    QString text;
    if (auto* line = qobject_cast<QLineEdit*>(w)) text = line->text();
    if (auto* box = qobject_cast<QComboBox*>(w)) text = box->currentText();
    QString shown;
    bool warning = false;
    if (HoldsCharacters(def.Key)) {
        shown = Q(ReadableCharacters(text.toStdString()));
    } else {
        const auto port = ParseInt32(text.trimmed().toStdString()).value_or(0);
        const auto& others = IsPortListen(def) ? otherTcp_ : otherSerial_;
        if (port > 0 && IsSerialPort(def) && !platform::SerialPortExists(port)) {
            shown = Tr(kPortMissingHint);
        } else if (const auto owner = others.find(port); port > 0 && owner != others.end()) {
            shown = Tr(kPortUsedHint, owner->second);
        }
        warning = !shown.isEmpty();
    }
    hint->setText(shown);
    hint->setStyleSheet(warning ? QStringLiteral("color: #b00020;") : QString());
}

void frmKirva::LoadWorkshopPorts() {
    // The other machines of the caller's file, read once the window is shown.
    workshop::Workshop shop;
    std::string error;
    if (!workshop::LoadWorkshop(state_.Settings.PathAppCallingIni, shop, error)) return;
    const auto owners = workshop::PortsOfOtherMachines(shop, AddMode() ? 0 : state_.Settings.CurrentIndexMO);
    otherTcp_ = owners.Tcp;
    otherSerial_ = owners.Serial;
    for (const FieldDef& def : FieldTable())
        if (FieldHasHint(def)) UpdateHint(def);
}

} // namespace kirva
