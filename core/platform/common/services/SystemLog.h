// The system's own log of daemons. writeSystemLog may be called from any thread, the others while
// nobody writes.
#pragma once

#include <string>

namespace Pt {

// Connects to the log at once; messages stand there under the name and the process id, and on the
// console where there is no log.
void openSystemLog(const std::string& name);
void closeSystemLog();

// The priority as the system numbers it, 0 (emergency) to 7.
void writeSystemLog(int priority, const char* text) noexcept;

} // namespace Pt
