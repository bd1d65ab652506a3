// The program mfx: one front end of the download engine, on the command line.

#include "commandline/Output.h"
#include "mfx/cli/Commands.h"
#include "mfx/cli/Reporting.h"
#include "mfx/engine/sink/SinkModule.h"
#include "mfx/texts/Language.h"
#include "mfx/texts/Texts.h"
#include "platform/common/services/ProgramEnvironment.h"

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
    case mfx::Command::kConvert:
        return mfx::runConvert(line);
    case mfx::Command::kExtract:
        return mfx::runExtract(line);
    }
    return mfx::ExitCode::kUsage;
}

// Whatever ends a command early is told in one line and becomes an exit code that scripts can rely
// on.
mfx::ExitCode runReporting(int argc, char** argv)
{
    try {
        mfx::speakLanguageOfUser(); // help and complaints about the command line are texts too
        auto code = mfx::ExitCode::kDone;
        const auto line = mfx::readCommandLine(argc, argv, code);
        return line ? run(*line) : code;
    } catch (const mfx::CommandError& error) {
        mfx::printMessage(error.what());
        return error.code();
    } catch (const mfx::SystemPartError& error) {
        mfx::printMessage(error.what());
        return mfx::ExitCode::kSystemPart;
    } catch (const std::exception& error) {
        mfx::printMessage(
            mfx::text("$$$/Mfx/System/CannotGoOn=it cannot go on: %1", {error.what()}));
        return mfx::ExitCode::kPlaceUnusable;
    }
}

} // namespace

// Standard streams first: a program that is started with one of them closed would give its number
// to the next file that it opens, a picture, and write its messages into it. The signals next, so
// that an interrupt during the start ends the run in good order too.
int main(int argc, char** argv)
{
    Pt::holdStandardStreams();
    Pt::noteInterrupts();
    Pt::raiseDescriptorLimit(); // each folder that is saved into is held open
    auto code = runReporting(argc, argv);
    // Whoever reads the output must learn that it could not be written.
    if (const std::error_code error = commandline::outputError()) {
        mfx::printMessage(
            mfx::text("$$$/Mfx/System/OutputFailed=standard output cannot be written: "
                      "%1",
                {error.message()}));
        if (code == mfx::ExitCode::kDone || code == mfx::ExitCode::kPartly)
            code = mfx::ExitCode::kPlaceUnusable;
    }
    return static_cast<int>(code);
}
