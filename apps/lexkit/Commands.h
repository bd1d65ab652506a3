// The commands. They print their results on standard output and say how the program is to end;
// what hinders them is thrown as a CommandError.
#pragma once

#include "lexkit/CommandLine.h"

namespace lexkit_cli {

ExitCode runCheck(const CommandLine& line);
ExitCode runList(const CommandLine& line);
ExitCode runGet(const CommandLine& line);
ExitCode runCompile(const CommandLine& line);
ExitCode runText(const CommandLine& line);

} // namespace lexkit_cli
