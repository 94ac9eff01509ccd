// Translates a whole window in place: its title and the captions of its controls.
#pragma once

#include <string>

class QWidget;

namespace kirva::TK_TRANSLATE {

// Title, then, in the window's own order, check boxes, labels, push buttons, radio buttons,
// group box titles, menu actions (separators and "-" left alone) and the tabs of tab bars
// (tab widgets included). Empty captions and other widgets are left alone. Each caption is
// looked up as the program holds it, "&" mnemonic included.
void TranslateForm(QWidget* window, const std::string& section);

} // namespace kirva::TK_TRANSLATE
