// The commands. They print their results on standard output and say how the program is to end; what
// hinders them is thrown as a CommandError.
#pragma once

#include "velmo-caps/CommandLine.h"

namespace velmo_caps_cli {

ExitCode runList(const CommandLine& line);
ExitCode runAdd(const CommandLine& line);
ExitCode runRemove(const CommandLine& line);
ExitCode runGroups(const CommandLine& line);
ExitCode runGroupAdd(const CommandLine& line);
ExitCode runGroupRemove(const CommandLine& line);
ExitCode runImport(const CommandLine& line);
ExitCode runExport(const CommandLine& line);

} // namespace velmo_caps_cli
