// The checks an apply makes before anything is written: the duplicate reference, the fields that
// must be filled, and a reference that can name the machine's folders and files.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kirva {

inline constexpr const char* kDuplicateReference = "Une machine comporte déjà cette référence !";
inline constexpr const char* kReferenceNeeded = "Vous devez attribuer une référence à cette machine !";
inline constexpr const char* kServerFolderNeededTransfer =
    "Vous devez associer un dossier Port DNC à cette machine !";
inline constexpr const char* kServerFolderNeeded = "Vous devez associer un dossier à cette machine !";
// x1x the reference, x2x what in it cannot stand in a file name.
inline constexpr const char* kReferenceNotAFileName =
    "La référence x1x ne peut pas servir de nom de fichier : elle contient x2x.";

// For a new machine (appCalling 1): whether the typed reference, trimmed and upper-cased, occurs
// anywhere inside one of the known references (indexes 1 ... of `known`, upper-cased). A new
// reference that is part of an existing one is refused on purpose. A modified machine is never
// a duplicate, nor is an empty reference (the field check asks for one).
bool IsDuplicateReference(const std::string& typed, const std::vector<std::string>& known, int appCalling);

// What in a reference keeps it from naming a folder or a file on every system the suite runs on:
// a path separator, "..", a control character, or one of < > : " | ? * (which a Windows file
// name cannot hold), as the text that the message shows; nullopt for a usable reference.
std::optional<std::string> ReferenceFileNameProblem(const std::string& reference);

// The first of the field checks of an apply that fails, as the message to show (critical icon):
// an empty reference, then an empty communication-server folder (its words depend on the calling
// program: mode 2 is the DNC transfer program). nullopt when both are filled.
std::optional<std::string> RequiredFieldProblem(int mode, const std::string& reference,
                                                const std::string& serverFolder);

} // namespace kirva
