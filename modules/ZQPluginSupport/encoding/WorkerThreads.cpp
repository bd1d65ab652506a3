#include "ZQPluginSupport/encoding/WorkerThreads.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace dng {

namespace {

using Work = std::function<void(std::size_t)>;

} // namespace

// All members are guarded by `lock`, but the threads themselves. The indexes are given out under
// the lock, too: a piece of work is a tile or a block, so that nobody waits for it.
struct WorkerThreads::State {
    std::mutex lock;
    std::condition_variable begun; // there is work, or the end has come
    std::condition_variable ended; // nobody works any more
    const Work* work = nullptr; // null while there is none
    std::size_t next = 0;
    std::size_t count = 0;
    std::size_t busy = 0; // threads in the work
    std::exception_ptr failure;
    bool isEnding = false;
    std::vector<std::thread> threads;

    bool hasWork() const { return work && next < count; }

    // One index after the other until there are no more. Called, and returns, with the lock.
    void takePart(std::unique_lock<std::mutex>& held)
    {
        ++busy;
        while (hasWork()) {
            const Work& current = *work;
            const std::size_t index = next++;
            held.unlock();
            std::exception_ptr problem = attempt(current, index);
            held.lock();
            if (problem)
                fail(std::move(problem));
        }
        if (--busy == 0)
            ended.notify_all();
    }

    static std::exception_ptr attempt(const Work& work, std::size_t index)
    {
        try {
            work(index);
            return nullptr;
        } catch (...) {
            return std::current_exception();
        }
    }

    void fail(std::exception_ptr problem)
    {
        if (!failure)
            failure = std::move(problem);
        next = count;
    }

    void serve()
    {
        std::unique_lock held(lock);
        for (;;) {
            begun.wait(held, [this] { return isEnding || hasWork(); });
            if (isEnding)
                return;
            takePart(held);
        }
    }

    void end()
    {
        {
            const std::lock_guard held(lock);
            isEnding = true;
        }
        begun.notify_all();
        for (std::thread& thread : threads)
            thread.join();
        threads.clear();
    }
};

WorkerThreads::WorkerThreads(unsigned int threads)
    : m_state(std::make_unique<State>())
{
    const unsigned int wanted =
        threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency());
    try {
        for (unsigned int i = 1; i < wanted; ++i)
            m_state->threads.emplace_back([state = m_state.get()] { state->serve(); });
    } catch (...) {
        m_state->end(); // those that were made must not outlive what they look at
        throw;
    }
}

WorkerThreads::~WorkerThreads()
{
    m_state->end();
}

unsigned int WorkerThreads::count() const
{
    return static_cast<unsigned int>(m_state->threads.size()) + 1;
}

void WorkerThreads::run(std::size_t count, const std::function<void(std::size_t)>& work)
{
    State& state = *m_state;
    std::unique_lock held(state.lock);
    state.work = &work;
    state.next = 0;
    state.count = count;
    state.begun.notify_all();
    state.takePart(held);
    state.ended.wait(held, [&state] { return state.busy == 0; });
    state.work = nullptr;
    if (const std::exception_ptr failure = std::exchange(state.failure, nullptr))
        std::rethrow_exception(failure);
}

} // namespace dng
