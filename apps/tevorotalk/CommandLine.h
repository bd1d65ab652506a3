// What the user typed.
#pragma once

#include "commandline/ExitCode.h"

#include <optional>
#include <string>
#include <vector>

namespace tevorotalk {

using commandline::CommandError;
using commandline::ExitCode;

enum class Command { kApps, kPorts, kPing, kSend, kListen, kMonitor, kInfo };

struct CommandLine {
    Command command = Command::kPorts;
    std::string target; // for listen, the name to hold
    std::string pingCommand;
    std::string text; // body
    std::string sender;
    std::vector<std::string> types;
    std::string request;
    std::vector<std::string> headers; // NAME=VALUE
    std::optional<std::string> reply;
    std::optional<long> error;
    std::optional<unsigned long> wait; // seconds
    std::optional<unsigned long> seconds;
    std::optional<unsigned long> count;
    std::optional<long> timeout; // seconds
    bool messages = false;
    bool logs = false;
    bool launch = false;
    bool json = false;
};

// Nothing when the program is to end with `code`: help was asked for, or the usage was wrong.
std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code);

} // namespace tevorotalk
