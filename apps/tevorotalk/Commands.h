// The commands, each in a source file of its own. They print their results on standard output and
// say how the program is to end; what hinders them is thrown as a CommandError.
#pragma once

#include "tevorotalk/CommandLine.h"

namespace tevorotalk {

ExitCode runApps(const CommandLine& line);
ExitCode runPorts(const CommandLine& line);
ExitCode runPing(const CommandLine& line);
ExitCode runSend(const CommandLine& line);
ExitCode runListen(const CommandLine& line);
ExitCode runMonitor(const CommandLine& line);
ExitCode runInfo(const CommandLine& line);

} // namespace tevorotalk
