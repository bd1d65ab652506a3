// The program velmo-caps: the store of installed applications on the command line.

#include "commandline/Output.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "velmo-caps/Commands.h"
#include "velmo_caps/StoreProblem.h"

#include <exception>

namespace {

using velmo_caps_cli::Command;
using velmo_caps_cli::ExitCode;

ExitCode run(const velmo_caps_cli::CommandLine& line)
{
    switch (line.command) {
    case Command::kList:
        return velmo_caps_cli::runList(line);
    case Command::kAdd:
        return velmo_caps_cli::runAdd(line);
    case Command::kRemove:
        return velmo_caps_cli::runRemove(line);
    case Command::kGroups:
        return velmo_caps_cli::runGroups(line);
    case Command::kGroupAdd:
        return velmo_caps_cli::runGroupAdd(line);
    case Command::kGroupRemove:
        return velmo_caps_cli::runGroupRemove(line);
    case Command::kImport:
        return velmo_caps_cli::runImport(line);
    case Command::kExport:
        return velmo_caps_cli::runExport(line);
    }
    return ExitCode::kUsage;
}

ExitCode runReporting(const velmo_caps_cli::CommandLine& line)
{
    try {
        return run(line);
    } catch (const velmo_caps_cli::CommandError& error) {
        commandline::printMessage(velmo_caps_cli::kProgram, error.what());
        return error.code();
    } catch (const velmo_caps::StoreError& error) {
        if (Pt::wasInterrupted()) // it has waited for a lock
            return ExitCode::kInterrupted;
        commandline::printMessage(velmo_caps_cli::kProgram, error.what());
        return error.problem() == velmo_caps::StoreProblem::kMissing ? ExitCode::kNotThere
                                                                     : ExitCode::kPlaceUnusable;
    } catch (const std::exception& error) {
        commandline::printMessage(
            velmo_caps_cli::kProgram, std::string("it cannot go on: ") + error.what());
        return ExitCode::kSystemPart;
    }
}

} // namespace

int main(int argc, char** argv)
{
    // A limit of size, too, would end it in the middle of a line to be told.
    Pt::noteInterrupts();
    auto code = ExitCode::kDone;
    if (const auto line = velmo_caps_cli::readCommandLine(argc, argv, code))
        code = runReporting(*line);
    // Whoever reads the output must learn that it could not be written.
    if (const std::error_code error = commandline::lostOutput(); error && code == ExitCode::kDone) {
        commandline::printMessage(
            velmo_caps_cli::kProgram, "standard output cannot be written: " + error.message());
        code = ExitCode::kPlaceUnusable;
    }
    return static_cast<int>(code);
}
