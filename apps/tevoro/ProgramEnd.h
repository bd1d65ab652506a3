// Sees to it that the program ends while threads read pictures. One that reads from a share that
// does not answer never comes back; and when the display goes away, the toolkit calls exit() from
// within the event loop, where threads use what exit() destroys.
//
// One at a time, on the application's thread. It is to be made before whatever has such threads,
// and destroyed after it.
#pragma once

#include "commandline/ExitCode.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace tevoro {

class ProgramEnd {
public:
    // An exit() on this thread, while this object is there, leaves the bus and ends the process
    // with 1, or with the code that begin() was told; nothing is destroyed.
    explicit ProgramEnd(std::function<void()> leaveBus);
    // Whatever has threads is gone: the program ends as any other from here.
    ~ProgramEnd();
    ProgramEnd(const ProgramEnd&) = delete;
    ProgramEnd& operator=(const ProgramEnd&) = delete;

    // Leaves the bus. Unless this object is destroyed within two seconds, the process ends with
    // that code, and nothing more is destroyed. Only the first call counts.
    void begin(commandline::ExitCode code);

private:
    struct AtExit;

    void endNow();

    const std::function<void()> m_leaveBus;
    commandline::ExitCode m_code = commandline::ExitCode::kPartly;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isOver = false; // guarded by m_lock
    std::thread m_watch;
};

} // namespace tevoro
