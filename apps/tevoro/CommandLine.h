// What the user asked of tevoro. The bus's own options, which a launcher may hand over, are taken
// as the bus spells them, with one dash.
#pragma once

#include "commandline/ExitCode.h"

#include <optional>
#include <string>

namespace tevoro {

using commandline::ExitCode;

inline constexpr char kProgram[] = "tevoro";

struct CommandLine {
    std::string name; // to hold on the bus; empty for the usual one
    std::string instance; // of that name; empty for none
    std::string folder; // to show, or a picture in it; absolute; empty for none
    bool headless = false;
};

// Nothing when the program is to end at once, with that code: after --help, or wrong usage.
std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code);

} // namespace tevoro
