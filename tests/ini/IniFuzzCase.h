// One fuzz input for the INI parser: any bytes must parse, give themselves back unchanged, answer
// queries and take edits whose results read back. Shared by the corpus-replay test and the
// libFuzzer target. Returns "" when every check holds, otherwise what failed.
#pragma once

#include <string>
#include <string_view>

#include "ini/document.h"

namespace kirva::test {

inline std::string FuzzIniDocument(std::string_view data) {
    using ini::Document;
    using ini::Edit;
    const Document doc = Document::Parse(data);
    if (doc.Serialize() != data) return "parse and serialize is not byte-exact";

    // Names: fixed ones, and one made of the printable ASCII of the input that a header could hold.
    std::string derived;
    for (const char c : data.substr(0, 64))
        if (c > ' ' && c < 0x7F && c != '[' && c != ']' && c != '=' && c != ';' && derived.size() < 6)
            derived.push_back(c);
    const std::string names[] = {"S", "", derived};

    std::string text;
    for (const std::string& section : names) {
        doc.FindValue(section, "k", text);
        doc.SectionText(section, text);

        Document edited = doc;
        edited.Apply(Edit{Edit::SetKey, section, "k", "v1"});
        const Document again = Document::Parse(edited.Serialize());
        if (!edited.FindValue(section, "k", text) || text != "v1") return "written key does not read back";
        if (!again.FindValue(section, "k", text) || text != "v1")
            return "written key does not read back from disk";

        edited.Apply(Edit{Edit::ReplaceSection, section, "", std::string("a=1\0b= 2\r\nc\0", 12)});
        const Document reread = Document::Parse(edited.Serialize());
        const std::string expected("a=1\0b=2\0c\0", 10);
        if (!edited.SectionText(section, text) || text != expected) return "replaced section differs";
        if (!reread.SectionText(section, text) || text != expected) return "replaced section differs on disk";

        edited.Apply(Edit{Edit::DeleteKey, section, "a", ""});
        edited.Apply(Edit{Edit::DeleteSection, section, "", ""});
        const std::string bytes = edited.Serialize();
        if (Document::Parse(bytes).Serialize() != bytes) return "edited document is not byte-exact";
    }
    return {};
}

} // namespace kirva::test
