// Why the program that runs scripts ended itself: its exit codes. Others than these tell of a fault
// in it.
#pragma once

namespace tevoro {

enum ChildExit : int {
    kChildDone = 0, // nobody reads its answers, or gives it scripts, any more
    kChildUnable = 3, // it could not be made ready
    kChildConfused = 4, // what it was sent is not what it knows
    kChildMemory = 5, // the script took more memory than it may
    kChildTime = 6, // the script could not be interrupted
};

// A line on the channel between the browser and that program is no longer than this, without its
// end.
inline constexpr int kMaxLine = 16 << 20; // bytes

// Of one script.
inline constexpr int kMaxCalls = 10'000;

} // namespace tevoro
