// Calls a function again and again, on a thread of its own, until it is destroyed: for what is to
// be told while everybody else waits for a disk.
//
// The first call comes one interval after the construction, and each further one no sooner than one
// interval after the last. The destructor waits for a call in hand; none comes after it. What the
// function throws is dropped.
#pragma once

#include "platform/common/threads/Lock.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <thread>

namespace mfx {

class Ticker {
public:
    Ticker(std::chrono::milliseconds interval, std::function<void()> tick);
    ~Ticker();
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

private:
    void run();
    bool waitForTurn();

    const std::chrono::milliseconds m_interval;
    const std::function<void()> m_tick;
    Pt::Lock m_lock;
    std::condition_variable_any m_stopping;
    bool m_stopped TEVORO_GUARDED_BY(m_lock) = false;
    std::thread m_thread; // last: it uses all the others
};

} // namespace mfx
