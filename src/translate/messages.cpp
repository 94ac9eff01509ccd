#include "translate/messages.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace kirva {

namespace {

// Numbered messages shared with the rest of the suite.
struct CatalogueEntry {
    int number;
    std::string_view text;
};

constexpr std::array kCatalogue{
    CatalogueEntry{244, "Le fichier d'initialisation du Port DNC est introuvable."},
};

// The service used when nobody installed one: one line on standard error, questions answered No.
class StandardErrorMessages : public MessageService {
  public:
    MsgAnswer Show(const std::string& text, int icon, MsgButtons buttons) override {
        std::string line;
        line.reserve(text.size());
        for (std::size_t i = 0; i < text.size(); ++i) {
            const char c = text[i];
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
            line += (c == '\r' || c == '\n') ? ' ' : c;
        }
        std::fprintf(stderr, "%d: %s\n", icon, line.c_str());
        std::fflush(stderr);
        return buttons == MsgButtons::YesNo ? MsgAnswer::No : MsgAnswer::Ok;
    }
};

StandardErrorMessages& DefaultService() {
    static StandardErrorMessages service;
    return service;
}

MessageService* current = nullptr;

} // namespace

MessageService& Messages() {
    return current != nullptr ? *current : DefaultService();
}

void SetMessageService(MessageService* service) {
    current = service;
}

std::string CatalogueText(int number) {
    for (const auto& entry : kCatalogue) {
        if (entry.number == number) return std::string(entry.text);
    }
    return {};
}

MsgAnswer ShowCatalogueMessage(int number, int icon) {
    return ShowMessage(CatalogueText(number), icon, MsgButtons::Ok);
}

} // namespace kirva
