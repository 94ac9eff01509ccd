// The apply of an edit: the checks made before anything is written, then the writes in their
// order (the caller's settings file, the machine's Telvar.ini, the server of a new machine and
// the machine's lists) and the notification that tells the calling program.
#pragma once

#include <functional>
#include <string>

#include "app/ProgramSettings.h"
#include "machine/MachineConfig.h"

namespace kirva {

// Which check stopped an apply (its message, critical icon, was shown).
enum class ApplyCheck {
    Passed,
    Duplicate,    // a new machine whose reference is part of a known one
    Reference,    // no reference, or one that cannot name a folder or a file
    ServerFolder, // no communication-server folder
};

// The checks before the search for an empty field: the duplicate reference (new machine only),
// the reference, the server folder, then a reference that names folders and files safely.
ApplyCheck CheckBeforeApply(const ProgramSettings& settings, const std::string& reference,
                            const std::string& serverFolder);

// What the window does for an apply that the core cannot do itself.
struct ApplyActions {
    // Saves the three lists (ISO insertions into isoPath, plans and channels into telvarPath).
    // True when the three reached the disk.
    std::function<bool(const std::string& isoPath, const std::string& telvarPath)> SaveLists;
    // Starts the communication server of the machine (the "&Executer" command, which reports a failure).
    std::function<void()> StartServer;
};

// What an apply wrote. Each writer that failed has shown its own message.
struct ApplyOutcome {
    bool Registered = false;    // the caller's file holds the machine (and a new machine's count)
    bool TelvarWritten = false; // Telvar.ini reached the disk
    bool ListsSaved = false;    // the three lists reached the disk (program manager only)
    bool Notified = false;      // the calling program was sent its message
};

// The writes of an apply, once the fields are in machine and remonte:
//  1. the entry number (a new machine's count written first) and the machine's entry in the
//     caller's settings file (Mode 1 or 2);
//  2. Telvar.ini in the machine directory, which becomes the communication-server folder
//     (PathTelvar) when one is given;
//  3. for the program manager (Mode 1): the server of a new machine whose folder was made during
//     this edit is started, and the three lists are saved;
//  4. the calling program is notified.
// A failed write is reported by its writer and the apply goes on with the next step; an entry is
// not written when the new count could not be (the caller would not see it). Before each file is
// replaced, its previous content is kept in its backup folder (app/Backup.h).
ApplyOutcome ApplyMachine(ProgramState& state, MachineConfig& machine, RemonteState& remonte,
                          const ApplyActions& actions);

} // namespace kirva
