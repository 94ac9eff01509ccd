// The texts of the messages that start-up and the hand-off file show, written once.
// Every one passes through the dictionary (section "KIRVA") before it is shown.
#pragma once

namespace kirva::texts {

inline constexpr const char* kKirvaIniMissing = "Le fichier Kirva.ini est introuvable !";
inline constexpr const char* kDecimalPointNeeded =
    "Pour un fonctionnement correct de l'application, vous devez configurer le symbole '.' (point) comme "
    "séparateur décimal. (Utilisez les paramètres régionaux du panneau de configuration.)";

} // namespace kirva::texts
