// Start-up's reading of the machine to modify: the machine's entry in the calling program's
// settings file, then its Telvar.ini, into the shared MachineConfig. Any failure ends start-up
// silently (the readers have shown their own messages).
#include "app/CallerSettings.h"
#include "app/Startup.h"
#include "ini/helpers.h"
#include "machine/TelvarFile.h"

namespace kirva {

bool ReadMachineToModify(ProgramState& state) {
    const ProgramSettings& settings = state.Settings;
    const bool knownCaller = settings.Mode == kModeProgramManager || settings.Mode == kModeTransferProgram;
    // A new machine, or a caller this program does not know: the editor starts from a new machine.
    if (!knownCaller || settings.AppCalling != kAppCallingModify) return true;
    if (settings.CurrentIndexMO > settings.NbDevice) return false;

    MachineConfig& machine = Machine();
    // The program manager's reader also sets the dictionary from its "Langue".
    if (!ReadCallerEntry(settings.Mode, settings.PathAppCallingIni, settings.CurrentIndexMO, machine))
        return false;

    // The program manager may know a machine without a server folder; the transfer program's
    // machines always have one, so its folder is not tested first.
    if (settings.Mode == kModeProgramManager && Trim(machine.PathTelvar).empty()) return true;
    state.MachineSettingsPath = TelvarIniPathIn(machine.PathTelvar);
    return ReadTelvarIni(state.MachineSettingsPath, machine, Remonte());
}

} // namespace kirva
