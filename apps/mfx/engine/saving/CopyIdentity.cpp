#include "mfx/engine/saving/CopyIdentity.h"

namespace mfx {

bool isToldApart(const Pt::FileStatus& copy, const Pt::FileStatus& original, bool ownFiles)
{
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
