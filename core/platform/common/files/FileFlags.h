#pragma once

#include <string>

namespace Pt {

// Makes a locked file writable as far as this process may: removes its immutable attribute and
// restores the owner's write permission. Leaves everything but regular files alone. Failures are
// not reported: the next change of the file will fail. Any thread may call.
void clearLock(const std::string& path);

} // namespace Pt
