// The pattern shared by the machine's lists: a collection of elements kept in the order in
// which they were added, loaded from one INI section whose lines are "tag:value|" lists and
// saved by rewriting that whole section from each element's FNFormatForIni.
// The three lists (ISO insertions, reference plans, channels) differ only in their elements
// and in a few rules that each of them adds on top of this base.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "ini/profile.h"

namespace kirva {

// What an element of a list offers: its reference (the name shown to the user) and its file line.
template <typename Info>
concept ListElement = std::default_initializable<Info> && std::copyable<Info> && requires(const Info& info) {
    { info.FNRef() } -> std::convertible_to<std::string>;
    { info.FNFormatForIni() } -> std::convertible_to<std::string>;
};

template <ListElement Info>
class clsListOf {
  public:
    // Number of elements.
    std::int32_t NbElt() const { return static_cast<std::int32_t>(items_.size()); }
    // The file the list was loaded from and is saved to.
    const std::string& Path() const { return path_; }
    // Moves the list to another file: the next Save writes its elements there.
    void SetPath(const std::string& path) { path_ = path; }
    // The elements in collection order (for display and checks; changes go through the list's operations).
    const std::vector<Info>& Items() const { return items_; }

  protected:
    // Position (from 1) of the first / the last element whose reference equals name exactly; 0 when none.
    std::int32_t FirstPosition(const std::string& name) const {
        for (std::size_t i = 0; i < items_.size(); ++i)
            if (items_[i].FNRef() == name) return static_cast<std::int32_t>(i + 1);
        return 0;
    }
    std::int32_t LastPosition(const std::string& name) const {
        for (std::size_t i = items_.size(); i > 0; --i)
            if (items_[i - 1].FNRef() == name) return static_cast<std::int32_t>(i);
        return 0;
    }
    bool Exists(const std::string& name) const { return FirstPosition(name) > 0; }

    // The element at a position (from 1). Outside 1..NbElt a fresh empty element that belongs to no
    // list is returned: a change made through it is lost. The reference is valid until the list changes.
    Info& At(std::int32_t position) {
        if (position >= 1 && position <= NbElt()) return items_[static_cast<std::size_t>(position - 1)];
        detached_ = Info{};
        return detached_;
    }
    const Info& At(std::int32_t position) const {
        if (position >= 1 && position <= NbElt()) return items_[static_cast<std::size_t>(position - 1)];
        detached_ = Info{};
        return detached_;
    }

    // The given name when no element holds it, otherwise name_1, name_2 ... the first that is free.
    std::string UniqueName(const std::string& name) const {
        std::string candidate = name;
        for (std::int64_t n = 1; Exists(candidate); ++n) candidate = name + "_" + std::to_string(n);
        return candidate;
    }

    // Removes the element at a position (from 1); false when there is none.
    bool RemoveAt(std::int32_t position) {
        if (position < 1 || position > NbElt()) return false;
        items_.erase(items_.begin() + (position - 1));
        return true;
    }

    // The lines of a section through the INI access object (comment lines starting with "'" left out).
    static std::vector<std::string> ReadTagLines(const std::string& path, const std::string& section) {
        clsIniVar ini;
        ini.Init(path, section, "", "");
        std::vector<std::string> tab = ini.ReadSectionInTab();
        if (!tab.empty()) tab.erase(tab.begin()); // index 0 is always the empty string
        return tab;
    }

    // The lines of a section through the section reader (comments stripped, "''" undoubled).
    static std::vector<std::string> ReadCleanLines(const std::string& path, const std::string& section) {
        std::vector<std::string> lines;
        const std::int16_t count = ReadSectionLines(path, section, lines);
        std::vector<std::string> kept;
        for (std::int16_t i = 1; i <= count && static_cast<std::size_t>(i) < lines.size(); ++i)
            kept.push_back(lines[static_cast<std::size_t>(i)]);
        return kept;
    }

    // Writes the lines as the whole content of the section, as one flush of the file. With
    // removeFirst the section is deleted first, so that an empty list leaves no section at all.
    // True only when the section reached the disk: false when the file could not be written (a
    // folder, an unreadable or oversized file, a full disk ...); the file on disk is then unchanged.
    bool WriteLines(const std::string& section, const std::vector<std::string>& lines,
                    bool removeFirst) const {
        if (path_.empty()) return false;
        try {
            ini::BatchScope batch;
            if (removeFirst) ini::WriteProfileString(path_, section, std::nullopt, std::nullopt);
            if (!removeFirst || !lines.empty()) WriteSectionLines(path_, section, lines);
            return batch.Flush() && batch.Ok();
        } catch (...) {
            return false;
        }
    }

    // Every element's file line, in collection order.
    std::vector<std::string> FormattedLines() const {
        std::vector<std::string> lines;
        lines.reserve(items_.size());
        for (const Info& info : items_) lines.push_back(info.FNFormatForIni());
        return lines;
    }

    std::string path_;
    std::vector<Info> items_;

  private:
    mutable Info detached_;
};

} // namespace kirva
