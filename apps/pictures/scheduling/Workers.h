// Threads that take jobs from one source, one at a time each, until they are stopped.
//
// The source decides what comes next each time a thread is free: nothing is queued, so nothing has
// to be taken back when the user looks elsewhere.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace pictures {

class Workers {
public:
    using Job = std::function<void()>;
    // Called on a worker with lock() held; an empty job: nothing to do until wake().
    using Source = std::function<Job()>;

    Workers(int count, Source source);
    // Waits for the jobs that run.
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    // Guards what the source looks at. Jobs run without it.
    std::mutex& lock() { return m_lock; }
    // The source may have something again. With or without lock() held.
    void wake() { m_changed.notify_all(); }

private:
    void run();

    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_stopping = false; // guarded by m_lock
    Source m_source;
    std::vector<std::thread> m_threads;
};

// One for each processor, and at least two: one may wait for the disk.
int usualWorkerCount();

} // namespace pictures
