// The program's life: an application of the toolkit, the browser, and its place on the bus.
#pragma once

#include "tevoro/CommandLine.h"

namespace tevoro {

// Until the window is closed, a signal ends it, or nobody reads what it prints. Throws a
// CommandError when it cannot begin.
ExitCode runApplication(int argc, char** argv, const CommandLine& line);

} // namespace tevoro
