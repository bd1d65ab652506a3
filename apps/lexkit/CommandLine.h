// What the user typed.
#pragma once

#include "commandline/ExitCode.h"

#include <optional>
#include <string>
#include <vector>

namespace lexkit_cli {

using commandline::CommandError;
using commandline::ExitCode;

inline constexpr char kProgram[] = "lexkit";

enum class Command { kCheck, kList, kGet, kCompile, kText };

struct CommandLine {
    Command command = Command::kCheck;
    std::vector<std::string> files; // check
    std::string file; // the dictionary to read
    std::string output; // the file to write
    std::vector<std::string> literals;
    bool utf8Input = false; // of text files without a byte-order mark
    bool utf8Output = false;
    bool json = false;
};

// Nothing when the program is to end with `code`: help was asked for, or the usage was wrong.
std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code);

} // namespace lexkit_cli
