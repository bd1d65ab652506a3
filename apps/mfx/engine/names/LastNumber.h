// The last number that a name pattern with {seq} has given to files of a folder. Looks at names
// only; a free function for any thread, which blocks for as long as the folder takes.
#pragma once

#include "mfx/engine/names/NumberMatcher.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace mfx {

// Nothing where no name fits, or the folder is not there. With `looksBelow` also in the folders
// below it, but for hidden ones. Told to stop, it gives what it has found.
std::optional<std::uint64_t> lastNumberIn(const std::string& folder,
    const NumberMatcher& allNames,
    bool looksBelow,
    const std::function<bool()>& shouldStop);

} // namespace mfx
