// A thread beside the script: interrupts it when its time is over, and ends the program when it
// takes too much memory, cannot be interrupted, or the browser is gone. Between scripts it sleeps.
// begin() and end() from the thread of the engine.
#pragma once

#include "platform/common/services/ProcessFence.h"

#include <QJSEngine>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace tevoro {

class Watch {
public:
    // Memory is counted from what the program has when this is made. Throws std::system_error.
    Watch();
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // The engine lives until end().
    void begin(QJSEngine& engine, std::chrono::milliseconds limit);
    // Whether the script was interrupted.
    bool end();

private:
    using Clock = std::chrono::steady_clock;

    void run();
    void look();

    const Pt::ResidentMemory m_memory;
    const std::size_t m_maxMemory;

    std::mutex m_lock;
    std::condition_variable m_changed;
    // Guarded by the lock.
    QJSEngine* m_engine = nullptr; // while a script runs
    Clock::time_point m_deadline;
    bool m_isInterrupted = false;
    bool m_isEnding = false;

    std::thread m_thread; // the last, as it uses the others
};

} // namespace tevoro
