// The program-header preview of the syntax panels: an illustration, built from the machine's
// fields, of how a part program starts for its communication server.
#pragma once

#include <string>
#include <vector>

#include "machine/MachineConfig.h"

namespace kirva {

// The first lines of a program numbered 1 for this machine, each ending with its end of block
// shown readably ("<CR><LF>"): the start-of-program character, the program number on the number
// of digits of the header, the header's comment lines when the header is visible (complete: the
// program, the machine and the header text on lines of their own; compact: on one line), then
// the start block and the next block with their numbers.
std::vector<std::string> HeaderPreview(const MachineConfig& machine);

} // namespace kirva
