// Lines that the commands print. Free functions for the program's main thread.
#pragma once

#include "commandline/Output.h"

namespace mfx {

using commandline::printLine;

// "mfx: TEXT" on standard error, safe for a terminal.
void printMessage(const std::string& text);

} // namespace mfx
