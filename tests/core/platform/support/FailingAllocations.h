#pragma once

namespace test {

// How many more allocations with new succeed in this thread before one fails; -1 for all. It is
// set back with the one that fails. For programs that contain FailingAllocations.cpp and are linked
// with --wrap=_Znwm; what shared libraries allocate is not counted.
extern thread_local int tAllocationsLeft;

} // namespace test
