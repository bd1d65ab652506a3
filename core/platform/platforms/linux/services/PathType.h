#pragma once

#include <string>

#include <sys/stat.h>

namespace Pt {

// Links are followed; false when nothing is there.
inline bool hasType(const std::string& path, mode_t type)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type;
}

} // namespace Pt
