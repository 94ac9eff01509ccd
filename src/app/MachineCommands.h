// The machine commands that need no window: the communication-server folder made from the
// template, the program folders, loading and exporting a machine file, and the start and stop of
// the communication server. Questions and refusals go through the message service.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/ProgramSettings.h"
#include "machine/MachineConfig.h"
#include "platform/platform.h"

namespace kirva {

inline constexpr const char* kTemplateFolderName = "TelvarType";
inline constexpr const char* kServerProgramName = "Telvar.exe";
inline constexpr const char* kUpdaterProgramName = "Maj_auto_telvareurs.exe";

inline constexpr const char* kTemplateMissing = "Le dossier 'TelvarType' est inexistant !";
inline constexpr const char* kCreateFolderQuestion = "Voulez-vous créer le dossier x1x ?";
inline constexpr const char* kReplaceFolderQuestion =
    "Le dossier x1x existe déjà vbCrLf Voulez vous le remplacer ?";
inline constexpr const char* kServerMissing = "Le telvareur n'existe pas sur ce poste";
inline constexpr const char* kExportTitle = "Sélectionnez le répertoire pour l'export...";
inline constexpr const char* kLoadTitle = "Fichier de configuration du port Com";
// x1x the folder, x2x the system's reason.
inline constexpr const char* kFolderNotMade = "Le dossier x1x n'a pas pu être créé : x2x";
// x1x the template folder, x2x the target, x3x the system's reason.
inline constexpr const char* kTemplateCopyFailed = "La copie du dossier x1x dans x2x a échoué : x3x";
// x1x the program.
inline constexpr const char* kServerNotStarted = "Le telvareur x1x n'a pas pu être lancé.";
// x1x the reason.
inline constexpr const char* kWindowsNotListed = "Les fenêtres ouvertes ne peuvent pas être parcourues : x1x";
// x1x the window's title.
inline constexpr const char* kServerNotClosed = "La fenêtre x1x n'a pas pu être fermée.";
// x1x the file.
inline constexpr const char* kExportFailed = "Le fichier x1x n'a pas pu être écrit.";

// Makes a machine's communication-server folder from the template folder (the servers' root
// folder + "TelvarType"): the target is the root folder + machineName, or folderField when it is
// not empty. Asks before creating, and again before copying over an existing folder; copies the
// template's contents, removes the template's updater from the target, marks the folder as made
// (state.ServerFolderCreated), puts the target into an empty folderField and makes it the
// machine directory. False, with nothing made, when the template is missing, the name cannot
// name a folder, the user says No, or the system refuses (reported).
bool FNCreateDirTelvar(ProgramState& state, MachineConfig& machine, const std::string& machineName,
                       std::string& folderField);

// The folder a program-folder button proposes: the field's text when it is not empty, otherwise
// the data folder + "Machines" + the reference (+ "Archive" for the archive folder), each with a
// trailing separator. nullopt, after a message, when the reference cannot name a folder.
std::optional<std::string> ProposedProgramFolder(const ProgramSettings& settings,
                                                 const std::string& reference, const std::string& fieldText,
                                                 bool archive);
// Asks whether to create the folder and creates it (with its parents) when missing. True when the
// user said Yes and the folder exists.
bool CreateProgramFolder(const std::string& folder);

// "RefMO" of section "DNC" of a machine file (trimmed); "" when there is none.
std::string ReferenceInFile(const std::string& file);

// Copies the machine directory's Telvar.ini to folder + reference + ".ini" in one atomic step (a
// new file is private to its owner: the file holds the FTP password). Reports and returns false
// when the source is missing (catalogue message 244), the reference cannot name a file or the copy is
// refused.
bool ExportMachineFile(const std::string& machineDir, const std::string& reference,
                       const std::string& folder);

// The communication server's program in a folder ("Telvar.exe", in any case); nullopt when missing.
std::optional<std::string> ServerProgramIn(const std::string& folder);
// Starts the server of the folder. Reports a missing program or one that cannot be started.
bool StartServer(const std::string& folder);
// The first window, in the order given, whose title holds "Telvar " + reference without regard
// to case (so stopping M1 may meet the window of M10 first, and close it).
std::optional<std::int64_t> FindServerWindow(const std::vector<platform::TopLevelWindow>& windows,
                                             const std::string& reference);
// Asks the running server of the machine to close. A missing program is reported; a server that
// is not running is left alone silently. True when a window was asked to close.
bool StopServer(const std::string& folder, const std::string& reference);

} // namespace kirva
