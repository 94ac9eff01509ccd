// The message-box service of the window: a modal box that stays above other windows.
#pragma once

#include "translate/messages.h"

namespace kirva {

class QtMessageService : public MessageService {
  public:
    MsgAnswer Show(const std::string& text, int icon, MsgButtons buttons) override;
};

// True when KIRVA_MESSAGES=stderr asks for messages on standard error instead of boxes.
bool MessagesToStandardError();

} // namespace kirva
