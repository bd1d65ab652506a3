// Other processes of this machine. Any thread may call.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Pt {

// One process, told from a later one that got its number.
struct ProcessIdentity {
    unsigned long id = 0; // 0 for none
    std::uint64_t startTime = 0; // as processStartTime() gives it

    friend bool operator==(const ProcessIdentity&, const ProcessIdentity&) = default;
};

// Whether the process with that id is running; false for 0 and for a zombie.
bool isProcessRunning(unsigned long processId);
// The same; false, too, when that id belongs to another process by now.
bool isProcessRunning(const ProcessIdentity& process);

// Whether it was stopped, by a signal or a debugger, and may go on.
bool isProcessStopped(unsigned long processId);

// When it was started, in the system's ticks since the machine's own start: two processes with one
// id have two of these. 0 when there is no such process.
std::uint64_t processStartTime(unsigned long processId);

// This user's processes that run the program at that path, by whatever name it was started, sorted.
// A script runs its interpreter's program.
std::vector<unsigned long> processesOfProgram(const std::string& path);

// Asks the desktop, over the X server of this machine that DISPLAY names, to put the process's
// first window in front of the others. False when nobody was asked: there is no server, no library
// for it, or no such window. Waits for a second at most, also for a server that answers nothing.
bool bringProcessToFront(unsigned long processId);

} // namespace Pt
