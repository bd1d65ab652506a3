// The commands. They print their results on standard output and say how the program is to end;
// what hinders them is thrown as a CommandError.
#pragma once

#include "lexkit/CommandLine.h"

namespace lexkit_cli {

ExitCode runCheck(CommandLine const& line);
ExitCode runList(CommandLine const& line);
ExitCode runGet(CommandLine const& line);
ExitCode runCompile(CommandLine const& line);
ExitCode runText(CommandLine const& line);

} // namespace lexkit_cli
