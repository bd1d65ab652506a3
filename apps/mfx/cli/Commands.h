// The commands of mfx. Each throws CommandError or SystemPartError, or returns how it ended.
#pragma once

#include "mfx/cli/CommandLine.h"
#include "mfx/cli/ExitCode.h"

namespace mfx {

ExitCode runSources(const CommandLine& line);
ExitCode runList(const CommandLine& line);
ExitCode runDownload(const CommandLine& line);

} // namespace mfx
