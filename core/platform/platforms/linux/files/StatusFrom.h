#pragma once

#include "platform/common/files/FileStatus.h"

#include <sys/stat.h>

namespace Pt {

// What the system reports of a file, in our words.
FileStatus statusFrom(const struct stat& found);

} // namespace Pt
