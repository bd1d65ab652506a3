#include "tevoro/scripts/child/Watch.h"

#include "platform/common/services/ProgramEnvironment.h"
#include "tevoro/scripts/ChildExit.h"

#include <cstdio>
#include <cstdlib>

namespace tevoro {

namespace {

constexpr std::size_t kMoreMemory = std::size_t{256} << 20;
// In that time a script fills some tens of megabytes.
constexpr std::chrono::milliseconds kRound(10);
// What the engine does in one go, a search in a text say, is not interrupted. The browser kills the
// program before that; it is for a browser that cannot.
constexpr std::chrono::seconds kPatience(2);

} // namespace

Watch::Watch()
    : m_maxMemory(m_memory.bytes() + kMoreMemory)
    , m_thread([this] { run(); })
{
}

Watch::~Watch()
{
    {
        const std::lock_guard guard(m_lock);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void Watch::begin(QJSEngine& engine, std::chrono::milliseconds limit)
{
    {
        const std::lock_guard guard(m_lock);
        m_engine = &engine;
        m_deadline = Clock::now() + limit;
        m_isInterrupted = false;
    }
    m_changed.notify_one();
}

bool Watch::end()
{
    const std::lock_guard guard(m_lock);
    m_engine = nullptr;
    return m_isInterrupted;
}

void Watch::run()
{
    std::unique_lock guard(m_lock);
    while (!m_isEnding) {
        if (m_engine == nullptr) {
            m_changed.wait(guard);
        } else {
            look();
            m_changed.wait_for(guard, kRound);
        }
    }
}

void Watch::look()
{
    if (m_memory.bytes() > m_maxMemory)
        std::_Exit(kChildMemory);
    if (Pt::writeObstacle(stdout))
        std::_Exit(kChildDone);
    const Clock::time_point now = Clock::now();
    if (now > m_deadline + kPatience)
        std::_Exit(kChildTime);
    if (now > m_deadline && !m_isInterrupted) {
        m_isInterrupted = true;
        m_engine->setInterrupted(true);
    }
}

} // namespace tevoro
