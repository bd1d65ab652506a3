#include "mfx/engine/Verdict.h"

namespace mfx {

namespace {

std::string counted(std::size_t count, const char* what)
{
    return std::to_string(count) + ' ' + what;
}

std::string counts(const DownloadSummary& summary)
{
    std::string text = counted(summary.saved, summary.dryRun ? "would be saved" : "saved");
    if (summary.existing != 0)
        text += ", " + counted(summary.existing, "stood there already");
    if (summary.backupWanted)
        text += ", " + counted(summary.backups, "backed up");
    if (summary.converted != 0)
        text += ", " + counted(summary.converted, "converted");
    text += ", " + counted(summary.proven, "proven");
    text += ", " + counted(summary.failed, summary.failed == 1 ? "problem" : "problems");
    if (summary.deleted != 0)
        text += ", " + counted(summary.deleted, "deleted from the card");
    return text;
}

std::string notHandledText(const DownloadSummary& summary)
{
    std::string text;
    for (const auto& [what, count] : summary.notHandled)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " x " + what;
    return text;
}

} // namespace

void giveVerdict(DownloadSummary& summary)
{
    const bool allProven = summary.proven == summary.items && summary.failed == 0;
    summary.cardMayBeWiped = allProven && summary.notSafe.empty() && summary.mayHoldPhotos == 0
        && summary.notAskedFor == 0 && !summary.interrupted && !summary.sourceGone
        && !summary.dryRun;
    summary.verdict = counts(summary);
    if (!summary.notHandled.empty())
        summary.verdict += "; not handled: " + notHandledText(summary);
    if (summary.notAskedFor != 0)
        summary.verdict += "; " + counted(summary.notAskedFor, "not asked for");
    if (summary.dryRun)
        summary.verdict += ". Nothing was written.";
    else if (summary.cardMayBeWiped && summary.items == 0)
        summary.verdict += ". There is nothing on the card.";
    else if (summary.cardMayBeWiped)
        summary.verdict += ": the card may be wiped.";
    else if (summary.interrupted)
        summary.verdict += ". Interrupted: do not wipe the card; run the download again.";
    else if (allProven && summary.notSafe.empty())
        summary.verdict += ". All these are safe; the card holds more than these.";
    else
        summary.verdict += ". Do not wipe the card: not everything on it is safe.";
}

} // namespace mfx
