// Looks for copies that stand in a folder of backups already. Free functions; any thread.
#pragma once

#include "platform/common/files/ContentDigest.h"
#include "platform/common/files/FileStatus.h"

#include <optional>
#include <string>

namespace mfx {

// The name of a file in the folder with these bytes, under the device's name or a numbered form of
// it, read from the disk. Nothing where there is none. `saved` is the item's first copy, which is
// no second one.
std::optional<std::string> findBackup(const std::string& folder,
    const std::string& deviceName,
    const Pt::ContentDigest& digest,
    const std::optional<Pt::FileStatus>& saved);

} // namespace mfx
