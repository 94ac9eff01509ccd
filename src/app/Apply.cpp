#include "app/Apply.h"

#include "app/Backup.h"
#include "app/CallerSettings.h"
#include "ini/helpers.h"
#include "machine/TelvarFile.h"
#include "machine/Validation.h"
#include "translate/messages.h"

namespace kirva {

namespace {

void ShowCritical(const std::string& text) {
    ShowMessage(text, IconCritical);
}

bool KnownCaller(int mode) {
    return mode == kModeProgramManager || mode == kModeTransferProgram;
}

} // namespace

ApplyCheck CheckBeforeApply(const ProgramSettings& settings, const std::string& reference,
                            const std::string& serverFolder) {
    if (IsDuplicateReference(reference, settings.RefMO, settings.AppCalling)) {
        ShowCritical(kDuplicateReference);
        return ApplyCheck::Duplicate;
    }
    if (const auto problem = RequiredFieldProblem(settings.Mode, reference, serverFolder)) {
        ShowCritical(*problem);
        return Trim(reference).empty() ? ApplyCheck::Reference : ApplyCheck::ServerFolder;
    }
    // The reference names the machine's folders and its exported file.
    if (const auto problem = ReferenceFileNameProblem(Trim(reference))) {
        ShowMessage(kReferenceNotAFileName, IconCritical, MsgButtons::Ok, Trim(reference), *problem);
        return ApplyCheck::Reference;
    }
    return ApplyCheck::Passed;
}

ApplyOutcome ApplyMachine(ProgramState& state, MachineConfig& machine, RemonteState& remonte,
                          const ApplyActions& actions) {
    ApplyOutcome outcome;
    ProgramSettings& settings = state.Settings;
    try {
        // 1. Registration with the calling program. Each file an apply replaces is kept first.
        if (KnownCaller(settings.Mode)) BackUpFile(settings.PathAppCallingIni);
        const auto number = TakeEntryNumber(settings);
        if (number && *number > 0 && KnownCaller(settings.Mode)) {
            outcome.Registered =
                WriteCallerEntry(settings.Mode, settings.PathAppCallingIni, *number, machine);
        }

        // 2. The machine's own file, in the folder the caller now knows it by.
        if (!Trim(machine.PathTelvar).empty()) machine.MachineDir = Trim(machine.PathTelvar);
        if (!machine.MachineDir.empty()) {
            BackUpFile(TelvarIniPathIn(machine.MachineDir));
            outcome.TelvarWritten = WriteTelvarIni(machine, ThisWorkstation(), remonte);
            state.MachineSettingsPath = TelvarIniPathIn(machine.MachineDir);
        }

        // 3. The program manager's new machine gets its server running and its lists.
        if (settings.Mode == kModeProgramManager) {
            if (state.ServerFolderCreated && settings.AppCalling == kAppCallingNew && actions.StartServer) {
                actions.StartServer();
            }
            if (actions.SaveLists && !machine.MachineDir.empty()) {
                const std::string telvar = TelvarIniPathIn(machine.MachineDir);
                std::string iso = Trim(machine.PathIsoIni);
                if (iso.empty()) iso = AddTrailingBackslash(machine.MachineDir) + "Iso.ini";
                BackUpFile(iso);
                outcome.ListsSaved = actions.SaveLists(iso, telvar);
            }
        }

        // 4. The calling program re-reads its machines.
        outcome.Notified = NotifyCaller(settings.Mode, settings.AppCalling);
    } catch (...) {
        // Nothing here throws on its own; a failed allocation leaves the rest undone.
    }
    return outcome;
}

} // namespace kirva
