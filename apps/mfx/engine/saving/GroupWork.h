// One group of files on its way from the card into its final folder. Filled by one stage of the
// download after another; belongs to one thread at a time.
#pragma once

#include "mfx/engine/card/ItemGroups.h"
#include "mfx/engine/dates/CaptureDate.h"
#include "mfx/engine/names/TargetName.h"
#include "mfx/engine/saving/FinalFolders.h"
#include "platform/common/files/ContentDigest.h"
#include "platform/common/files/FileCopy.h"

#include <cstddef>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace mfx {

struct MemberWork {
    std::uint32_t item = 0; // index of the card's items
    std::string source; // path on the card
    std::optional<Pt::ContentDigest> digest; // of the source, once it was read
    bool isStaged = false; // a proven copy lies in the item folder
    bool isPlaced = false; // moved into its final place in this run
    bool stoodThere = false; // its bytes stand in their final place already, compared in this run
    std::string stagedName; // in the item folder
    std::string finalName; // in the final folder
    std::string error; // why it is not saved
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
    bool stoodThere = false; // all members did, and their names are decided
};

// Gives the whole group up because of one member, or of none (an index past the end).
void failGroup(GroupWork& work, std::size_t member, const std::string& reason);

// Gives it up because its final folder does not tell what stands there.
void failUnreadable(GroupWork& work, const std::error_code& error);

} // namespace mfx
