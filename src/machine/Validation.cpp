#include "machine/Validation.h"

#include "ini/helpers.h"

namespace kirva {

namespace {

constexpr int kAppCallingNew = 1;
constexpr int kModeTransferProgram = 2;

// How a character is named in the message: quoted as it is, or by its code when it is invisible.
std::string Shown(unsigned char c) {
    if (c < 0x20 || c == 0x7F) {
        static const char* hex = "0123456789ABCDEF";
        return std::string("le caractère de code 0x") + hex[c >> 4] + hex[c & 15];
    }
    return std::string("\"") + static_cast<char>(c) + "\"";
}

} // namespace

bool IsDuplicateReference(const std::string& typed, const std::vector<std::string>& known, int appCalling) {
    if (appCalling != kAppCallingNew) return false;
    const std::string wanted = ToUpper(Trim(typed));
    // An empty reference occurs inside every other one: it is the field check's to refuse,
    // with the message that asks for a reference.
    if (wanted.empty()) return false;
    for (std::size_t n = 1; n < known.size(); ++n)
        if (ToUpper(known[n]).find(wanted) != std::string::npos) return true;
    return false;
}

std::optional<std::string> ReferenceFileNameProblem(const std::string& reference) {
    if (reference.find("..") != std::string::npos) return std::string("\"..\"");
    for (const char ch : reference) {
        const auto c = static_cast<unsigned char>(ch);
        if (c < 0x20 || c == 0x7F || std::string_view("/\\<>:\"|?*").find(ch) != std::string_view::npos)
            return Shown(c);
    }
    return std::nullopt;
}

std::optional<std::string> RequiredFieldProblem(int mode, const std::string& reference,
                                                const std::string& serverFolder) {
    if (Trim(reference).empty()) return std::string(kReferenceNeeded);
    if (Trim(serverFolder).empty())
        return std::string(mode == kModeTransferProgram ? kServerFolderNeededTransfer : kServerFolderNeeded);
    return std::nullopt;
}

} // namespace kirva
