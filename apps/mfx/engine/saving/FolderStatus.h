// What a path to a folder leads to: a link at its end is followed, and so is a mount on it. Free
// functions; any thread.
#pragma once

#include "platform/common/files/FileStatus.h"

#include <cstdint>
#include <optional>
#include <string>

namespace mfx {

// Nothing where there is no folder, or it may not be entered.
std::optional<Pt::FileStatus> folderStatus(const std::string& path);

// The device that the folder's files are on; nothing likewise.
std::optional<std::uint64_t> deviceOf(const std::string& path);

} // namespace mfx
