#include "mfx/engine/run/Verdict.h"

#include "mfx/texts/Texts.h"

namespace mfx {

namespace {

std::string joined(const std::string& list, const std::string& next)
{
    return list.empty() ? next : text("$$$/Mfx/Verdict/ListJoin=%1, %2", {list, next});
}

std::string savedText(const DownloadSummary& summary)
{
    if (summary.dryRun)
        return countedText(summary.saved,
            "$$$/Mfx/Verdict/WouldBeSavedOne=%1 would be saved",
            "$$$/Mfx/Verdict/WouldBeSaved=%1 would be saved");
    return countedText(
        summary.saved, "$$$/Mfx/Verdict/SavedOne=%1 saved", "$$$/Mfx/Verdict/Saved=%1 saved");
}

// One count after the other, joined as the language joins a list.
class CountList {
public:
    explicit CountList(std::string first)
        : m_text(std::move(first))
    {
    }

    void add(std::size_t count, const char* one, const char* several)
    {
        m_text = joined(m_text, countedText(count, one, several));
    }
    void addUnlessNone(std::size_t count, const char* one, const char* several)
    {
        if (count != 0)
            add(count, one, several);
    }

    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

// Nought is said where its absence would be a question: of backups that were asked for, of proofs
// and of problems. Other counts are left out where there is nothing to count.
std::string counts(const DownloadSummary& summary)
{
    CountList list(savedText(summary));
    list.addUnlessNone(summary.existing,
        "$$$/Mfx/Verdict/ExistingOne=%1 already present",
        "$$$/Mfx/Verdict/Existing=%1 already present");
    if (summary.backupWanted)
        list.add(summary.backups,
            "$$$/Mfx/Verdict/BackedUpOne=%1 backed up",
            "$$$/Mfx/Verdict/BackedUp=%1 backed up");
    list.addUnlessNone(summary.converted,
        "$$$/Mfx/Verdict/ConvertedOne=%1 converted",
        "$$$/Mfx/Verdict/Converted=%1 converted");
    if (summary.datesAreUsed)
        list.addUnlessNone(summary.datedByFile,
            "$$$/Mfx/Verdict/DatedByFileOne=%1 dated by the file's time",
            "$$$/Mfx/Verdict/DatedByFile=%1 dated by the file's time");
    list.add(
        summary.proven, "$$$/Mfx/Verdict/ProvenOne=%1 proven", "$$$/Mfx/Verdict/Proven=%1 proven");
    list.add(summary.failed,
        "$$$/Mfx/Verdict/ProblemsOne=%1 problem",
        "$$$/Mfx/Verdict/Problems=%1 problems");
    list.addUnlessNone(summary.deleted,
        "$$$/Mfx/Verdict/DeletedOne=%1 deleted from the card",
        "$$$/Mfx/Verdict/Deleted=%1 deleted from the card");
    return list.text();
}

std::string notHandledText(const DownloadSummary& summary)
{
    std::string list;
    for (const auto& [reason, count] : summary.notHandled)
        list = joined(list,
            text("$$$/Mfx/Verdict/Times=%1 x %2", {std::to_string(count), reasonText(reason)}));
    return list;
}

// All that was counted, on both sides of what was saved.
std::string tally(const DownloadSummary& summary)
{
    std::string all = counts(summary);
    if (!summary.notHandled.empty())
        all =
            text("$$$/Mfx/Verdict/NotHandled=%1; not handled: %2", {all, notHandledText(summary)});
    if (summary.notAskedFor != 0)
        all = countedText(summary.notAskedFor,
            "$$$/Mfx/Verdict/NotAskedForOne=%2; %1 not asked for",
            "$$$/Mfx/Verdict/NotAskedFor=%2; %1 not asked for",
            {all});
    return all;
}

std::string kindText(const PassedOver& entry)
{
    switch (entry.kind) {
    case PassedOverKind::kNotHandled:
        break;
    case PassedOverKind::kEmptyFile:
        return text("$$$/Mfx/Verdict/EmptyFile=files without bytes");
    case PassedOverKind::kNotAskedFor:
        return text("$$$/Mfx/Verdict/LeftOut=not asked for");
    }
    return reasonText(entry.reason);
}

// Up to five names of each kind that was left on the card.
std::string passedOverText(const DownloadSummary& summary)
{
    std::string all;
    for (const PassedOver& kind : summary.passedOver) {
        std::string names;
        for (const std::string& name : kind.names)
            names = joined(names, name);
        if (kind.count > kind.names.size())
            names = text("$$$/Mfx/Verdict/AndMore=%1 and %2 more",
                {names, std::to_string(kind.count - kind.names.size())});
        const std::string entry =
            text("$$$/Mfx/Verdict/PassedOverKind=%1: %2", {kindText(kind), names});
        all = all.empty() ? entry : text("$$$/Mfx/Verdict/KindJoin=%1; %2", {all, entry});
    }
    return all;
}

bool holdsMore(const DownloadSummary& summary)
{
    return !summary.passedOver.empty() || summary.mayHoldPhotos != 0 || summary.notAskedFor != 0;
}

// An empty card needs no leave to be wiped, and one that was pulled out looks empty.
bool mayBeWiped(const DownloadSummary& summary, bool allProven)
{
    return allProven && summary.items != 0 && !holdsMore(summary) && !summary.copiesOnCardsDevice
        && !summary.interrupted && !summary.sourceGone && !summary.dryRun;
}

// The sentence around the tally, %1, and what the card holds besides, %2. The first that fits
// holds. Their order is that of what matters most to somebody who is about to format the card: an
// interrupted run says so before it says that something is not safe, and a card that was pulled out
// is never called safe, for nobody saw what came onto it last.
const char* sentence(const DownloadSummary& summary, bool allProven)
{
    if (summary.dryRun)
        return "$$$/Mfx/Verdict/NothingWritten=%1. Nothing was written.";
    if (allProven && summary.items == 0 && !holdsMore(summary) && !summary.interrupted)
        return "$$$/Mfx/Verdict/NothingThere=%1. There is nothing on the card.";
    if (summary.cardMayBeWiped)
        return "$$$/Mfx/Verdict/MayBeWiped=%1: the card may be wiped.";
    if (summary.interrupted)
        return "$$$/Mfx/Verdict/Interrupted=%1. Interrupted: do not wipe the card; run the "
               "download "
               "again.";
    if (allProven && summary.sourceGone)
        return "$$$/Mfx/Verdict/CardGone=%1. The card is no longer there: look at it again before "
               "you wipe it.";
    if (allProven && holdsMore(summary))
        return "$$$/Mfx/Verdict/TheseAreSafe=%1. All these are safe; the card holds more than "
               "these: %2.";
    if (allProven)
        return "$$$/Mfx/Verdict/SameDevice=%1. All these are safe, but copies are on the same "
               "device as the originals: do not wipe it.";
    return "$$$/Mfx/Verdict/DoNotWipe=%1. Do not wipe the card: not everything on it is safe.";
}

} // namespace

void giveVerdict(DownloadSummary& summary)
{
    // A failed conversion leaves a proven raw file: not as asked for, and safe.
    const bool allProven =
        summary.proven == summary.items && summary.unsafe == 0 && summary.notSafe.empty();
    summary.cardMayBeWiped = mayBeWiped(summary, allProven);
    summary.verdict = text(sentence(summary, allProven), {tally(summary), passedOverText(summary)});
    if (summary.copiesInOneFolder && !summary.dryRun)
        summary.verdict += ' '
            + text("$$$/Mfx/Verdict/OneFolder=Target and backup are one folder: that is one copy.");
    else if (summary.backupWanted && summary.copiesOnOneDisk && !summary.dryRun)
        summary.verdict += ' ' + text("$$$/Mfx/Verdict/OneDisk=Both copies are on one disk.");
}

} // namespace mfx
