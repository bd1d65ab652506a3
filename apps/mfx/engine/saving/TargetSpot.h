// Which numbered form of its names a group takes in its final folder. Looks only; any thread.
#pragma once

#include "mfx/engine/saving/GroupWork.h"

#include <cstdint>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

namespace mfx {

// What stands under the name that a member would take.
enum class Occupant : std::uint8_t {
    kNone,
    kSameBytes,
    kDNG, // nothing, but the DNG that an earlier run made of just these bytes stands for it
    kOther,
};

struct TargetSpot {
    std::uint64_t number = 0;
    std::vector<Occupant> occupants; // one for each member
    std::vector<std::string> dngs; // likewise; own path of the one that stands for it
    std::error_code error; // why the folder does not tell what stands there; no form is decided

    bool isFree() const;
    bool holds(std::size_t member) const; // it stands there already
    bool holdsAll() const; // all members do
};

// The first numbered form whose names are free or hold just these bytes. A free form is passed
// over when its stem belongs to other files. Sources are read for their digest only where a file
// of the same size stands under the name; the digest is kept in the member. The source itself, seen
// on another way, is no copy of it. For a member that wants a DNG, one that was made of it counts.
TargetSpot findSpot(GroupWork& work, const StemRegister& stems);

// Whether a file with a member's name is no copy of it, whatever it holds.
using NoCopyTest = std::function<bool(std::size_t member, const Pt::FileStatus& there)>;

// The same in another folder, under other names, for the bytes alone. Files that are no copies are
// passed over.
TargetSpot findSpotIn(const std::string& folder,
    const GroupTarget& names,
    GroupWork& work,
    const StemRegister& stems,
    const NoCopyTest& isNoCopy);

// The same, but without a look at the stems: for threads that do not own the register.
TargetSpot findSpot(GroupWork& work);

} // namespace mfx
