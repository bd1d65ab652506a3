// The program tevorotalk: the message bus on the command line.

#include "commandline/Output.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"

#include <cstdio>
#include <exception>

namespace {

using tevorotalk::ExitCode;

ExitCode run(const tevorotalk::CommandLine& line)
{
    switch (line.command) {
    case tevorotalk::Command::kApps:
        return tevorotalk::runApps(line);
    case tevorotalk::Command::kPorts:
        return tevorotalk::runPorts(line);
    case tevorotalk::Command::kPing:
        return tevorotalk::runPing(line);
    case tevorotalk::Command::kSend:
        return tevorotalk::runSend(line);
    case tevorotalk::Command::kListen:
        return tevorotalk::runListen(line);
    case tevorotalk::Command::kMonitor:
        return tevorotalk::runMonitor(line);
    case tevorotalk::Command::kInfo:
        return tevorotalk::runInfo(line);
    }
    return ExitCode::kUsage;
}

ExitCode runReporting(const tevorotalk::CommandLine& line)
{
    try {
        return run(line);
    } catch (const tevorotalk::Interrupted&) {
        return ExitCode::kInterrupted;
    } catch (const tevorotalk::CommandError& error) {
        commandline::printMessage("tevorotalk", error.what());
        return error.code();
    } catch (const std::exception& error) {
        commandline::printMessage("tevorotalk", std::string("it cannot go on: ") + error.what());
        return ExitCode::kSystemPart;
    }
}

} // namespace

int main(int argc, char** argv)
{
    Pt::noteInterrupts();
    auto code = ExitCode::kDone;
    if (const auto line = tevorotalk::readCommandLine(argc, argv, code))
        code = runReporting(*line);
    // Whoever reads the output must learn that it could not be written.
    if (const std::error_code error = commandline::lostOutput(); error && code == ExitCode::kDone) {
        commandline::printMessage(
            "tevorotalk", "standard output cannot be written: " + error.message());
        code = ExitCode::kPlaceUnusable;
    }
    return static_cast<int>(code);
}
