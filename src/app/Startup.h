// Start-up: from the command line to the decision to show the window or to end.
#pragma once

#include <functional>
#include <string>

#include "app/ProgramSettings.h"

namespace kirva {

enum class StartupAction {
    End,        // end now, silently (any message was already shown)
    ShowWindow, // create and show frmKirva
};

struct StartupInput {
    std::string CommandLine; // the whole command line, arguments joined by blanks
    std::string StartFolder; // folder the program was started from (platform::ExecutableFolder())
    // Called once the command line asked to start, before anything can show a message or read
    // the decimal separator: the window layer creates its application object and message box here.
    std::function<void()> OnStarting;
};

// Runs every step of start-up in order and fills state.
StartupAction Startup(const StartupInput& input, ProgramState& state);

// True when the command line holds the switch "/MRV" (case-sensitive, anywhere).
bool CommandLineAsksToStart(const std::string& commandLine);

// The executable folder for a start folder: the fixed installation folder when the start
// folder lies in a development tree, the start folder itself otherwise (separator ensured).
std::string ExecutableFolderFor(const std::string& startFolder);

// Reads the machine that the caller asked to modify (caller's entry and its Telvar.ini).
// False ends start-up silently.
bool ReadMachineToModify(ProgramState& state);

// Fixed installation folder and development-tree marker of this platform.
#ifdef _WIN32
inline constexpr const char* kInstallFolder = "c:\\talm\\exe\\";
inline constexpr const char* kDevTreeMarker = "\\TALMDEV\\";
#else
inline constexpr const char* kInstallFolder = "/opt/talm/exe/";
inline constexpr const char* kDevTreeMarker = "/TALMDEV/";
#endif

} // namespace kirva
