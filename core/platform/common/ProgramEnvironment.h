// What a command-line program asks of the system it runs on. Free functions; any thread.
#pragma once

#include <cstdio>
#include <string>

namespace Pt {

// The folder of the running program's file, links resolved; empty when the system does not tell.
std::string programFolder();

long processId();

// Whether a person sits behind the stream.
bool isTerminal(std::FILE* stream);

// Columns of the terminal behind the stream; 80 where it does not tell.
int terminalWidth(std::FILE* stream);

// From now on the first SIGINT or SIGTERM is noted and the program goes on; the second ends it at
// once. A write into a closed pipe fails instead of ending the program.
void noteInterrupts();

// Whether one was noted.
bool wasInterrupted();

} // namespace Pt
