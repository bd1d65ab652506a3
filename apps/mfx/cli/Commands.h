// The commands of mfx. Each throws CommandError or SystemPartError, or returns how it ended.
#pragma once

#include "commandline/ExitCode.h"
#include "mfx/cli/CommandLine.h"

namespace mfx {

using commandline::CommandError;
using commandline::ExitCode;

ExitCode runSources(const CommandLine& line);
ExitCode runList(const CommandLine& line);
ExitCode runDownload(const CommandLine& line);
ExitCode runConvert(const CommandLine& line);
ExitCode runExtract(const CommandLine& line);

} // namespace mfx
