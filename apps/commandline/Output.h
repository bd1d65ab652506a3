// Lines that a command prints. Free functions for the program's main thread.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace commandline {

// "PROGRAM: TEXT" on standard error, safe for a terminal.
void printMessage(std::string_view program, const std::string& text);

// A line on standard output.
void printLine(const std::string& text);

// Why a line so far could not be written; waits until all are. The first failure lasts.
std::error_code lostOutput();
// The same, also when nothing was written yet and nothing could be.
std::error_code outputError();

} // namespace commandline
