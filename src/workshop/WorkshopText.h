// The sentences of the workshop commands ("x1x", "x2x", ... stand for values), and the message
// service that collects what the readers would show instead of showing it.
#pragma once

#include <string>
#include <vector>

#include "translate/messages.h"

namespace kirva::workshop {

// ---------------------------------------------------------------- finding the workshop
inline constexpr const char* kNoSuchPath = "x1x n'existe pas.";
inline constexpr const char* kBothCallers =
    "Le dossier x1x contient Kalderon.ini et Harbix.ini : nommez celui des deux à lire.";
inline constexpr const char* kNoCallerFile =
    "Le dossier x1x ne contient ni Kalderon.ini, ni Harbix.ini, ni de Kirva.ini qui en nomme un.";
inline constexpr const char* kCannotRead = "Le fichier x1x ne peut pas être lu.";
inline constexpr const char* kNotACallerFile =
    "Le fichier x1x n'est le fichier d'aucun programme appelant (ni [KALDERON] ni [HARBIX_MGR]).";
inline constexpr const char* kBadCount = "Le nombre de machines « x1x » n'est pas un nombre de 0 à 10000.";
inline constexpr const char* kEntryMissing = "La machine x1x n'a pas d'entrée dans ce fichier.";
inline constexpr const char* kBeyondCount =
    "L'entrée x1x est au-delà du nombre de machines (x2x) : le programme appelant l'ignore.";

// ---------------------------------------------------------------- one machine file
inline constexpr const char* kFileMissing = "Le fichier de la machine n'existe pas.";
inline constexpr const char* kFileNotAFile = "Ce n'est pas un fichier (un dossier ou un périphérique).";
inline constexpr const char* kFileUnreadable = "Le fichier ne peut pas être lu.";
inline constexpr const char* kNoFolder = "La machine x1x n'a pas de dossier Port DNC (PathTelvar).";
inline constexpr const char* kEditorSaid = "L'éditeur signale : x1x";
inline constexpr const char* kNotANumber = "« x1x » n'est pas un nombre : l'éditeur lit x2x.";
inline constexpr const char* kOutOfRange =
    "x1x est hors des limites de la clé (x2x à x3x) : l'éditeur arrête là sa lecture du fichier.";
inline constexpr const char* kNotABoolean = "« x1x » n'est ni 0 ni 1 : l'éditeur lit 0.";
inline constexpr const char* kNotInList =
    "« x1x » n'est pas une valeur de la liste « x2x » : le champ reste vide.";
inline constexpr const char* kUnknownKey = "Clé inconnue x1x : la plus proche est x2x.";
inline constexpr const char* kUnknownSection = "Section inconnue [x1x] : la plus proche est [x2x].";
inline constexpr const char* kKeyTwice = "La clé x1x figure deux fois : l'éditeur lit celle de la ligne x2x.";
inline constexpr const char* kSectionTwice =
    "La section [x1x] figure deux fois : l'éditeur lit celle de la ligne x2x.";
inline constexpr const char* kCountMismatch = "x1x vaut x2x mais la section [x3x] a x4x ligne(s).";
inline constexpr const char* kEntryOfCountMissing = "x1x vaut x2x mais la clé x3x manque.";
inline constexpr const char* kEntryBeyondItsCount = "x1x est au-delà de x2x (x3x) : l'éditeur l'ignore.";
inline constexpr const char* kLineWithoutName = "Ligne sans nom (x1x) : l'éditeur ne peut pas la désigner.";
inline constexpr const char* kNameTwice =
    "Le nom « x1x » figure deux fois dans [x2x] : l'éditeur ne montre que le dernier (ligne x3x).";
inline constexpr const char* kInsertionsMissing =
    "Le fichier des insertions x1x n'existe pas : la machine n'a aucune insertion.";

// ---------------------------------------------------------------- between machines
inline constexpr const char* kTcpPortShared = "Le port TCP x1x est aussi celui de x2x.";
inline constexpr const char* kSerialPortShared = "Le port COMx1x est aussi celui de x2x.";
inline constexpr const char* kReferenceInside =
    "La référence x1x est contenue dans x2x : l'éditeur refuserait de créer l'une à côté de l'autre.";
inline constexpr const char* kNoSuchSerialPort = "Le port COMx1x n'existe pas sur ce poste.";

// ---------------------------------------------------------------- export
inline constexpr const char* kExportIntoWorkshop =
    "x1x est un dossier de l'atelier : l'export n'écrit jamais dans l'atelier.";
inline constexpr const char* kExportFolderNotMade = "Le dossier x1x n'a pas pu être créé : x2x";
inline constexpr const char* kNoReference =
    "Le fichier de la machine x1x n'a pas de RefMO : il n'est pas exporté.";
inline constexpr const char* kSameExportName =
    "x1x porte le même nom de fichier que x2x : elle n'est pas exportée.";
inline constexpr const char* kIndexNotWritten = "L'index x1x n'a pas pu être écrit.";

// A sentence with its values put in, through the dictionary when one is set.
template <typename... Values>
std::string Say(const char* text, const Values&... values) {
    return TK_TRANSLATE::TranslateText(text, kDicoSection, values...);
}

// While it lives, every message is collected in `texts` (questions are answered No); the service
// that was in use before comes back afterwards.
class CollectedMessages : public MessageService {
  public:
    CollectedMessages();
    ~CollectedMessages() override;
    CollectedMessages(const CollectedMessages&) = delete;
    CollectedMessages& operator=(const CollectedMessages&) = delete;
    MsgAnswer Show(const std::string& text, int icon, MsgButtons buttons) override;
    std::vector<std::string> texts;

  private:
    MessageService* previous_;
};

} // namespace kirva::workshop
