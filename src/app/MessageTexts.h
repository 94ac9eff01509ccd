// The texts of the messages that start-up and the hand-off file show, written once.
// Every one passes through the dictionary (section "KIRVA") before it is shown.
#pragma once

namespace kirva::texts {

inline constexpr const char* kKirvaIniMissing = "Le fichier Kirva.ini est introuvable !";
inline constexpr const char* kDecimalPointNeeded =
    "Pour un fonctionnement correct de l'application, vous devez configurer le symbole '.' (point) comme "
    "séparateur décimal. (Utilisez les paramètres régionaux du panneau de configuration.)";
// A count of a list of the hand-off file (NbDevice, NbTreeViewNode, NbSpe) outside 0 ... the limit:
// x1x the key, x2x the value as the file holds it, x3x the largest count accepted.
inline constexpr const char* kKirvaIniCountOutOfRange =
    "Le fichier Kirva.ini est incorrect : x1x vaut x2x, alors que la valeur doit être comprise entre 0 et "
    "x3x !";

} // namespace kirva::texts
