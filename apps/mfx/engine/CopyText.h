// What became of a copy, for people in their language. A free function without state; any thread.
#pragma once

#include "platform/common/FileCopy.h"

#include <string>

namespace mfx {

// Ends with the system's own words where there are any.
std::string copyText(const Pt::CopyResult& result);

} // namespace mfx
