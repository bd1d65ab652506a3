#include "mfx/engine/run/Ticker.h"

#include <utility>

namespace mfx {

Ticker::Ticker(std::chrono::milliseconds interval, std::function<void()> tick)
    : m_interval(interval)
    , m_tick(std::move(tick))
    , m_thread([this] { run(); })
{
}

Ticker::~Ticker()
{
    {
        Pt::Locked locked(m_lock);
        m_stopped = true;
    }
    m_stopping.notify_one();
    m_thread.join();
}

void Ticker::run()
{
    while (waitForTurn()) {
        try {
            m_tick();
        } catch (...) { // the next one may fare better
        }
    }
}

// False when there is to be none. A wait may end without cause, and the stop may come before it is
// begun: the flag is asked under the lock each time.
bool Ticker::waitForTurn()
{
    const auto due = std::chrono::steady_clock::now() + m_interval;
    Pt::Locked locked(m_lock);
    while (!m_stopped)
        if (m_stopping.wait_until(m_lock, due) == std::cv_status::timeout)
            return !m_stopped;
    return false;
}

} // namespace mfx
