#include "lists/clsInsertIso.h"

#include <cmath>
#include <utility>

#include "ini/codepage.h"

namespace kirva {

namespace {

std::string ThreeDigits(long long code) {
    std::string digits = std::to_string(code);
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    return digits;
}

} // namespace

void clsInsertIsoInfo::Init(const std::string& name, const std::string& iso, const std::string& bmp,
                            const std::string& rac, std::int32_t ordre) {
    name_ = name;
    iso_ = iso;
    bmp_ = bmp;
    rac_ = rac;
    ordre_ = ordre;
}

std::string clsInsertIsoInfo::FNFormatForIni() const {
    if (name_ == "-") return "-";
    return name_ + "=iso:" + iso_ + "|bmp:" + bmp_ + "|Rac:" + rac_ + "|";
}

void clsInsertIso::Init(const std::string& path) {
    path_ = path;
    const std::vector<std::string> lines = ReadCleanLines(path_, kSection);
    items_.clear();
    std::int32_t order = 0;
    for (const std::string& line : lines) {
        clsInsertIsoInfo info;
        info.Init(line.substr(0, line.find('=')), GetTagValue(line, "iso:"), GetTagValue(line, "bmp:"),
                  GetTagValue(line, "Rac:"), ++order);
        items_.push_back(info.Clone());
    }
}

void clsInsertIso::AddIso(const std::string& name) {
    clsInsertIsoInfo info;
    info.Init(name, "", "", "", NbElt() + 1);
    items_.push_back(info);
}

bool clsInsertIso::Delete(std::int32_t position) {
    return RemoveAt(position);
}

std::int32_t clsInsertIso::LastPositionOfOrder(std::int32_t order) const {
    for (std::size_t i = items_.size(); i > 0; --i)
        if (items_[i - 1].Ordre() == order) return static_cast<std::int32_t>(i);
    return 0;
}

void clsInsertIso::SwitchOrdre(std::int32_t order1, std::int32_t order2) {
    const std::int32_t p1 = LastPositionOfOrder(order1);
    const std::int32_t p2 = LastPositionOfOrder(order2);
    if (p1 == 0 || p2 == 0) return;
    clsInsertIsoInfo& a = At(p1);
    clsInsertIsoInfo& b = At(p2);
    const std::int32_t saved = a.Ordre();
    a.Ordre(b.Ordre());
    b.Ordre(saved);
}

void clsInsertIso::SetOrdre(const std::string& name, std::int32_t order) {
    At(LastPosition(name)).Ordre(order);
}

void clsInsertIso::SetKey(const std::string& name, const std::string& iso, const std::string& bmp,
                          const std::string& rac) {
    clsInsertIsoInfo& info = At(LastPosition(name));
    info.Bmp(bmp);
    info.Iso(iso);
    info.Rac(rac);
}

void clsInsertIso::UpdateNameIso(const std::string& oldName, const std::string& newName) {
    At(LastPosition(oldName)).Name(newName);
}

clsInsertIsoInfo& clsInsertIso::FNGetInfoIsoByOrder(std::int32_t order) {
    return At(LastPositionOfOrder(order));
}

std::string clsInsertIso::GetIso(const std::string& name) const {
    return At(LastPosition(name)).Iso();
}
std::string clsInsertIso::GetBmp(const std::string& name) const {
    return At(LastPosition(name)).Bmp();
}
std::string clsInsertIso::GetRac(const std::string& name) const {
    return At(LastPosition(name)).Rac();
}
std::string clsInsertIso::GetName(std::int32_t position) const {
    return At(position).Name();
}
std::string clsInsertIso::GetNameByOrder(std::int32_t order) const {
    return At(LastPositionOfOrder(order)).Name();
}

std::vector<std::string> clsInsertIso::RenumberByOrder() {
    std::vector<std::string> names;
    const std::int32_t count = NbElt();
    for (std::int32_t order = 1; order <= count + 1; ++order) {
        const std::string name = GetNameByOrder(order);
        if (name.empty()) continue;
        names.push_back(name);
        SetOrdre(name, static_cast<std::int32_t>(names.size()));
    }
    return names;
}

bool clsInsertIso::Save() const {
    const std::size_t count = items_.size();
    std::vector<std::string> slots(count);
    std::vector<bool> used(count, false);
    for (const clsInsertIsoInfo& info : items_) {
        const std::int32_t order = info.Ordre();
        if (order < 1 || static_cast<std::size_t>(order) > count) return false;
        // Two insertions of the same name share an order after a refill: the later one takes the line.
        const std::size_t slot = static_cast<std::size_t>(order - 1);
        slots[slot] = info.FNFormatForIni();
        used[slot] = true;
    }
    std::vector<std::string> lines;
    lines.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        if (used[i]) lines.push_back(std::move(slots[i]));
    return WriteLines(kSection, lines, false);
}

std::string RacToText(const std::string& code) {
    if (code.empty()) return "";
    std::string prefix;
    if (code[0] == '1')
        prefix = "Shift + ";
    else if (code[0] == '2')
        prefix = "Ctrl + ";
    const double number = ParseLeadingNumber(code.substr(1));
    if (number >= 65 && number <= 90 && number == std::floor(number))
        return prefix + static_cast<char>(static_cast<int>(number));
    if (number >= 112 && number <= 123 && number == std::floor(number))
        return prefix + "F" + std::to_string(static_cast<int>(number) - 111);
    return "";
}

std::string TextToRac(const std::string& text) {
    if (text.empty()) return "";
    const char modifier = text.find("Shift") != std::string::npos  ? '1'
                          : text.find("Ctrl") != std::string::npos ? '2'
                                                                   : '0';
    const std::size_t plus = text.find('+');
    const std::string key = Trim(plus == std::string::npos ? text : text.substr(plus + 1));
    if (key.empty()) return "";
    const std::string rest = key.substr(1);
    if (key[0] == 'F' && !rest.empty() && rest.size() <= 9 &&
        rest.find_first_not_of("0123456789") == std::string::npos)
        return modifier + ThreeDigits(111 + std::stoll(rest));
    const int byte = ini::UnicodeToCp1252(ini::DecodeUtf8(key, 0).codePoint);
    return modifier + ThreeDigits(byte < 0 ? '?' : byte);
}

} // namespace kirva
