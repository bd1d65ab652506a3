// What the user typed.
#pragma once

#include "commandline/ExitCode.h"

#include <optional>
#include <string>
#include <vector>

namespace velmo_caps_cli {

using commandline::CommandError;
using commandline::ExitCode;

inline constexpr char kProgram[] = "velmo-caps";

enum class Command { kList, kAdd, kRemove, kGroups, kGroupAdd, kGroupRemove, kImport, kExport };

struct CommandLine {
    Command command = Command::kList;
    std::string name; // SPECIFIER, GROUP/VERSION/SPECIFIER, FILE, or what to export
    std::optional<std::string> path;
    std::vector<std::string> settings; // KEY=VALUE
    std::string store; // empty: the user's over the machine's
    bool machine = false;
    bool json = false;
};

// Nothing when the program is to end with `code`: help was asked for, or the usage was wrong.
std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code);

} // namespace velmo_caps_cli
