// Whether an open descriptor and a path are one file or folder.
#pragma once

#include <sys/stat.h>

namespace Pt {

// Compares device and inode. Some file systems forget inode numbers: what is asked twice and gives
// two answers cannot be compared by them, and the device decides.
inline bool isSameFile(int descriptor, const struct stat& named)
{
    struct stat held = {};
    struct stat again = {};
    if (::fstat(descriptor, &held) != 0 || held.st_dev != named.st_dev)
        return false;
    return held.st_ino == named.st_ino
        || (::fstat(descriptor, &again) == 0 && again.st_ino != held.st_ino);
}

} // namespace Pt
