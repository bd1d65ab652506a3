// One group of files on its way from the card into its final folder. Filled by one stage of the
// download after another; belongs to one thread at a time.
#pragma once

#include "mfx/engine/card/ItemGroups.h"
#include "mfx/engine/dates/CaptureDate.h"
#include "mfx/engine/names/TargetName.h"
#include "mfx/engine/saving/FinalFolders.h"
#include "platform/common/files/ContentDigest.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FileStatus.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace mfx {

// Where the bytes of a member are. One failed member ends the work on its group, whatever state the
// others have: GroupWork::failed says so, and the states are not looked at any more.
enum class MemberState : std::uint8_t {
    // Nothing of it was copied. The stager makes it kStaged, or kAlreadyPresent with its whole
    // group. It stays so where nothing is to be copied: in a plan, and while only some members of
    // the group stand in the folder, of which those are judged when the names are decided.
    kPlanned,
    // A proven copy lies in the item folder, under `stagedName`. Goes on to kPlaced with the move
    // into the final folder, or to kAlreadyPresent if somebody put the same bytes there meanwhile.
    kStaged,
    // That copy was moved under its final name in this run. Goes back to kStaged when another
    // member cannot follow and the group is taken back.
    kPlaced,
    // Its bytes stand under the final name already, compared in this run; they are another's file
    // and are neither moved nor removed. A copy that was staged before they were seen waits in the
    // item folder: if they go away, it is kStaged again. Without one, the group fails then.
    kAlreadyPresent,
};

struct MemberWork {
    std::uint32_t item = 0; // index of the card's items
    std::string source; // path on the card
    std::optional<Pt::ContentDigest> digest; // of the source, once it was read
    MemberState state = MemberState::kPlanned;
    std::string stagedName; // in the item folder; empty where no copy was begun
    std::string finalName; // in the final folder
    bool wantsDNG = false; // in the place of its raw file
    bool awaitsConversion = false; // to DNG, once it is in place
    // Of the file under its final name when its conversion began. Who finds another there later has
    // found somebody else's: while a raw file is set aside, its name is free.
    std::optional<Pt::FileStatus> converted;
    // Own path of the DNG that stands for it: an earlier run has put it in the raw file's place.
    // Then it is kAlreadyPresent, and nothing has its final name.
    std::string dng;
    std::string error; // why it is not saved

    bool isPlaced() const { return state == MemberState::kPlaced; }
    bool alreadyPresent() const { return state == MemberState::kAlreadyPresent; }
    bool standsAsDNG() const { return alreadyPresent() && !dng.empty(); }
};

struct GroupWork {
    std::size_t group = 0; // index of the groups
    CaptureDate date;
    std::optional<GroupTarget> target; // none when the pattern gives no name
    FinalFolder* folder = nullptr;
    std::string itemFolder; // empty where nothing was staged
    std::vector<MemberWork> members;
    Pt::CopyProblem problem = Pt::CopyProblem::kNone; // of the member that failed
    bool failed = false; // nothing of the group is saved: all members or none
    bool alreadyPresent = false; // all members are, and their names are decided
};

// Whether the saved copy of a member is at a path: anything where it was not to be converted; else
// the file that was to be, as it was then or with the bytes that were copied.
bool isCopyStill(const MemberWork& member, const std::string& path);

// Gives the whole group up because of one member, or of none (an index past the end).
void failGroup(GroupWork& work, std::size_t member, const std::string& reason);

// Gives it up because its final folder does not tell what stands there.
void failUnreadable(GroupWork& work, const std::error_code& error);

} // namespace mfx
