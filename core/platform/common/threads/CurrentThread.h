// The calling thread. Any thread may call.
#pragma once

#include <chrono>

namespace Pt {

// The system's handle, never 0; another thread may get it once this one has ended.
unsigned long currentThreadHandle();

// One sleep; a signal that is handled ends it early. Clock::sleepFor sleeps to the end.
void sleepOnce(std::chrono::milliseconds duration);

} // namespace Pt
