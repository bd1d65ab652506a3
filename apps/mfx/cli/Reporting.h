// Lines that the commands print. Free functions for the program's main thread.
#pragma once

#include <string>

namespace mfx {

// "mfx: TEXT" on standard error, safe for a terminal.
void printMessage(const std::string& text);

// A line on standard output.
void printLine(const std::string& text);

} // namespace mfx
