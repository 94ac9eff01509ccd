// The fixed choice lists of a machine's fields and the conversions between what a choice list
// shows and what MachineConfig stores (a letter, an index, a code, a port number).
//
// The lists hold the program's own French texts, untranslated; the window translates them for
// display and converts back through the list entry, never through the translated text.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace kirva {

using Vocabulary = std::span<const char* const>;

namespace vocab {

inline constexpr std::array<const char*, 11> SerialSpeeds{"110",  "300",   "600",   "1200",  "2400",  "4800",
                                                          "9600", "19200", "38400", "57600", "115200"};
inline constexpr std::array<const char*, 4> Parities{"Paire", "Impaire", "Aucune", "Marque"};
inline constexpr std::array<const char*, 3> StopBits{"1", "1.5", "2"};
inline constexpr std::array<const char*, 7> FlowControls{
    "Aucun", "Xon/Xoff", "RTS/CTS", "RTS/Xon", "Xon/Xoff/DTR", "RTS/CTS/DTR", "RTS/Xon/DTR"};
// Entry 0 is left empty; the stored method is the entry's index. "Seveur FTP" is spelled so.
inline constexpr std::array<const char*, 22> TransferMethods{"",
                                                             "Bloc à Bloc",
                                                             "Caractère par caractère",
                                                             "API Marovex",
                                                             "Client FTP",
                                                             "Conversationnel Mazatrol",
                                                             "Copier/Coller - TCP/IP",
                                                             "Client/Serveur - IP Serial MOXA",
                                                             "Client/Serveur - LSV2",
                                                             "Copier/Coller - DB Gateway",
                                                             "Copier/Coller - Serveur RS232",
                                                             "Conversationnel Fagor",
                                                             "USB",
                                                             "Seveur FTP",
                                                             "Check Dossier",
                                                             "LSV2 AGIE",
                                                             "Boitier PTR",
                                                             "TNC Ethernet",
                                                             "TNC RS232",
                                                             "Copier/Coller Simple",
                                                             "Bloc à Bloc dll TALM",
                                                             "FANUC Focas"};
inline constexpr std::array<const char*, 2> ReadingModes{"", "Lecture code barre"};
inline constexpr std::array<const char*, 2> MultiProgModes{"Normal", "Multi-prog"};
inline constexpr std::array<const char*, 9> InternetServices{"",      "FTP",    "SMTP",  "POP3",  "HTTP",
                                                             "HTTPS", "GOPHER", "SOCKS", "TELNET"};
inline constexpr std::array<const char*, 6> StartConditions{"Rien",       "Caractère", "Caractère qcq",
                                                            "Montée RTS", "Attente",   "RS232"};
inline constexpr std::array<const char*, 9> BlockSizes{"1",   "8",   "16",  "32",  "64",
                                                       "128", "256", "512", "1024"};
inline constexpr std::array<const char*, 5> OpeningModes{"Windows", "Base de données", "Ouvrir avec Visu",
                                                         "Ouverture Multi Prog", "Lect Cart"};
inline constexpr std::array<const char*, 2> NumberingModes{"Extension", "Incrément"};
inline constexpr std::array<const char*, 3> MachiningTypes{"", "Fraisage", "Tournage"};
inline constexpr std::array<const char*, 3> InsertionPositions{"Après caractère de début de programme",
                                                               "A la ligne numéro :", "Après le caractère :"};
inline constexpr std::array<const char*, 3> CommentPositions{"Dans la ligne", "Premier caractère de la ligne",
                                                             "Dans un commentaire"};

// The two numeric lists offered as literals: "10" to "65" by 5, and nine values "10" to "240".
inline constexpr std::array<const char*, 12> Steps10To65{"10", "15", "20", "25", "30", "35",
                                                         "40", "45", "50", "55", "60", "65"};
inline constexpr std::array<const char*, 9> Steps10To240{"10", "20", "30",  "40", "50",
                                                         "60", "90", "120", "240"};

// Start conditions by index, for readability of the conversions.
enum StartConditionIndex : int {
    StartNothing = 0,
    StartCharacter = 1,
    StartAnyCharacter = 2,
    StartRtsRise = 3,
    StartWait = 4,
    StartRs232 = 5,
};

} // namespace vocab

// "Paire" -> "E", "Impaire" -> "O", "Aucune" -> "N", "Marque" -> "M"; any other text -> "".
std::string ParityToLetter(std::string_view shown);
// The parity entry of a stored letter ("E", "O", "N", "M"). A letter outside "EONM" (lower case,
// empty, longer than one character) is a caller's error: the result is then "" and nothing fails.
std::string LetterToParity(std::string_view letter);

// Index (0 to 6) of the first flow-control entry equal to the trimmed text; -1 when none is.
int FlowControlIndex(std::string_view shown);

// The stored code of a start condition shown with its two companion boxes (the character and,
// for "Attente", the waiting time):
//   "Rien" -> "NS"; "Caractère" -> the character, "QCQ" when empty; "Caractère qcq" -> "QCQ";
//   "Montée RTS" -> "RTS"; "RS232" -> "RS232";
//   "Attente" -> character "-" waiting time; without a waiting time it is stored as "Caractère".
// Any other text gives "" (no condition chosen).
std::string StartConditionToCode(std::string_view shown, std::string_view character,
                                 std::string_view waitTime);

// What a stored code shows: the entry index in vocab::StartConditions and the companion values.
struct StartConditionView {
    int Index = vocab::StartNothing;
    std::string Character;
    std::string WaitTime;
    // Whether the companion boxes take input for this condition.
    bool CharacterEnabled() const { return Index == vocab::StartCharacter || Index == vocab::StartWait; }
    bool WaitTimeEnabled() const { return Index == vocab::StartWait; }
};
// "NS" or "" -> "Rien"; "QCQ" -> "Caractère qcq"; "RTS" -> "Montée RTS"; "RS232" -> "RS232";
// a code of two or more characters holding "-" -> "Attente", split at its last "-" (so "--5" is
// the character "-" and the time 5); anything else -> "Caractère" with the code as character.
StartConditionView CodeToStartCondition(std::string_view code);

// The port stored for a typed port number or internet service name (trimmed first): "FTP" -> "21",
// "SMTP" -> "25", "POP3" -> "" (on purpose), "HTTP" -> "80", "HTTPS" -> "443", "GOPHER" -> "70",
// "SOCKS" -> "1080", "TELNET" -> "23"; the numbers map to themselves; anything else is kept.
std::string NormalizeServicePort(std::string_view typed);

// What a field of characters holds, readably: a list of character codes ("13,10", "18") gives
// their names ("<CR><LF>", "<DC2>"), printable codes their character ("37" -> "%"); typed text
// is shown with each control character named ("%" stays "%", a tab becomes "<HT>"). "" for "".
std::string ReadableCharacters(std::string_view text);
// Text with each control character named ("a\tb" -> "a<HT>b"); digits stay digits.
std::string ReadableText(std::string_view text);

} // namespace kirva
