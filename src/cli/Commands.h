// The four commands of kirva-cli.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "cli/Output.h"

namespace kirva::cli {

struct Invocation {
    std::string Command; // list, check, diff, export
    std::vector<std::string> Arguments;
    std::string Workshop; // diff --workshop
    bool Json = false;
    cli::Style Style;
};

// What Run returns when the workshop (or a machine named) cannot be opened: exit code 2, with the
// reason in problem but no hint about the usage.
inline constexpr int kNotOpened = -2;

// Runs the command; returns the exit code, 2 on bad usage, or kNotOpened, with the reason in
// problem (printed by the caller).
int Run(const Invocation& call, std::ostream& out, std::ostream& err, std::string& problem);

} // namespace kirva::cli
