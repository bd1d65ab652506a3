#include "ZQPluginSupport/original/OriginalExtraction.h"
#include "mfx/cli/Commands.h"
#include "mfx/cli/Places.h"
#include "mfx/cli/Reporting.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"

#include <filesystem>

namespace mfx {

using namespace commandline;

namespace {

using dng::ExtractOutcome;

struct Refusal {
    ExitCode code;
    const char* literal; // %1 is the DNG, %2 the folder
};

Refusal refusalOf(ExtractOutcome outcome)
{
    switch (outcome) {
    case ExtractOutcome::kNotThere:
        return {ExitCode::kNotThere, "$$$/Mfx/Extract/NotThere=%1 is not there, or cannot be read"};
    case ExtractOutcome::kNotADng:
        return {ExitCode::kPartly, "$$$/Mfx/Extract/NoDng=%1 is no DNG"};
    case ExtractOutcome::kNoOriginal:
        return {ExitCode::kNotThere, "$$$/Mfx/Extract/NoOriginal=%1 has no raw file inside"};
    case ExtractOutcome::kCannotWrite:
        return {ExitCode::kPlaceUnusable, "$$$/Mfx/Extract/CannotWrite=%2 cannot be written"};
    case ExtractOutcome::kNoSpace:
        return {ExitCode::kPlaceUnusable, "$$$/Mfx/Extract/NoSpace=no space is left in %2"};
    case ExtractOutcome::kExtracted:
    case ExtractOutcome::kExists:
    case ExtractOutcome::kDamaged:
        break;
    }
    return {ExitCode::kPartly, "$$$/Mfx/Extract/Damaged=the raw file inside %1 is not whole"};
}

} // namespace

ExitCode runExtract(const CommandLine& line)
{
    const std::string dng = absolutePath(line.source);
    const std::string folder = line.target.empty()
        ? std::filesystem::path(dng).parent_path().string()
        : makePlace(absolutePath(line.target), Purpose::kTarget, false);
    const dng::ExtractResult result = dng::extractOriginal(dng, folder);
    if (!result.isThere()) {
        const Refusal refusal = refusalOf(result.outcome);
        throw CommandError(refusal.code,
            text(refusal.literal, {Pt::displayName(line.source), Pt::displayName(folder)}));
    }
    const std::string shown = Pt::terminalText(Pt::displayName(result.path));
    printLine(result.outcome == ExtractOutcome::kExists
            ? text("$$$/Mfx/Extract/Exists=%1 (already present)", {shown})
            : shown);
    if (!result.isProven)
        printMessage(text("$$$/Mfx/Extract/NotProven=%1 bears no digest of the raw file: only its "
                          "checksums were compared",
            {Pt::displayName(line.source)}));
    return ExitCode::kDone;
}

} // namespace mfx
