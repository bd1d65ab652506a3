#include "mfx/engine/saving/CopyIdentity.h"

namespace mfx {

bool isToldApart(const Pt::FileStatus& copy, const Pt::FileStatus& original, bool ownFiles)
{
    // The kernel sets the time of change itself, to the nanosecond where the file system keeps it.
    // Two files that were written one after the other differ in it, whatever times a program gave
    // them. A file system that does not keep it says 0.
    const bool isSameInode = copy.inode == original.inode;
    const bool isSameTime = copy.modified == original.modified && copy.changed == original.changed;
    if (copy.device == original.device)
        return !isSameInode && (ownFiles || !isSameTime);
    // One image may be mounted twice: it has the same inodes, changed at the same moment.
    if (ownFiles)
        return !isSameInode || !isSameTime;
    return !isSameTime && copy.changed != 0 && original.changed != 0;
}

} // namespace mfx
