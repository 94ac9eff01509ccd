// Every message to the user goes through one message-box service, after translation.
// The window installs a Qt service; tests install a recording one; with the environment
// variable KIRVA_MESSAGES=stderr each message is one line "<icon>: <text>" on standard
// error and every question is answered No.
#pragma once

#include <string>
#include <vector>

#include "translate/translate.h"

namespace kirva {

enum MsgIcon : int {
    IconNone = 0,
    IconCritical = 16,
    IconQuestion = 32,
    IconWarning = 48,
    IconInformation = 64
};
enum class MsgButtons { Ok, YesNo };
enum class MsgAnswer { Ok, Yes, No };

class MessageService {
  public:
    virtual ~MessageService() = default;
    // text is already translated.
    virtual MsgAnswer Show(const std::string& text, int icon, MsgButtons buttons) = 0;
};

// The service in use (never null). Passing nullptr restores the default one, which
// writes to standard error ("<icon>: <text>") and answers No.
MessageService& Messages();
void SetMessageService(MessageService* service);

// Translates text (section "KIRVA", values for "x1x" ...) and shows it.
template <typename... Values>
MsgAnswer ShowMessage(const std::string& text, int icon, MsgButtons buttons, const Values&... values) {
    return Messages().Show(TK_TRANSLATE::TranslateText(text, kDicoSection, values...), icon, buttons);
}
inline MsgAnswer ShowMessage(const std::string& text, int icon) {
    return ShowMessage(text, icon, MsgButtons::Ok);
}

// The suite's catalogue of numbered messages ("" for an unknown number).
std::string CatalogueText(int number);
// Shows catalogue message number (translated) with the icon.
MsgAnswer ShowCatalogueMessage(int number, int icon);

} // namespace kirva
