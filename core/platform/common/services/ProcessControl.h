// Other processes of this machine. Any thread may call.
#pragma once

namespace Pt {

// Whether the process with that id is running; false for 0 and for a zombie.
bool isProcessRunning(unsigned long processId);

// Whether it was stopped, by a signal or a debugger, and may go on.
bool isProcessStopped(unsigned long processId);

} // namespace Pt
