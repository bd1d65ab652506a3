// Whether a copy that stood there before this run is a file of its own, or the original seen
// through another mount. A free function; any thread.
#pragma once

#include "platform/common/files/FileStatus.h"

namespace mfx {

// `ownFiles`: whether the file systems of both keep their files themselves, so that numbers of
// devices and inodes tell. Through pools, overlays and shares only the time of the last change
// tells: two files that were written one after the other do not have it in common. What cannot be
// told is not told apart.
bool isToldApart(const Pt::FileStatus& copy, const Pt::FileStatus& original, bool ownFiles);

} // namespace mfx
