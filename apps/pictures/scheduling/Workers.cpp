#include "pictures/scheduling/Workers.h"

#include <algorithm>
#include <utility>

namespace pictures {

Workers::Workers(int count, Source source)
    : m_source(std::move(source))
{
    for (int i = 0; i < count; ++i)
        m_threads.emplace_back([this] { run(); });
}

Workers::~Workers()
{
    {
        const std::lock_guard guard(m_lock);
        m_stopping = true;
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
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
