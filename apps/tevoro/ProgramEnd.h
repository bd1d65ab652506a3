// Sees to it that the program ends while threads read pictures. One that reads from a share that
// does not answer never comes back.
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
    explicit ProgramEnd(std::function<void()> leaveBus);
    // Whatever has threads is gone: the program ends as any other from here.
    ~ProgramEnd();
    ProgramEnd(const ProgramEnd&) = delete;
    ProgramEnd& operator=(const ProgramEnd&) = delete;

    // Leaves the bus. Unless this object is destroyed within two seconds, the process ends with
    // that code, and nothing more is destroyed. Only the first call counts.
    void begin(commandline::ExitCode code);

private:
    const std::function<void()> m_leaveBus;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isOver = false; // guarded by m_lock
    std::thread m_watch;
};

} // namespace tevoro
