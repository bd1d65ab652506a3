// What one group goes through in a download: names, the second copy, the move into place, and what
// is told of each member.

#include "mfx/engine/run/Download.h"
#include "mfx/engine/saving/CopyIdentity.h"
#include "mfx/engine/saving/GroupPlacer.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"

#include <filesystem>

namespace mfx {

namespace {

bool isSourceTrouble(Pt::CopyProblem problem)
{
    return problem == Pt::CopyProblem::kSourceMissing
        || problem == Pt::CopyProblem::kSourceUnreadable;
}

// The folder beneath a card that was taken out: the mount point is still there, and has nothing in
// it. A folder that cannot be listed counts as well, for a pulled disk answers so.
bool isEmptyFolder(const std::string& path)
{
    std::error_code error;
    const std::filesystem::directory_iterator first(path, error);
    return error || first == std::filesystem::directory_iterator();
}

} // namespace

// Numbers are given here, in the order of the groups, to those that are saved: a group that stands
// there already, or that failed, leaves no gap.
void Download::decide(GroupWork& work)
{
    if (m_request.rules.useNumbers())
        work.target =
            groupTarget(m_card, m_groups[work.group], work.date, m_request.rules, m_nextNumber);
    if (m_request.dryRun)
        previewNames(work);
    else
        decideNames(work);
}

// What a group goes through once its copies are staged. It may fail at each step, and is reported
// in any case.
void Download::finishGroup(GroupWork& work)
{
    std::vector<ItemEvent> events(work.members.size());
    if (!work.failed && !work.alreadyPresent)
        decide(work);
    failWherePlaceIsLost(work);
    if (!work.failed && !m_request.dryRun)
        save(work, events);
    // Not before the conversion: the item folder keeps the work folder in being, and our lock on
    // it. Without the lock, another run would put back the raw file that the converter has set
    // aside there.
    dropItemFolder(work);
    if (!work.failed && !work.alreadyPresent)
        ++m_nextNumber;
    judge(work, events);
    conclude(work, events);
    if (work.failed)
        noteFailure(work);
}

void Download::failWherePlaceIsLost(GroupWork& work)
{
    const auto lost = work.failed ? std::nullopt : stopWherePlaceIsLost(work);
    if (lost)
        failGroup(work, work.members.size(), *lost);
}

std::optional<std::string> Download::stopWherePlaceIsLost(const GroupWork& work)
{
    auto lost = lostPlace(work);
    if (lost)
        stopAt(*lost);
    return lost;
}

// The second copy is made while the first is still in its item folder. A run that is cut off
// between the two leaves a backup too many, which is recognised next time, and no saved file whose
// backup is missing and that seems to be done.
void Download::save(GroupWork& work, std::vector<ItemEvent>& events)
{
    if (m_request.backupFolder)
        backUp(work, events);
    m_conversion.noteAwaited(work);
    if (!work.failed)
        place(work);
    if (!work.failed && (m_request.convertsToDNG || m_request.wantsDNG))
        m_conversion.convert(work, events);
}

// Why the run cannot go on with a group: a place is no longer where it was.
std::optional<std::string> Download::lostPlace(const GroupWork& work) const
{
    if (m_request.dryRun)
        return std::nullopt;
    auto lost = m_places.lostPlace();
    if (!lost && work.folder && !work.folder->isAtItsPath())
        lost = work.folder->lostText();
    return lost;
}

void Download::backUp(GroupWork& work, std::vector<ItemEvent>& events)
{
    const PhaseScope phase(m_progress, ProgressPhase::kBackup);
    const auto backups = m_backup.backUp(work, [&](std::size_t member) {
        const std::uint32_t item = work.members[member].item;
        m_progress.add(item, ProgressPhase::kBackup, 2 * m_card.items[item].status.size);
    });
    if (m_backup.lost()) {
        failGroup(work, work.members.size(), *m_backup.lost());
        stopAt(*m_backup.lost());
        return;
    }
    for (std::size_t i = 0; i < backups.size(); ++i)
        noteBackup(work, i, backups[i], events[i]);
}

// A copy that stood in the backup before counts only where it is no other view of the original:
// deleting the original would delete both.
bool Download::isOriginalItself(const MemberBackup& backup, std::uint32_t item) const
{
    const bool ownFiles = m_places.backupKeepsOwnFiles() && m_card.keepsOwnFiles;
    return backup.alreadyPresent && backup.copy
        && !isToldApart(backup.copy->status, m_card.items[item].status, ownFiles);
}

void Download::noteBackup(
    const GroupWork& work, std::size_t member, MemberBackup backup, ItemEvent& event)
{
    const std::uint32_t item = work.members[member].item;
    if (isOriginalItself(backup, item)) {
        backup.isMade = false;
        backup.error = text("$$$/Mfx/Backup/NotToldApart=its copy in the backup folder cannot be "
                            "told apart from the original");
    }
    if (!backup.isMade) {
        event.status = ItemStatus::kBackupFailed;
        event.error = backup.error;
        return;
    }
    event.backup = Pt::displayName(*m_request.backupFolder);
    m_account.items[item].kept.backup = std::move(backup.copy);
    m_account.items[item].kept.isFresh = !backup.alreadyPresent;
    ++m_account.summary.backups;
}

// A DNG of an earlier run was verified when it was made, and nobody has compared its picture since:
// the raw file in the backup proves the item, the DNG alone does not.
bool Download::isProven(const MemberWork& member, const ItemEvent& event) const
{
    const KeptItem& kept = m_account.items[member.item].kept;
    return event.status != ItemStatus::kBackupFailed && kept.saved
        && (!member.standsAsDNG() || kept.backup);
}

void Download::noteUnprovenDNG(const MemberWork& member, const ItemEvent& event)
{
    if (!member.standsAsDNG() || event.error || isProven(member, event))
        return;
    m_account.addNotSafe(event.name,
        text("$$$/Mfx/Download/DNGNotCompared=its DNG is that of an earlier run and was not "
             "compared with it again; a second copy with --backup would prove it"));
    if (m_request.deletesOriginals)
        ++m_account.summary.notDeleted;
}

// What became of each member. A group is proven only as a whole: an original whose partner is not
// safe stays beside it.
void Download::judge(GroupWork& work, std::vector<ItemEvent>& events)
{
    bool allProven = !m_request.dryRun;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        judgeMember(work, work.members[i], events[i]);
        allProven = allProven && !work.failed && isProven(work.members[i], events[i]);
    }
    for (const MemberWork& member : work.members)
        m_account.items[member.item].isProven = allProven;
}

void Download::judgeMember(const GroupWork& work, const MemberWork& member, ItemEvent& event)
{
    event.key = static_cast<long>(member.item) + 1;
    event.name = Pt::displayName(m_card.items[member.item].name);
    if (work.failed) {
        event.status = ItemStatus::kFailed;
        event.error = member.error;
        return;
    }
    event.saved = Pt::displayName(work.folder->path + '/' + member.finalName);
    if (event.status == ItemStatus::kPending)
        event.status = member.alreadyPresent() ? ItemStatus::kExists : ItemStatus::kOk;
    if (member.standsAsDNG())
        m_conversion.noteStandingDNG(member, event);
    if (m_request.dryRun)
        return;
    keep(work, member, event);
    noteUnprovenDNG(member, event);
}

// Why the original stays whatever is answered later; empty where it may go.
std::string Download::reasonToKeep(const GroupWork& work, const MemberWork& member) const
{
    if (work.folder->kinship.toBackup == Kinship::kSameName)
        return text("$$$/Mfx/Delete/OneFolder=not deleted: target and backup are one folder");
    // All empty files are alike, so that their copies prove nothing. One may be the stub of a
    // picture that a repair of the card brings back.
    if (m_card.items[member.item].status.size == 0)
        return text("$$$/Mfx/Delete/Empty=not deleted: it is empty");
    return {};
}

// Notes what is known of the saved copy, for the last look before the original goes.
void Download::keep(const GroupWork& work, const MemberWork& member, ItemEvent& event)
{
    SavedItem& state = m_account.items[member.item];
    state.folder = work.folder;
    state.finalName = member.finalName;
    state.kept.digest = member.digest;
    // `isFresh` was set by the backup, where there is one: both copies have to be.
    state.kept.isFresh =
        !member.alreadyPresent() && (state.kept.isFresh || !m_request.backupFolder);
    state.kept.reasonToKeep = reasonToKeep(work, member);
    const FolderKinship& kinship = work.folder->kinship;
    if (!kinship.cardFolder.empty())
        m_deletion.passOver(kinship.cardFolder + '/' + member.finalName);
    m_account.summary.copiesOnCardsDevice =
        m_account.summary.copiesOnCardsDevice || kinship.toCard != Kinship::kApart;
    keepSaved(work, member, event);
}

// The saved copy as it is now, after the conversion. Its status is what the deletion compares with.
// Without one the item is not proven, and its original stays.
void Download::keepSaved(const GroupWork& work, const MemberWork& member, ItemEvent& event)
{
    KeptItem& kept = m_account.items[member.item].kept;
    const std::string path = work.folder->ownPath + '/' + member.finalName;
    std::error_code error;
    const auto saved =
        isCopyStill(member, path) ? Pt::fileStatus(path, error) : std::optional<Pt::FileStatus>();
    const bool ownFiles = work.folder->keepsOwnFiles && m_card.keepsOwnFiles;
    if (saved && member.alreadyPresent()
        && !isToldApart(*saved, m_card.items[member.item].status, ownFiles))
        event.error = text("$$$/Mfx/Download/NotToldApart=its copy in %1 cannot be told apart from "
                           "the original",
            {Pt::displayName(work.folder->path)});
    else if (saved)
        kept.saved = KeptCopy{path, *saved};
    else if (kept.dng)
        kept.saved = kept.dng; // the raw file went when its DNG was verified
    else
        addError(event,
            text("$$$/Mfx/Download/SavedCopyGone=its copy is no longer at %1",
                {Pt::displayName(work.folder->path + '/' + member.finalName)}));
}

void Download::conclude(const GroupWork& work, const std::vector<ItemEvent>& events)
{
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const ItemEvent& event = events[i];
        const MemberWork& member = work.members[i];
        m_account.countMember(work, member, event);
        m_progress.finish(member.item);
        m_events.item(event);
    }
}

// Some failures are about one file; others mean that nothing more can succeed: then the rest
// is not tried, and each item of it is reported with the one reason.
void Download::noteFailure(const GroupWork& work)
{
    if (work.problem == Pt::CopyProblem::kTargetFull) {
        m_account.summary.placeUnusable = true;
        m_stopReason = text("$$$/Mfx/Download/StoppedFull=not tried: no space is left in %1",
            {Pt::displayName(m_request.target)});
    } else if (work.problem == Pt::CopyProblem::kTargetUnusable) {
        // One sub-folder may refuse what others take: the rest is tried.
        m_targetRefused = true;
        if (work.folder && !work.folder->objection.empty())
            stopAt(work.folder->objection);
    } else if (isSourceTrouble(work.problem)
        && (m_deletion.isCardGone() || isEmptyFolder(m_card.root))) {
        m_account.summary.sourceGone = true;
        m_stopReason = text("$$$/Mfx/Download/StoppedCardGone=not tried: the card was taken out");
    }
}

SinkItem Download::sinkItem(
    const GroupWork& work, std::size_t member, const std::string& folder) const
{
    const MemberWork& file = work.members[member];
    return {static_cast<long>(file.item) + 1, deviceName(file.item), file.finalName, folder};
}

} // namespace mfx
