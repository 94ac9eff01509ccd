#include "app/MachineCommands.h"

#include <filesystem>
#include <system_error>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"
#include "machine/TelvarFile.h"
#include "machine/Validation.h"
#include "translate/messages.h"

namespace kirva {

namespace fs = std::filesystem;

namespace {

bool AskYes(const std::string& text, const std::string& value) {
    return ShowMessage(text, IconQuestion, MsgButtons::YesNo, value) == MsgAnswer::Yes;
}

// A reference that names a folder or a file; reports the problem otherwise.
bool UsableAsName(const std::string& reference) {
    if (Trim(reference).empty()) {
        ShowMessage(kReferenceNeeded, IconCritical);
        return false;
    }
    if (const auto problem = ReferenceFileNameProblem(Trim(reference))) {
        ShowMessage(kReferenceNotAFileName, IconCritical, MsgButtons::Ok, Trim(reference), *problem);
        return false;
    }
    return true;
}

bool IsFolder(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

bool MakeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(RemoveTrailingBackslash(folder), error);
    if (!error && IsFolder(folder)) return true;
    ShowMessage(kFolderNotMade, IconWarning, MsgButtons::Ok, folder,
                error ? error.message() : std::string("not a folder"));
    return false;
}

// Copies every file and folder of source into target, replacing files of the same name, each
// with its permissions. (Done entry by entry: the library's recursive copy into an existing folder
// fails or copies nothing with some Windows runtimes.)
void CopyFolderContents(const std::string& source, const std::string& target, std::error_code& error) {
    const fs::path from(RemoveTrailingBackslash(source));
    const fs::path to(RemoveTrailingBackslash(target));
    for (auto it = fs::recursive_directory_iterator(from, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        const fs::path destination = to / fs::relative(it->path(), from, error);
        if (error) return;
        if (it->is_directory(error)) {
            fs::create_directories(destination, error);
        } else if (!error) {
            // Replaced by removing it first: an overwriting copy leaves the old file with some runtimes.
            fs::remove(destination, error);
            if (!error) fs::copy_file(it->path(), destination, error);
        }
    }
}

} // namespace

bool FNCreateDirTelvar(ProgramState& state, MachineConfig& machine, const std::string& machineName,
                       std::string& folderField) {
    const std::string root = AddTrailingBackslash(state.Settings.DefaultPathDirTelvar);
    const std::string templateFolder = root + kTemplateFolderName + platform::kPathSeparator;
    if (!IsFolder(templateFolder)) {
        ShowMessage(kTemplateMissing, IconCritical);
        return false;
    }
    std::string target;
    if (!Trim(folderField).empty()) {
        target = AddTrailingBackslash(Trim(folderField));
    } else {
        if (!UsableAsName(machineName)) return false;
        target = root + Trim(machineName) + platform::kPathSeparator;
    }
    if (!AskYes(kCreateFolderQuestion, target)) return false;
    if (IsFolder(target)) {
        if (!AskYes(kReplaceFolderQuestion, target)) return false;
    } else if (!MakeFolder(target)) {
        return false;
    }

    std::error_code error;
    CopyFolderContents(templateFolder, target, error);
    if (error) {
        ShowMessage(kTemplateCopyFailed, IconWarning, MsgButtons::Ok, templateFolder, target,
                    error.message());
        return false;
    }
    state.ServerFolderCreated = true;
    // The template's updater serves the template only; a machine's folder never keeps it.
    if (const auto updater = platform::FindFileNoCase(target, kUpdaterProgramName))
        fs::remove(*updater, error);

    if (Trim(folderField).empty()) folderField = target;
    machine.MachineDir = target;
    return true;
}

std::optional<std::string> ProposedProgramFolder(const ProgramSettings& settings,
                                                 const std::string& reference, const std::string& fieldText,
                                                 bool archive) {
    if (!Trim(fieldText).empty()) return AddTrailingBackslash(Trim(fieldText));
    if (!UsableAsName(reference)) return std::nullopt;
    std::string folder = AddTrailingBackslash(settings.PathDirData) + "Machines" + platform::kPathSeparator +
                         Trim(reference) + platform::kPathSeparator;
    if (archive) folder += std::string("Archive") + platform::kPathSeparator;
    return folder;
}

bool CreateProgramFolder(const std::string& folder) {
    if (!AskYes(kCreateFolderQuestion, folder)) return false;
    return IsFolder(folder) || MakeFolder(folder);
}

std::string ReferenceInFile(const std::string& file) {
    clsIniVar ini;
    return Trim(ini.Read("RefMO", "DNC", std::string(file)));
}

bool ExportMachineFile(const std::string& machineDir, const std::string& reference,
                       const std::string& folder) {
    if (!UsableAsName(reference)) return false;
    const auto source = machineDir.empty() ? std::nullopt : ExistingFile(TelvarIniPathIn(machineDir));
    std::string bytes;
    platform::FileStamp stamp;
    if (!source || platform::ReadWholeFile(*source, bytes, stamp) != platform::FileResult::Ok) {
        ShowCatalogueMessage(244, IconCritical);
        return false;
    }
    const std::string target = AddTrailingBackslash(folder) + Trim(reference) + ".ini";
    const auto result = platform::ReplaceFileContents(
        target, [&bytes](const std::string*, std::string& out) { out = bytes; }, stamp);
    if (result != platform::FileResult::Ok) {
        ShowMessage(kExportFailed, IconWarning, MsgButtons::Ok, target);
        return false;
    }
    return true;
}

std::optional<std::string> ServerProgramIn(const std::string& folder) {
    if (Trim(folder).empty()) return std::nullopt;
    return platform::FindFileNoCase(AddTrailingBackslash(Trim(folder)), kServerProgramName);
}

bool StartServer(const std::string& folder) {
    const auto program = ServerProgramIn(folder);
    if (!program) {
        ShowMessage(kServerMissing, IconCritical);
        return false;
    }
    if (platform::StartProgram(*program)) return true;
    ShowMessage(kServerNotStarted, IconWarning, MsgButtons::Ok, *program);
    return false;
}

std::optional<std::int64_t> FindServerWindow(const std::vector<platform::TopLevelWindow>& windows,
                                             const std::string& reference) {
    const std::string wanted = ToUpper("Telvar " + reference);
    for (const platform::TopLevelWindow& window : windows)
        if (ToUpper(window.Title).find(wanted) != std::string::npos) return window.Handle;
    return std::nullopt;
}

bool StopServer(const std::string& folder, const std::string& reference) {
    if (!ServerProgramIn(folder)) {
        ShowMessage(kServerMissing, IconCritical);
        return false;
    }
    std::vector<platform::TopLevelWindow> windows;
    std::string error;
    if (!platform::ListTopLevelWindows(windows, error)) {
        ShowMessage(kWindowsNotListed, IconWarning, MsgButtons::Ok, error);
        return false;
    }
    const auto handle = FindServerWindow(windows, reference);
    if (!handle) return false; // not running: nothing to stop
    if (platform::CloseTopLevelWindow(*handle)) return true;
    for (const platform::TopLevelWindow& window : windows)
        if (window.Handle == *handle)
            ShowMessage(kServerNotClosed, IconWarning, MsgButtons::Ok, window.Title);
    return false;
}

} // namespace kirva
