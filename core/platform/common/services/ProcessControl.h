// Other processes of this machine. Any thread may call.
#pragma once

namespace Pt {

// Whether a process of that number runs; false for 0, and for one that has ended and was not
// waited for yet.
bool isProcessRunning(unsigned long processId);

} // namespace Pt
