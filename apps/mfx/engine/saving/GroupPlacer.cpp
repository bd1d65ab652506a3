#include "mfx/engine/saving/GroupPlacer.h"

#include "mfx/engine/saving/CopyText.h"
#include "mfx/engine/saving/TargetSpot.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FilePlacement.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace mfx {

namespace {

constexpr int kAttempts = 100; // another program may take names as fast as we find them

std::string finalPath(const GroupWork& work, const MemberWork& member)
{
    return work.folder->ownPath + '/' + member.finalName;
}

std::string stagedPath(const GroupWork& work, const MemberWork& member)
{
    return work.itemFolder + '/' + member.stagedName;
}

bool renameStaged(GroupWork& work, MemberWork& member)
{
    if (member.stagedName == member.finalName)
        return true;
    const std::string from = stagedPath(work, member);
    const std::string to = work.itemFolder + '/' + member.finalName;
    if (Pt::moveWithoutReplacing(from, to))
        return false;
    member.stagedName = member.finalName;
    return true;
}

std::string copyWentAway()
{
    return text("$$$/Mfx/Download/CopyWentAway=a copy of it that stood in the folder went away; "
                "try again");
}

// For a member whose final name is free: its staged copy gets that name while it is still in the
// item folder, so that one rename brings it into place. The group fails where there is no copy.
void stageUnderFinalName(GroupWork& work, std::size_t index)
{
    MemberWork& member = work.members[index];
    if (member.stagedName.empty()) {
        failGroup(work, index, copyWentAway());
        return;
    }
    member.state = MemberState::kStaged;
    if (!renameStaged(work, member))
        failGroup(work,
            index,
            text("$$$/Mfx/Download/CannotRename=its copy in %1 cannot be renamed",
                {work.folder->nameOf(work.itemFolder)}));
}

// Takes back what was moved: half a group in the final folder would look like a whole one to the
// next run. A member that cannot go back stays under its final name. That costs a file too many and
// no picture: the group counts as failed, and its originals stay on the card.
void undo(GroupWork& work)
{
    for (MemberWork& member : work.members) {
        if (!member.isPlaced())
            continue;
        member.state = MemberState::kStaged;
        Pt::moveWithoutReplacing(finalPath(work, member), stagedPath(work, member));
    }
}

// What is to be converted is marked first: a run that is killed behind the move would leave a raw
// file that looks as if it had been asked for.
std::error_code moveMember(GroupWork& work, MemberWork& member)
{
    if (member.awaitsConversion)
        work.folder->work.awaitConversion(member.finalName);
    const std::error_code error =
        Pt::moveWithoutReplacing(stagedPath(work, member), finalPath(work, member));
    if (!error)
        member.state = MemberState::kPlaced;
    else if (member.awaitsConversion)
        work.folder->work.forgetUnconverted(member.finalName);
    return error;
}

// Never over a file, by a rename that refuses to replace: between the decision on a name and the
// move, another program may have taken it. Both ends are on one file system, so that a file is
// either here or there after a power cut, and never in part.
std::error_code moveAll(GroupWork& work)
{
    for (MemberWork& member : work.members) {
        if (member.alreadyPresent())
            continue;
        if (const std::error_code error = moveMember(work, member)) {
            undo(work);
            return error;
        }
    }
    return {};
}

// The folder itself or the nearest one above it that is there.
std::filesystem::path existingFolder(std::filesystem::path folder)
{
    std::error_code error;
    while (!std::filesystem::exists(folder, error) && folder.has_relative_path())
        folder = folder.parent_path();
    return folder;
}

// Where nothing is written, nothing says that the file system does not take a name: it is asked.
bool failRefusedName(GroupWork& work)
{
    const std::filesystem::path folder = existingFolder(work.folder->path);
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const auto letter = letterText(folder.string(),
            work.target->fileName(i, 0),
            std::make_error_code(std::errc::invalid_argument),
            Pt::LetterTest::kLooksOnly);
        if (letter) {
            failGroup(work, i, *letter);
            return true;
        }
    }
    return false;
}

// From now on the stems are those of this group, and no other takes them.
void noteNames(GroupWork& work)
{
    for (const MemberWork& member : work.members)
        work.folder->stems.take(member.finalName);
}

// Nothing where the folder cannot be looked at; the group has failed then.
std::optional<TargetSpot> findSpotOrFail(GroupWork& work)
{
    TargetSpot spot = findSpot(work, work.folder->stems);
    if (!spot.error)
        return spot;
    failUnreadable(work, spot.error);
    return std::nullopt;
}

} // namespace

// All members get one stem: the number of the form is that of the group, so that raw file, JPEG and
// sidecar find each other by name in the target as they did on the card.
void decideNames(GroupWork& work)
{
    const auto spot = findSpotOrFail(work);
    if (!spot)
        return;
    for (std::size_t i = 0; i < work.members.size() && !work.failed; ++i) {
        MemberWork& member = work.members[i];
        member.finalName = work.target->fileName(i, spot->number);
        member.dng = spot->dngs[i];
        if (spot->holds(i))
            member.state = MemberState::kAlreadyPresent;
        else
            stageUnderFinalName(work, i);
    }
}

void previewNames(GroupWork& work)
{
    if (failRefusedName(work))
        return;
    const auto spot = findSpotOrFail(work);
    if (!spot)
        return;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        work.members[i].finalName = work.target->fileName(i, spot->number);
        work.members[i].dng = spot->dngs[i];
        if (spot->holds(i))
            work.members[i].state = MemberState::kAlreadyPresent;
        work.folder->stems.take(work.members[i].finalName);
    }
}

// The names were free when they were decided on. If one is taken by the time of the move, all are
// decided anew: each round either succeeds, or somebody else has gained a name in it.
void place(GroupWork& work)
{
    std::error_code error;
    for (int attempt = 0; attempt < kAttempts && !work.failed; ++attempt) {
        error = moveAll(work);
        if (!error) {
            noteNames(work);
            return;
        }
        if (error != std::errc::file_exists)
            break;
        decideNames(work);
    }
    if (!work.failed)
        failGroup(work,
            work.members.size(),
            text("$$$/Mfx/Download/CannotMove=it cannot be moved into %1: %2",
                {work.folder->path, error.message()}));
}

// A folder that is empty is kept for the next group. One that still holds copies of a failed group
// is removed with them: nobody will ask for them again, and their originals are on the card.
void dropItemFolder(GroupWork& work)
{
    if (work.itemFolder.empty())
        return;
    const bool isEmpty = std::all_of(work.members.begin(),
        work.members.end(),
        [](const MemberWork& member) { return member.isPlaced() || member.stagedName.empty(); });
    const std::string folder = std::exchange(work.itemFolder, {});
    if (isEmpty)
        work.folder->work.releaseItemFolder(folder);
    else
        work.folder->work.dropItemFolder(folder);
}

} // namespace mfx
