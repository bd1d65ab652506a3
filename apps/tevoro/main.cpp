// The program tevoro: the browser that shows the result of a download.

#include "commandline/Output.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "tevoro/Application.h"
#include "tevoro/CommandLine.h"

#include <exception>

namespace {

using tevoro::ExitCode;

ExitCode runReporting(int argc, char** argv, const tevoro::CommandLine& line)
{
    try {
        return tevoro::runApplication(argc, argv, line);
    } catch (const commandline::CommandError& error) {
        commandline::printMessage(tevoro::kProgram, error.what());
        return error.code();
    } catch (const std::exception& error) {
        commandline::printMessage(
            tevoro::kProgram, std::string("it cannot go on: ") + error.what());
        return ExitCode::kSystemPart;
    }
}

} // namespace

int main(int argc, char** argv)
{
    Pt::holdStandardStreams();
    Pt::noteInterrupts();
    auto code = ExitCode::kDone;
    if (const auto line = tevoro::readCommandLine(argc, argv, code))
        code = runReporting(argc, argv, *line);
    if (const std::error_code error = commandline::lostOutput(); error) {
        commandline::printMessage(
            tevoro::kProgram, "standard output cannot be written: " + error.message());
        code = ExitCode::kPlaceUnusable;
    }
    return static_cast<int>(code);
}
