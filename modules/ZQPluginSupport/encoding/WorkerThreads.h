// Threads that wait for work: made once, ahead of time, so that a process may give up the right to
// make threads afterwards. The calling thread works too, so that one thread needs no other.
//
// Runs one piece of work at a time, from one thread at a time; the work itself must not call run().
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace dng {

class WorkerThreads {
public:
    // The number counts the calling thread; 0 stands for as many as the machine has processors.
    // Throws std::system_error when the system makes no more threads.
    explicit WorkerThreads(unsigned int threads = 0);

    // Ends and joins the threads. Requires: no run() is under way.
    ~WorkerThreads();
    WorkerThreads(const WorkerThreads&) = delete;
    WorkerThreads& operator=(const WorkerThreads&) = delete;

    unsigned int count() const;

    // Calls work(0) to work(count - 1), each once, in any order and on any of the threads; returns
    // when all have ended. If one throws, the indexes that nobody has begun are left out and the
    // first exception is thrown here.
    void run(std::size_t count, const std::function<void(std::size_t index)>& work);

private:
    struct State;
    const std::unique_ptr<State> m_state;
};

} // namespace dng
