// Text at the boundary between the core (UTF-8 std::string) and the window (QString).
#pragma once

#include <QString>
#include <string>

#include "translate/translate.h"

namespace kirva {

inline QString Q(const std::string& text) {
    return QString::fromStdString(text);
}

// A program text translated through the dictionary (section "KIRVA"), values put in for x1x, x2x ...
template <typename... Values>
QString Tr(const char* text, const Values&... values) {
    return QString::fromStdString(TK_TRANSLATE::TranslateText(text, kDicoSection, values...));
}

} // namespace kirva
