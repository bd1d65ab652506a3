// What a command-line program asks of the system it runs on. Free functions; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <system_error>

namespace Pt {

// The folder of the running program's file, links resolved; empty when the system does not say.
std::string programFolder();

long processId();

// The user id that the system checks this process's rights by; 0 is root.
std::uint32_t effectiveUser();

// A variable of the environment, as it stands now; nothing where it is not set.
std::optional<std::string> environmentVariable(const char* name);

// Sets one, for this process and those it starts; no other thread may use the environment
// meanwhile.
void setEnvironmentVariable(const char* name, const std::string& value);

// Whether a person sits behind the stream.
bool isTerminal(std::FILE* stream);

// Columns of the terminal behind the stream; 80 where it does not say.
int terminalWidth(std::FILE* stream);

// From now on the first SIGINT, SIGTERM, SIGHUP or SIGQUIT is noted and the program goes on; the
// next one ends it at once, unless it comes within 200 milliseconds of the first: some senders
// repeat themselves. A SIGHUP or SIGQUIT that was ignored at the start stays so, as nohup and
// shells that start programs in the background want it. A write into a
// closed pipe, or beyond the limit of a file's size, fails instead of ending the program.
void noteInterrupts();

// From now on a write beyond the limit of a file's size fails instead of ending the program.
void failBeyondSizeLimit();

// Whether an interrupt was noted.
bool wasInterrupted();

// Blocks until there is something to read from the stream, its end included, or an interrupt was
// noted, before or meanwhile and in whichever thread; false for the latter. The stream's own buffer
// is not looked at: for terminals, which give one line at a time.
bool waitForInput(std::FILE* stream);

// Takes the places of standard input, output and error where they are closed, so that no file that
// is opened later becomes one of them; what is written there then fails. For the start of a
// program.
void holdStandardStreams();

// Why nothing can be written to a stream, as far as that is known without writing: it is open
// for reading alone, or nobody reads the other end.
std::error_code writeObstacle(std::FILE* stream);

// Lets the process open as many files as the system allows it; the number that it may open now.
std::size_t raiseDescriptorLimit();

} // namespace Pt
