#include "mfx/engine/run/Download.h"

#include "mfx/engine/card/TwinCheck.h"
#include "mfx/engine/names/LastNumber.h"
#include "mfx/engine/run/Ticker.h"
#include "mfx/engine/run/Verdict.h"
#include "mfx/engine/saving/GroupPlacer.h"
#include "mfx/engine/saving/GroupStager.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"

#include <algorithm>

namespace mfx {

namespace {

constexpr std::chrono::milliseconds kProgressPause{500}; // JSON promises twice a second

// Bytes to work through for each byte of an item: written and read back, for each place.
std::uint64_t passes(const DownloadRequest& request)
{
    return request.backupFolder ? 4 : 2;
}

// Who asks for raw files gives up what an earlier run was asked for.
CutOffConversions conversions(const DownloadRequest& request)
{
    return request.convertsToDNG || request.wantsDNG ? CutOffConversions::kAwaited
                                                     : CutOffConversions::kGivenUp;
}

} // namespace

Download::Download(
    DownloadRequest request, const CardContents& card, SinkSession& sink, DownloadEvents& events)
    : m_request(std::move(request))
    , m_card(card)
    , m_sink(sink)
    , m_events(events)
    , m_places(card, m_request.target, m_request.backupFolder, m_request.dryRun)
    , m_folders(m_request.target, m_places, m_request.dryRun, conversions(m_request))
    , m_backup(card, m_groups, sink, m_places)
    , m_account(m_request, card)
    , m_deletion(m_request, card, m_places, m_folders, m_account)
    , m_progress(card, passes(m_request))
    , m_conversion(m_request, sink, m_places, m_account, m_progress, conversionHooks())
    , m_browserWait(events, m_request.wasInterrupted)
{
}

GroupConversion::Hooks Download::conversionHooks()
{
    return {[this](const GroupWork& work) { return stopWherePlaceIsLost(work); },
        [this](const GroupWork& work, std::size_t member) {
            return sinkItem(work, member, work.folder->path);
        },
        [this](const std::string& path) { tellPutBack(path); }};
}

// Each step rests on the ones before it. Places are opened and compared before a single byte is
// written into them. All groups are through before names are flushed and originals may go. Folders
// are left last: the locks in them keep other programs from taking our staged copies for leftovers.
DownloadSummary Download::run()
{
    if (m_request.rules.useNumbers())
        m_folders.listNumbers(m_request.rules.rename->numberMatcher());
    openPlaces();
    m_events.source(m_request.sourceName, m_card.items.size(), m_account.bytesOnCard());
    warnOfPlaces();
    saveAll();
    if (!m_isOver)
        tellSummary();
    return m_account.summary;
}

void Download::saveAll()
{
    // From here on there is a second thread: it reports progress, also while the sink or a question
    // holds this one up, and has ended when this function returns. Nothing is reported behind the
    // summary.
    const Ticker ticker(kProgressPause, [this] { reportProgress(); });
    m_groups = TwinCheck(m_card, m_request.wasInterrupted).groups();
    m_nextNumber = firstNumber();
    runGroups();
    m_account.summary.nextSequence = m_nextNumber;
    if (!m_request.dryRun)
        closeDownload();
    leavePlaces();
}

void Download::leavePlaces()
{
    m_folders.leave();
    m_places.leave();
}

void Download::tellSummary()
{
    {
        Pt::Locked locked(m_tellingLock);
        m_events.progress(m_progress.event());
        m_isTold = true;
    }
    m_isOver = true;
    sumUp();
    m_events.summary(m_account.summary);
}

// A target that refused some files is unusable only where it took none at all: one sub-folder that
// is shut does not make the others so.
void Download::sumUp()
{
    DownloadSummary& summary = m_account.summary;
    summary.placeUnusable =
        summary.placeUnusable || (m_targetRefused && summary.saved + summary.existing == 0);
    summary.interrupted = summary.interrupted || m_request.wasInterrupted();
    giveVerdict(summary);
}

// The target's own folder is compared although all may go into folders below it: its sub-folders
// come into being one by one, when half of the card may be copied.
void Download::openPlaces()
{
    m_places.open();
    const FinalFolder& base = m_folders.open("");
    if (!base.objection.empty())
        throw PlaceError(base.objection);
    m_account.summary.copiesOnCardsDevice = m_places.isBackupOnCardsDevice();
    m_account.summary.copiesInOneFolder = base.kinship.toBackup == Kinship::kSameName;
    m_account.summary.copiesOnOneDisk = base.kinship.toBackup != Kinship::kApart;
    for (const FolderKinship& kinship : {base.kinship, m_places.backupKinship()})
        if (!kinship.cardFolder.empty())
            m_deletion.passOver(kinship.cardFolder);
}

void Download::warnOfPlaces()
{
    if (m_account.summary.copiesInOneFolder)
        m_events.message("",
            text(
                "$$$/Mfx/Download/OneFolder=target and backup are one folder: both copies count as "
                "one, and no original is deleted"));
    else if (m_account.summary.copiesOnOneDisk)
        m_events.message("",
            text("$$$/Mfx/Download/OneDisk=both copies are on one disk: who loses it loses both"));
    if (m_request.wantsDNG && !m_request.convertsToDNG)
        m_events.message("",
            text("$$$/Mfx/Download/NoConversionLibrary=raw files stay as they are: the DNG "
                 "conversion library is not installed"));
}

StagingPlan Download::stagingPlan()
{
    return {m_card,
        m_groups,
        m_request.rules,
        m_nextNumber,
        m_request.dryRun,
        m_request.convertsToDNG || m_request.wantsDNG,
        [this](std::uint32_t item, ProgressPhase phase, std::uint64_t bytes) {
            m_progress.add(item, phase, bytes);
        },
        m_request.wasInterrupted};
}

// An interrupt counts more than a reason to stop: what was not begun is then not reported as
// failed, for nothing is wrong with it.
void Download::runGroups()
{
    GroupStager stager(stagingPlan(), m_folders);
    for (std::size_t group = 0; group < m_groups.size(); ++group) {
        if (m_stopReason && !m_request.wasInterrupted()) {
            failRest(group, *m_stopReason);
            return;
        }
        if (m_request.wasInterrupted() || !runNextGroup(stager)) {
            m_account.summary.interrupted = true;
            return;
        }
    }
    m_account.summary.interrupted = m_request.wasInterrupted();
}

// False when its copying was broken off by an interrupt.
bool Download::runNextGroup(GroupStager& stager)
{
    const std::unique_ptr<GroupWork> work = stager.take();
    // The stager may just have opened a folder in which an earlier run was cut off.
    reportRestored();
    if (work->problem == Pt::CopyProblem::kCancelled) {
        dropItemFolder(*work);
        return false;
    }
    finishGroup(*work);
    // A reader that went away would never learn which copies failed: copying on for nobody could
    // end with a card that is wiped on the word of an incomplete list.
    if (!m_events.isHeard()) {
        m_account.summary.outputFailed = true;
        stopAt(text("$$$/Mfx/Download/StoppedUnheard=not tried: what is told cannot be written "
                    "to standard output"));
    }
    return true;
}

void Download::reportRestored()
{
    for (const std::string& path : m_folders.takeRestored())
        tellPutBack(path);
}

void Download::tellPutBack(const std::string& path)
{
    m_events.message("",
        text("$$$/Mfx/Download/PutBack=put back after an earlier run was cut off: %1",
            {Pt::displayName(path)}));
}

// With sub-folders, numbers go on from one to the next.
std::uint64_t Download::firstNumber() const
{
    if (!m_request.rules.useNumbers() || m_request.beginsAtFirst)
        return m_request.firstSequence;
    const auto last = lastNumberIn(m_places.targetOwnPath(),
        m_request.rules.rename->numberMatcher(),
        m_request.rules.subfolders.has_value(),
        m_request.wasInterrupted);
    return last ? std::max(m_request.firstSequence, *last + 1) : m_request.firstSequence;
}

// A place is lost, or is another under two names, or nobody hears what is told: the run ends here,
// and nothing goes.
void Download::stopAt(const std::string& reason)
{
    m_account.summary.placeUnusable = true;
    m_stopReason = reason;
    m_deletion.refuse(reason);
}

void Download::failRest(std::size_t firstGroup, const std::string& reason)
{
    for (std::size_t group = firstGroup; group < m_groups.size(); ++group)
        for (const std::uint32_t item : m_groups[group].members)
            failItem(item, reason);
}

void Download::failItem(std::uint32_t item, const std::string& reason)
{
    ItemEvent event;
    event.key = static_cast<long>(item) + 1;
    event.name = Pt::displayName(m_card.items[item].name);
    event.status = ItemStatus::kFailed;
    event.error = reason;
    m_progress.finish(item);
    m_account.addUnsafe(event.name, reason);
    m_events.item(event);
}

// Fits a file name, as the saved names do: a byte that is no UTF-8 takes three as displayed, so
// that the name of a file may grow past what a file system takes.
std::string Download::deviceName(std::uint32_t item) const
{
    std::string name = Pt::displayName(m_card.items[item].name);
    if (name.size() <= kMaxNameLength)
        return name;
    const std::size_t stem = stemLength(name, [](std::string_view) { return false; });
    const std::string extension = stem < name.size() ? name.substr(stem + 1) : std::string();
    return GroupTarget({}, name.substr(0, stem), {extension}).fileName(0, 0);
}

void Download::reportProgress()
{
    {
        Pt::Locked locked(m_tellingLock);
        if (!m_isTold)
            m_events.progress(m_progress.event());
    }
    m_browserWait.look();
}

} // namespace mfx
