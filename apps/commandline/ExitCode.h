// How every command of the system ends.
#pragma once

#include <stdexcept>
#include <string>

namespace commandline {

enum class ExitCode : int {
    kDone = 0,
    kPartly = 1, // done in part, or the answer is no
    kUsage = 2,
    kNotThere = 3, // what was asked for is not there
    kPlaceUnusable = 4, // missing, full, no permission
    kSystemPart = 5, // a part of the system is missing or broken
    kInterrupted = 130,
};

// Ends the command with a message that names what it is about and what to do.
class CommandError : public std::runtime_error {
public:
    CommandError(ExitCode code, const std::string& message)
        : std::runtime_error(message)
        , m_code(code)
    {
    }

    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

} // namespace commandline
