#pragma once

#include <string>

namespace Pt {

// What the exception that is being handled says, for a line of the log: the newest reason of one of
// this layer, what() of a standard one; "unknown failure" when that is not known, as without
// memory. Requires: called from a catch block.
std::string currentExceptionText() noexcept;

} // namespace Pt
