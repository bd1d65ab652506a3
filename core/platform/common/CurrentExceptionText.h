#pragma once

#include <string>

namespace Pt {

// What the exception that is being handled says, for a line of the log: the newest reason of one of
// this layer, what() of a standard one. Requires: called from a catch block.
std::string currentExceptionText();

} // namespace Pt
