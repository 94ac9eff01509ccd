// The machine's ISO insertions ("cycles"): named pieces of NC text that the communication
// server inserts into a program, each with an optional bitmap and shortcut key. They are kept
// in section "INSERT" of the machine's insertion file (by default Iso.ini beside Telvar.ini).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lists/clsListOf.h"

namespace kirva {

// One insertion. In memory and in the file every line break of Iso is the three characters "<R>".
class clsInsertIsoInfo {
  public:
    const std::string& Iso() const { return iso_; }
    void Iso(const std::string& v) { iso_ = v; }
    const std::string& Bmp() const { return bmp_; }
    void Bmp(const std::string& v) { bmp_ = v; }
    // The reference shown in the list; "-" marks a separator line.
    const std::string& Name() const { return name_; }
    void Name(const std::string& v) { name_ = v; }
    // Shortcut key code: modifier digit ("0" none, "1" Shift, "2" Ctrl) + 3-digit virtual-key code.
    const std::string& Rac() const { return rac_; }
    void Rac(const std::string& v) { rac_ = v; }
    // Place in the displayed and saved order, from 1.
    std::int32_t Ordre() const { return ordre_; }
    void Ordre(std::int32_t v) { ordre_ = v; }

    void Init(const std::string& name, const std::string& iso, const std::string& bmp, const std::string& rac,
              std::int32_t ordre);
    clsInsertIsoInfo Clone() const { return *this; }
    // "Name=iso:...|bmp:...|Rac:...|", or "-" for a separator.
    std::string FNFormatForIni() const;
    const std::string& FNRef() const { return name_; }

  private:
    std::string iso_, bmp_, name_, rac_;
    std::int32_t ordre_ = 0;
};

class clsInsertIso : public clsListOf<clsInsertIsoInfo> {
  public:
    static constexpr const char* kSection = "INSERT";

    // Stores the path and loads the section; a missing file or section gives an empty list.
    void Init(const std::string& path);
    // Appends an insertion with empty Iso, Bmp and Rac, placed last (Ordre = NbElt + 1).
    void AddIso(const std::string& name);
    // Removes the insertion at a position of the collection (the order of adding, which right after
    // loading is the file order), not at a displayed order. Renumbers nothing. False when there is none.
    bool Delete(std::int32_t position);
    // Exchanges the orders of the insertions found by the two orders; nothing happens unless both exist.
    void SwitchOrdre(std::int32_t order1, std::int32_t order2);
    void SetOrdre(const std::string& name, std::int32_t order);
    void SetKey(const std::string& name, const std::string& iso, const std::string& bmp,
                const std::string& rac);
    void UpdateNameIso(const std::string& oldName, const std::string& newName);

    // Look-ups take the last insertion that matches; when none does they give a fresh empty
    // insertion that belongs to no list (a change made through it is lost).
    clsInsertIsoInfo& FNGetInfoIsoByOrder(std::int32_t order);
    std::string GetIso(const std::string& name) const;
    std::string GetBmp(const std::string& name) const;
    std::string GetRac(const std::string& name) const;
    // Name of the insertion at a position of the collection (from 1); "" when there is none.
    std::string GetName(std::int32_t position) const;
    // Name of the insertion found by order; "" when there is none.
    std::string GetNameByOrder(std::int32_t order) const;

    // Walks the orders 1..NbElt+1 (bridging the one gap a deletion leaves), gives the names in that
    // order and renumbers the insertions 1..N as it goes. This is how the list is refilled for display.
    std::vector<std::string> RenumberByOrder();

    // Writes every insertion at the line of its order as the whole section "INSERT". An order out of
    // 1..NbElt writes nothing and gives false; false too when the file could not be written. When two
    // insertions share an order (two of the same name after a refill) the later one in the collection
    // takes the line, as the list shows only one of them; an order left unused gives no line.
    bool Save() const;

  private:
    std::int32_t LastPositionOfOrder(std::int32_t order) const;
};

// Shortcut key code to the text shown: "1113" -> "Shift + F2", "2065" -> "Ctrl + A". Codes of
// other keys than A..Z and F1..F12 have no text ("").
std::string RacToText(const std::string& code);
// Text typed or shown to the key code: "Ctrl + F12" -> "2123", "a" -> "0097", "" -> "".
std::string TextToRac(const std::string& text);

} // namespace kirva
