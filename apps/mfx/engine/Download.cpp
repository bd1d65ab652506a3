#include "mfx/engine/Download.h"

#include "commandline/NameText.h"
#include "mfx/engine/BackupSearch.h"
#include "mfx/engine/DNGSearch.h"
#include "mfx/engine/GroupPlacer.h"
#include "mfx/engine/GroupStager.h"
#include "mfx/engine/TargetSpot.h"
#include "mfx/engine/Verdict.h"
#include "mfx/texts/Texts.h"
#include "platform/common/FilePlacement.h"
#include "platform/common/FolderLock.h"

#include <algorithm>
#include <filesystem>

namespace mfx {

using namespace commandline;

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kToldNotSafe = 50; // the rest is counted

// Bytes to work through for each byte of an item: written and read back, for each place.
std::uint64_t passes(const DownloadRequest& request)
{
    return request.backupFolder ? 4 : 2;
}

bool isSourceTrouble(Pt::CopyProblem problem)
{
    return problem == Pt::CopyProblem::kSourceMissing
        || problem == Pt::CopyProblem::kSourceUnreadable;
}

// A failed backup keeps its status: an original without its second copy is not to be deleted,
// whatever else fails.
void noteNoDNG(ItemEvent& event, const std::string& reason)
{
    if (event.status == ItemStatus::kBackupFailed) {
        event.error = text("$$$/Mfx/Download/TwoReasons=%1; and %2", {*event.error, reason});
        return;
    }
    event.status = ItemStatus::kDNGFailed;
    event.error = reason;
}

bool isCardGone(const CardContents& card)
{
    std::error_code error;
    const fs::directory_iterator first(card.root, error);
    return error || first == fs::directory_iterator();
}

} // namespace

Download::Download(
    DownloadRequest request, const CardContents& card, SinkSession& sink, DownloadEvents& events)
    : m_request(std::move(request))
    , m_card(card)
    , m_sink(sink)
    , m_events(events)
    , m_groups(groupItems(card))
    , m_folders(m_request.target, m_request.dryRun)
    , m_items(card.items.size())
{
}

DownloadSummary Download::run()
{
    m_summary.items = m_card.items.size();
    m_summary.folder = m_request.target;
    m_summary.backupWanted = m_request.backupFolder.has_value();
    m_summary.dryRun = m_request.dryRun;
    m_summary.notAskedFor = m_card.notAskedFor;
    std::uint64_t bytes = 0;
    for (const MediaItem& item : m_card.items)
        bytes += item.status.size;
    m_bytesTotal = bytes * passes(m_request);
    m_events.source(m_request.sourceName, m_card.items.size(), bytes);
    addNotHandled();
    runGroups();
    m_folders.leave();
    m_summary.nextSequence = m_request.firstSequence + m_lastSaved;
    if (!m_request.dryRun)
        closeDownload();
    m_summary.interrupted = m_summary.interrupted || m_request.wasInterrupted();
    giveVerdict(m_summary);
    m_events.summary(m_summary);
    return m_summary;
}

void Download::runGroups()
{
    StagingPlan plan{m_card,
        m_groups,
        m_request.rules,
        m_request.firstSequence,
        m_request.dryRun,
        [this](std::uint64_t count) { addProgress(count); },
        m_request.wasInterrupted};
    GroupStager stager(std::move(plan), m_folders);
    for (std::size_t group = 0; group < m_groups.size(); ++group) {
        if (m_request.wasInterrupted()) {
            m_summary.interrupted = true;
            return;
        }
        if (m_stopReason) {
            failRest(group, *m_stopReason);
            return;
        }
        const std::unique_ptr<GroupWork> work = stager.take();
        tellRestored();
        if (work->problem == Pt::CopyProblem::kCancelled) {
            dropItemFolder(*work);
            m_summary.interrupted = true;
            return;
        }
        finishGroup(*work);
    }
    m_summary.interrupted = m_request.wasInterrupted();
}

void Download::tellRestored()
{
    for (const std::string& path : m_folders.takeRestored())
        m_events.message("",
            text("$$$/Mfx/Download/PutBack=put back after an earlier run was cut off: %1",
                {displayName(path)}));
}

void Download::finishGroup(GroupWork& work)
{
    std::vector<ItemEvent> events(work.members.size());
    if (!work.failed && !work.stoodThere) {
        if (m_request.dryRun)
            previewNames(work);
        else
            decideNames(work);
    }
    if (!work.failed && m_request.backupFolder && !m_request.dryRun)
        backUp(work, events);
    if (!work.failed && !m_request.dryRun)
        place(work);
    const bool asksForDNG = m_request.convertsToDNG || m_request.wantsDNG;
    if (!work.failed && asksForDNG && !m_request.dryRun)
        convert(
            work, events); // the item folder keeps the work folder, and our lock on it, in being
    dropItemFolder(work);
    judge(work, events);
    conclude(work, events);
    if (work.failed)
        noteFailure(work);
}

// Hands each member to the sink from where it lies now: staged, or in its final place already.
// Programs with one backup folder take turns: the sink chooses a free name before it copies, and
// two that choose the same would cost one of them its backup. Where nothing can be locked, there
// are no turns.
void Download::backUp(GroupWork& work, std::vector<ItemEvent>& events)
{
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const MemberWork& member = work.members[i];
        std::string error;
        std::error_code noTurns;
        const auto turn = Pt::FolderLock::waitAlone(*m_request.backupFolder, noTurns);
        bool isBackedUp = hasBackup(work, member);
        if (!isBackedUp) {
            const std::string& folder = member.stoodThere ? work.folder->path : work.itemFolder;
            isBackedUp = m_sink.makeBackup(sinkItem(work, i, folder), error);
        }
        if (isBackedUp) {
            events[i].backup = displayName(*m_request.backupFolder);
            ++m_summary.backups;
        } else {
            events[i].status = ItemStatus::kBackupFailed;
            events[i].error = error;
        }
        addProgress(2 * m_card.items[member.item].status.size);
    }
}

bool Download::hasBackup(const GroupWork& work, const MemberWork& member) const
{
    std::error_code error;
    const std::string saved = member.stoodThere ? work.folder->path + '/' + member.finalName
                                                : work.itemFolder + '/' + member.stagedName;
    return member.digest
        && holdsBackup(*m_request.backupFolder,
            deviceName(member.item),
            *member.digest,
            Pt::fileStatus(saved, error));
}

void Download::convert(GroupWork& work, std::vector<ItemEvent>& events)
{
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const MemberWork& member = work.members[i];
        if (!member.isPlaced
            || mediaKind(memberExtension(m_card, m_groups[work.group], i)) != MediaKind::Raw)
            continue;
        const std::string raw = work.folder->path + '/' + member.finalName;
        const std::string dng = nextDNGPath(raw);
        std::string error;
        std::error_code status;
        if (!m_request.convertsToDNG) {
            noteNoDNG(events[i],
                text("$$$/Mfx/Download/NoConversionLibrary=it stays as it is: the DNG conversion "
                     "library is not installed"));
        } else if (!m_sink.convert(sinkItem(work, i, work.folder->path), error)) {
            noteNoDNG(events[i],
                error.empty()
                    ? text("$$$/Mfx/Download/NotConverted=it could not be converted to DNG")
                    : error);
        } else if (Pt::fileStatus(dng, status) && !Pt::fileStatus(raw, status)) {
            events[i].dng = displayName(dng);
            m_items[member.item].dng = dng;
            ++m_summary.converted;
        }
    }
}

// What became of each member; a group is deletable only as a whole.
void Download::judge(GroupWork& work, std::vector<ItemEvent>& events)
{
    bool allProven = !m_request.dryRun;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const MemberWork& member = work.members[i];
        ItemEvent& event = events[i];
        event.key = static_cast<long>(member.item) + 1;
        event.name = displayName(m_card.items[member.item].name);
        if (work.failed) {
            event.status = ItemStatus::kFailed;
            event.error = member.error;
        } else {
            event.saved = displayName(work.folder->path + '/' + member.finalName);
            if (event.status == ItemStatus::kPending)
                event.status = member.stoodThere ? ItemStatus::kExists : ItemStatus::kOk;
        }
        allProven = allProven && !work.failed && event.status != ItemStatus::kBackupFailed;
    }
    for (const MemberWork& member : work.members) {
        ItemState& state = m_items[member.item];
        state.isProven = allProven;
        state.folder = work.failed ? nullptr : work.folder;
        state.finalName = member.finalName;
    }
}

void Download::conclude(const GroupWork& work, const std::vector<ItemEvent>& events)
{
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const ItemEvent& event = events[i];
        const MemberWork& member = work.members[i];
        m_items[member.item].status = event.status;
        if (!work.failed && member.stoodThere)
            ++m_summary.existing;
        else if (!work.failed)
            ++m_summary.saved;
        if (!work.failed)
            m_lastSaved = work.group + 1;
        if (m_items[member.item].isProven)
            ++m_summary.proven;
        if (event.error) {
            ++m_summary.failed;
            addNotSafe(event.name, *event.error);
        }
        if (!member.isStaged)
            addProgress(2 * m_card.items[member.item].status.size);
        ++m_itemsDone;
        m_events.item(event);
    }
    addProgress(0);
}

// Some failures are about one file; others mean that nothing more can succeed.
void Download::noteFailure(const GroupWork& work)
{
    if (work.problem == Pt::CopyProblem::kTargetFull) {
        m_summary.placeUnusable = true;
        m_stopReason = text("$$$/Mfx/Download/StoppedFull=not tried: no space is left in %1",
            {displayName(m_request.target)});
    } else if (work.problem == Pt::CopyProblem::kTargetUnusable) {
        // One sub-folder may refuse what others take: the rest is tried.
        m_summary.placeUnusable = m_summary.saved + m_summary.existing == 0;
    } else if (isSourceTrouble(work.problem) && isCardGone(m_card)) {
        m_summary.sourceGone = true;
        m_stopReason = text("$$$/Mfx/Download/StoppedCardGone=not tried: the card was taken out");
    }
}

void Download::failRest(std::size_t firstGroup, const std::string& reason)
{
    for (std::size_t group = firstGroup; group < m_groups.size(); ++group) {
        for (const std::uint32_t item : m_groups[group].members)
            failItem(item, reason);
    }
}

void Download::failItem(std::uint32_t item, const std::string& reason)
{
    ItemEvent event;
    event.key = static_cast<long>(item) + 1;
    event.name = displayName(m_card.items[item].name);
    event.status = ItemStatus::kFailed;
    event.error = reason;
    m_items[item].status = event.status;
    ++m_summary.failed;
    addNotSafe(event.name, reason);
    m_events.item(event);
}

SinkItem Download::sinkItem(
    const GroupWork& work, std::size_t member, const std::string& folder) const
{
    const MemberWork& file = work.members[member];
    return {static_cast<long>(file.item) + 1, deviceName(file.item), file.finalName, folder};
}

// Fits a file name, as the saved names do.
std::string Download::deviceName(std::uint32_t item) const
{
    const std::string name = displayName(m_card.items[item].name);
    if (name.size() <= kLongestName)
        return name;
    const std::size_t stem = stemLength(name, [](std::string_view) { return false; });
    const std::string extension = stem < name.size() ? name.substr(stem + 1) : std::string();
    return GroupTarget({}, name.substr(0, stem), {extension}).fileName(0, 0);
}

void Download::addNotHandled()
{
    for (const NotHandled& entry : m_card.notHandled)
        ++m_summary.notHandled[std::string(reasonText(entry.reason))];
    m_summary.mayHoldPhotos = m_card.harmfulNotHandled();
    for (const ScanProblem& problem : m_card.problems) {
        ++m_summary.failed;
        addNotSafe(displayName(problem.path),
            text("$$$/Mfx/Download/CannotRead=it cannot be read: %1", {problem.error.message()}));
    }
}

void Download::addNotSafe(const std::string& name, const std::string& reason)
{
    if (m_summary.notSafe.size() < kToldNotSafe)
        m_summary.notSafe.push_back({name, reason});
}

void Download::addProgress(std::uint64_t bytes)
{
    Pt::Locked locked(m_progressLock);
    const std::uint64_t done = m_bytesDone += bytes;
    m_events.progress(
        {std::min(done, m_bytesTotal), m_bytesTotal, m_itemsDone, m_card.items.size()});
}

} // namespace mfx
