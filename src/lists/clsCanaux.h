// The channels of a multi-channel machine (name, number, and the prefix and suffix that mark the
// channel's part of a program), kept in section "CANAUX" of Telvar.ini.
#pragma once

#include <cstdint>
#include <string>

#include "lists/clsListOf.h"

namespace kirva {

class clsCanauxInfos {
  public:
    const std::string& RefCanal() const { return refCanal_; }
    void RefCanal(const std::string& v) { refCanal_ = v; }
    const std::string& Pref() const { return pref_; }
    void Pref(const std::string& v) { pref_ = v; }
    const std::string& Suff() const { return suff_; }
    void Suff(const std::string& v) { suff_ = v; }
    std::int32_t Canal() const { return canal_; }
    void Canal(std::int32_t v) { canal_ = v; }

    void Init(const std::string& refCanal, std::int32_t canal, const std::string& pref,
              const std::string& suff);
    // Reads "ref:", "Pref:", "Suff:", "Canal:" from a file line, then Init.
    void InitByTag(const std::string& line);
    // "ref:P1|Pref:$1|Suff:|Canal:1|".
    std::string FNFormatForIni() const;
    const std::string& FNRef() const { return refCanal_; }

  private:
    std::string refCanal_, pref_, suff_;
    std::int32_t canal_ = 0;
};

class clsCanaux : public clsListOf<clsCanauxInfos> {
  public:
    static constexpr const char* kSection = "CANAUX";

    // Stores the path and loads the section (the list is emptied first).
    void Init(const std::string& path);
    // Appends a channel under a unique name (name, name_1, name_2 ...).
    void Add(const std::string& name, std::int32_t canal, const std::string& pref, const std::string& suff);
    // Overwrites the channel named oldName; when there is none, adds one as Add does. A rename to a
    // name that another channel already holds is refused: nothing changes and false is returned.
    bool Modif(const std::string& oldName, const std::string& name, std::int32_t canal,
               const std::string& pref, const std::string& suff);
    // Removes the first channel of that name, if any.
    void Delete(const std::string& name);

    // Name of the channel at a position (from 1); "" when there is none.
    std::string FNGetRefCanal(std::int32_t position) const;
    // Properties of the first channel of that name; an unknown name gives 0 or "".
    std::int32_t FNGetNumCanal(const std::string& name) const;
    std::string FNGetPref(const std::string& name) const;
    std::string FNGetSuff(const std::string& name) const;

    // Deletes the section and writes one line a channel, in list order, as one flush; with no
    // channel the section is gone. False when the file could not be written.
    bool Save() const;
};

// A channel number typed or read from the file: the leading number, rounded to the nearest integer
// (halves to even) and kept within 32 bits; "2a" gives 2, "abc" gives 0.
std::int32_t ChannelNumberFromText(const std::string& text);

} // namespace kirva
