#include "machine/HeaderPreview.h"

#include <algorithm>

#include "machine/Vocabularies.h"

namespace kirva {

std::vector<std::string> HeaderPreview(const MachineConfig& m) {
    std::vector<std::string> lines;
    const std::string end = m.EOB.empty() ? std::string() : " " + ReadableCharacters(m.EOB);
    auto add = [&](const std::string& text) { lines.push_back(ReadableText(text) + end); };

    if (!m.CarDebProg.empty()) add(m.CarDebProg);
    const std::string number =
        std::string(static_cast<std::size_t>(std::clamp<int>(m.NbDigitNumProg, 1, 12) - 1), '0') + "1";
    add(number);
    if (m.HeaderVisible) {
        // The header's lines are comments: its own character, else the comment characters.
        const std::string open = m.CarCartouche.empty() ? m.CarDebCom : m.CarCartouche;
        const std::string close = m.CarFinCom;
        std::vector<std::string> header{"PROGRAMME " + number, "MACHINE " + m.RefMO};
        if (!m.HeaderText.empty()) header.push_back(m.HeaderText);
        if (m.InsertMode == 1) { // compact: one line
            std::string joined;
            for (const std::string& h : header) joined += (joined.empty() ? "" : " - ") + h;
            header = {joined};
        }
        for (const std::string& h : header) add(open + h + close);
    }
    const int first = m.NumBloc1, step = m.IncrBloc > 0 ? m.IncrBloc : 1;
    add(m.CarDebBloc + std::to_string(first) + (m.BlocDeb.empty() ? "" : " " + m.BlocDeb));
    add(m.CarDebBloc + std::to_string(first + step) + " ...");
    return lines;
}

} // namespace kirva
