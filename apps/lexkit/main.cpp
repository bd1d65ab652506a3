// The program lexkit: string dictionaries on the command line.

#include "commandline/Output.h"
#include "lexkit/Commands.h"
#include "lexkit/EncodingInfo.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <cstdio>
#include <exception>

namespace {

using lexkit_cli::ExitCode;

ExitCode run(const lexkit_cli::CommandLine& line)
{
    const lexkit::EncodingInfo utf8(lexkit::EncodingInfo::kUTF8);
    // Before anything is read: the default encoding belongs to the process.
    if (line.utf8Input)
        lexkit::SetDefaultEncoding(&utf8);
    switch (line.command) {
    case lexkit_cli::Command::kCheck:
        return lexkit_cli::runCheck(line);
    case lexkit_cli::Command::kList:
        return lexkit_cli::runList(line);
    case lexkit_cli::Command::kGet:
        return lexkit_cli::runGet(line);
    case lexkit_cli::Command::kCompile:
        return lexkit_cli::runCompile(line);
    case lexkit_cli::Command::kText:
        return lexkit_cli::runText(line);
    }
    return ExitCode::kUsage;
}

ExitCode runReporting(const lexkit_cli::CommandLine& line)
{
    try {
        return run(line);
    } catch (const lexkit_cli::CommandError& error) {
        commandline::printMessage(lexkit_cli::kProgram, error.what());
        return error.code();
    } catch (const std::exception& error) {
        commandline::printMessage(
            lexkit_cli::kProgram, std::string("it cannot go on: ") + error.what());
        return ExitCode::kPlaceUnusable;
    }
}

} // namespace

int main(int argc, char** argv)
{
    // Else a limit of size would end it with its temporary file left behind.
    Pt::failBeyondSizeLimit();
    auto code = ExitCode::kDone;
    if (const auto line = lexkit_cli::readCommandLine(argc, argv, code))
        code = runReporting(*line);
    // Whoever reads the output must learn that it could not be written.
    if (std::fflush(stdout) != 0 && code == ExitCode::kDone)
        code = ExitCode::kPlaceUnusable;
    return static_cast<int>(code);
}
