#include "commandline/Output.h"

#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/text/NameText.h"

#include <cerrno>
#include <cstdio>

namespace commandline {

void printMessage(std::string_view program, const std::string& text)
{
    std::fprintf(stderr,
        "%.*s: %s\n",
        static_cast<int>(program.size()),
        program.data(),
        Pt::terminalText(text).c_str());
}

namespace {

std::error_code gOutputError; // the first; for the program's main thread, as all of this

void noteOutputError(bool isWritten)
{
    if (!isWritten && !gOutputError)
        gOutputError.assign(errno, std::system_category());
}

} // namespace

std::error_code lostOutput()
{
    noteOutputError(std::fflush(stdout) == 0);
    return gOutputError;
}

std::error_code outputError()
{
    lostOutput();
    if (!gOutputError)
        gOutputError = Pt::writeObstacle(stdout);
    return gOutputError;
}

void printLine(const std::string& text)
{
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    noteOutputError(isWritten && std::fputc('\n', stdout) != EOF);
}

} // namespace commandline
