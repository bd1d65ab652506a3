// The program mfx: one face of the download engine, on the command line.

#include "mfx/cli/Commands.h"
#include "mfx/cli/Reporting.h"
#include "mfx/engine/SinkModule.h"
#include "platform/common/ProgramEnvironment.h"

#include <cstdio>
#include <exception>

namespace {

mfx::ExitCode run(const mfx::CommandLine& line)
{
    switch (line.command) {
    case mfx::Command::kSources:
        return mfx::runSources(line);
    case mfx::Command::kList:
        return mfx::runList(line);
    case mfx::Command::kDownload:
        return mfx::runDownload(line);
    }
    return mfx::ExitCode::kUsage;
}

mfx::ExitCode runReporting(const mfx::CommandLine& line)
{
    try {
        return run(line);
    } catch (const mfx::CommandError& error) {
        mfx::printMessage(error.what());
        return error.code();
    } catch (const mfx::SystemPartError& error) {
        mfx::printMessage(error.what());
        return mfx::ExitCode::kSystemPart;
    } catch (const std::exception& error) {
        mfx::printMessage(std::string("it cannot go on: ") + error.what());
        return mfx::ExitCode::kPlaceUnusable;
    }
}

} // namespace

int main(int argc, char** argv)
{
    Pt::noteInterrupts();
    auto code = mfx::ExitCode::kDone;
    if (const auto line = mfx::readCommandLine(argc, argv, code))
        code = runReporting(*line);
    // Whoever reads the output must learn that it could not be written.
    if (std::fflush(stdout) != 0 && code == mfx::ExitCode::kDone)
        code = mfx::ExitCode::kPlaceUnusable;
    return static_cast<int>(code);
}
