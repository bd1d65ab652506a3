#pragma once

#include <string>

namespace Pt {

// Makes a locked file changeable as far as this process may: takes away its immutable attribute
// and gives the owner back a missing right to write. Folders, and what is no regular file, stay as
// they are. Failures are not reported: whoever changes the file next meets them. Any thread.
void clearLock(const std::string& path);

} // namespace Pt
