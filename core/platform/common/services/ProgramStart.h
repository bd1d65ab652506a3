// Starts programs that live on by themselves. Any thread may call; the calls block until the system
// has loaded the program, some milliseconds.
//
// What is started belongs to nobody: it is no child of this process, which is neither told of its
// end nor has to wait for it, and it goes on when this process ends. It leads a session of its own,
// without a terminal. It inherits the environment, the working folder and the limits of this
// process, but no descriptors: its standard input, output and error are /dev/null, as whatever
// reads this process's output would otherwise wait for the end of the other program, too. Signals
// have their default effect in it, and none is blocked. Signal handlers, children and waits of this
// process see nothing of it.
#pragma once

#include "platform/common/services/ProcessControl.h"

#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace Pt {

// Starts the program at that path with these arguments, of which the first is not its own name.
// Nothing if the system refuses; `error` then says why. The process may have ended already when
// this returns.
std::optional<ProcessIdentity> startProgram(
    const std::string& path, const std::vector<std::string>& arguments, std::error_code& error);

// What a program gets beside its arguments.
struct StartWith {
    int standardInput = -1; // an open descriptor in the place of /dev/null
    std::vector<std::string> settings; // NAME=VALUE, in place of what the environment has
};
std::optional<ProcessIdentity> startProgram(const std::string& path,
    const std::vector<std::string>& arguments,
    const StartWith& with,
    std::error_code& error);

// Opens the address with the program that the desktop has for it (xdg-open, looked for in PATH), as
// one argument and without a shell. No error says only that this program was started.
std::error_code openWebAddress(const std::string& address);

} // namespace Pt
