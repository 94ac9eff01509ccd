#include "lists/clsCanaux.h"

#include <cmath>
#include <limits>

namespace kirva {

std::int32_t ChannelNumberFromText(const std::string& text) {
    const double value = RoundHalfEven(ParseLeadingNumber(text));
    if (std::isnan(value)) return 0;
    if (value >= static_cast<double>(std::numeric_limits<std::int32_t>::max()))
        return std::numeric_limits<std::int32_t>::max();
    if (value <= static_cast<double>(std::numeric_limits<std::int32_t>::min()))
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
}

void clsCanauxInfos::Init(const std::string& refCanal, std::int32_t canal, const std::string& pref,
                          const std::string& suff) {
    refCanal_ = refCanal;
    canal_ = canal;
    pref_ = pref;
    suff_ = suff;
}

void clsCanauxInfos::InitByTag(const std::string& line) {
    Init(GetTagValue(line, "ref:"), ChannelNumberFromText(GetTagValue(line, "Canal:")),
         GetTagValue(line, "Pref:"), GetTagValue(line, "Suff:"));
}

std::string clsCanauxInfos::FNFormatForIni() const {
    return "ref:" + refCanal_ + "|Pref:" + pref_ + "|Suff:" + suff_ +
           "|Canal:" + FormatValue(static_cast<std::int64_t>(canal_)) + "|";
}

void clsCanaux::Init(const std::string& path) {
    path_ = path;
    items_.clear();
    for (const std::string& line : ReadTagLines(path_, kSection)) {
        clsCanauxInfos channel;
        channel.InitByTag(line);
        items_.push_back(channel);
    }
}

void clsCanaux::Add(const std::string& name, std::int32_t canal, const std::string& pref,
                    const std::string& suff) {
    clsCanauxInfos channel;
    channel.Init(UniqueName(name), canal, pref, suff);
    items_.push_back(channel);
}

bool clsCanaux::Modif(const std::string& oldName, const std::string& name, std::int32_t canal,
                      const std::string& pref, const std::string& suff) {
    const std::int32_t position = FirstPosition(oldName);
    if (position == 0) {
        Add(name, canal, pref, suff);
        return true;
    }
    if (name != oldName && Exists(name)) return false;
    At(position).Init(name, canal, pref, suff);
    return true;
}

void clsCanaux::Delete(const std::string& name) {
    RemoveAt(FirstPosition(name));
}

std::string clsCanaux::FNGetRefCanal(std::int32_t position) const {
    return At(position).RefCanal();
}
std::int32_t clsCanaux::FNGetNumCanal(const std::string& name) const {
    return At(FirstPosition(name)).Canal();
}
std::string clsCanaux::FNGetPref(const std::string& name) const {
    return At(FirstPosition(name)).Pref();
}
std::string clsCanaux::FNGetSuff(const std::string& name) const {
    return At(FirstPosition(name)).Suff();
}

bool clsCanaux::Save() const {
    return WriteLines(kSection, FormattedLines(), true);
}

} // namespace kirva
