#include "commandline/JsonLine.h"
#include "mfx/cli/Commands.h"
#include "mfx/cli/Reporting.h"
#include "mfx/engine/card/Sources.h"
#include "mfx/texts/Texts.h"

namespace mfx {

using namespace commandline;

ExitCode runSources(const CommandLine& line)
{
    const std::vector<MediaSource> sources = findSources();
    for (const MediaSource& source : sources)
        if (line.json)
            printJson({{"name", source.name}, {"path", Pt::displayName(source.path)}});
        else
            printLine(Pt::terminalText(source.name) + "\t" + Pt::terminalText(source.path));
    if (sources.empty() && !line.json)
        printMessage(
            text("$$$/Mfx/Sources/None=no card is there; a folder can be named by its path"));
    return ExitCode::kDone;
}

} // namespace mfx
