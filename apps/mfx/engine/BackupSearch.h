// Looks for a second copy that stands already. Free function; any thread.
#pragma once

#include "platform/common/ContentDigest.h"
#include "platform/common/FileStatus.h"

#include <optional>
#include <string>

namespace mfx {

// Whether the folder holds a file with these bytes under the device's name or a numbered form of
// it, read from the disk. Empty files of these names that a killed run left there go. `saved` is
// the item's first copy, which is no second one.
bool holdsBackup(const std::string& folder,
    const std::string& deviceName,
    const Pt::ContentDigest& digest,
    const std::optional<Pt::FileStatus>& saved);

} // namespace mfx
