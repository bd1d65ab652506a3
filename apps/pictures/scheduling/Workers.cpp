#include "pictures/scheduling/Workers.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace pictures {

namespace {

struct Living {
    std::mutex lock;
    std::vector<Workers*> all;
};

// Outlives everything: it is asked at the very end.
Living& living()
{
    static auto* const made = new Living;
    return *made;
}

} // namespace

Workers::Workers(int count, Source source)
    : m_source(std::move(source))
{
    {
        const std::lock_guard guard(living().lock);
        living().all.push_back(this);
    }
    for (int i = 0; i < count; ++i)
        m_threads.emplace_back([this] { run(); });
}

Workers::~Workers()
{
    {
        const std::lock_guard guard(living().lock);
        std::erase(living().all, this);
    }
    stop();
}

void Workers::stop()
{
    {
        const std::lock_guard guard(m_lock);
        m_stopping = true;
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
}

void Workers::stopAll()
{
    std::vector<Workers*> all;
    {
        const std::lock_guard guard(living().lock);
        all.swap(living().all);
    }
    for (Workers* const workers : all)
        workers->stop();
}

void stopWorkersAtExit()
{
    std::atexit(&Workers::stopAll);
}

void Workers::run()
{
    std::unique_lock guard(m_lock);
    while (!m_stopping) {
        const Job job = m_source();
        if (!job) {
            m_changed.wait(guard);
            continue;
        }
        guard.unlock();
        job();
        guard.lock();
    }
}

int usualWorkerCount()
{
    return std::max(2, static_cast<int>(std::thread::hardware_concurrency()));
}

} // namespace pictures
