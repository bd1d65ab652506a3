// Whether a group stands in its final folder already under another number: with {seq}, the same
// photo has another name each time that it is downloaded. Looks only; any thread.
#pragma once

#include "mfx/engine/names/NumberMatcher.h"
#include "mfx/engine/saving/GroupWork.h"

#include <optional>
#include <string>

namespace mfx {

// The stem under which the bytes of all members stand, the one of the lowest number, among those
// that `names` knows. Sources are read for their digests only where files of all their sizes stand
// under one stem; the digests are kept in the members. A source itself, seen on another way, is no
// copy of it. For a member that wants a DNG, one that was made of it counts, and is noted in it.
std::optional<std::string> findNumberedCopies(GroupWork& work, const NumberMatcher& names);

// The name of a member with such a stem.
std::string nameWithStem(const GroupWork& work, std::size_t member, const std::string& stem);

} // namespace mfx
