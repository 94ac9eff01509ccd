#include "app/Startup.h"

#include "app/MessageTexts.h"
#include "ini/helpers.h"
#include "platform/platform.h"
#include "service/NetworkTest.h"
#include "translate/messages.h"

namespace kirva {

namespace {

// The hand-off file in the executable folder. On systems whose file names are case-sensitive a
// file spelled differently ("kirva.ini") is the same file, as it would be on Windows. Only a regular
// file counts: a folder or a FIFO of that name is not the hand-off (its reader says it is missing).
std::string SettingsFileIn(const std::string& exeFolder) {
    const std::string path = exeFolder + "Kirva.ini";
    return ExistingFile(path).value_or(path);
}

} // namespace

bool CommandLineAsksToStart(const std::string& commandLine) {
    return commandLine.find("/MRV") != std::string::npos;
}

std::string ExecutableFolderFor(const std::string& startFolder) {
    if (ToUpper(startFolder).find(kDevTreeMarker) != std::string::npos) return kInstallFolder;
    return AddTrailingBackslash(startFolder);
}

StartupAction Startup(const StartupInput& input, ProgramState& state) {
    // 1. The switch of the calling programs.
    if (!CommandLineAsksToStart(input.CommandLine)) return StartupAction::End;
    if (input.OnStarting) input.OnStarting();

    // 2. Folders and version.
    state.ExeFolder = ExecutableFolderFor(input.StartFolder);
    state.SettingsFilePath = SettingsFileIn(state.ExeFolder);
    state.DepFilesFolder = state.ExeFolder + "DepFiles" + platform::kPathSeparator;
    state.VersionText = VersionText();

    // 3. This workstation's address; a failure leaves it empty and says nothing.
    std::string error;
    state.LocalIPAddress = TK_PING::GetIPAddress(error);

    // 4. One instance only.
    if (!platform::AcquireSingleInstance()) return StartupAction::End;

    // 5. Numbers are written in the locale's format and read back with "." only.
    const std::string separator = platform::UserDecimalSeparator();
    if (separator != ".") {
        state.SavedDecimalSeparator = separator;
        if (!platform::ForceDecimalPoint()) ShowMessage(texts::kDecimalPointNeeded, IconInformation);
    }

    // 6. The hand-off file.
    if (!ReadProgramSettings(state.SettingsFilePath, state.Settings)) return StartupAction::End;
    state.InfoCNPath = state.Settings.PathDirData + "InfoCN.ini";
    if (state.Settings.Mode == 0 || state.Settings.AppCalling == 0) return StartupAction::End;

    // 7. The machine to modify.
    if (!ReadMachineToModify(state)) return StartupAction::End;

    // 8. The window.
    return StartupAction::ShowWindow;
}

} // namespace kirva
