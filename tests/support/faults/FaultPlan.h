// What the library of failing file calls is to do, from its environment, and what it has counted.
// Any thread may call; nothing allocates and nothing changes errno but a verdict of failure.
#pragma once

namespace fault {

// Whether a call is to be made otherwise than it was asked for. kFail has set errno.
enum class Verdict { kGoOn, kFail, kFlip, kShort };

// Counts one call and says what becomes of it. Does not return when the process is to be killed.
Verdict judge(bool isWatched, const char* name);

// Whether the path, as seen from a folder's descriptor, is the watched folder or lies below it.
bool isWatched(int folder, const char* path);

// Whether the descriptor was opened there.
bool isWatched(int descriptor);
void track(int descriptor, bool isWatchedNow);

// The error with which calls fail.
int chosenError();

// Writes the number of counted calls down, where that was asked for.
void writeCount();

} // namespace fault
