#include "tevoro/ProgramEnd.h"

#include <chrono>
#include <cstdlib>
#include <utility>

namespace tevoro {

using namespace std::chrono_literals;
using commandline::ExitCode;

namespace {

constexpr auto kPatience = 2s;

[[noreturn]] void endProcess(ExitCode code)
{
    std::_Exit(static_cast<int>(code));
}

} // namespace

// exit() destroys what belongs to its thread before anything static. A handler of atexit() would be
// too late: those statics go first that threads have made since.
struct ProgramEnd::AtExit {
    ~AtExit()
    {
        if (end != nullptr)
            end->endNow();
    }
    AtExit() = default;
    AtExit(const AtExit&) = delete;
    AtExit& operator=(const AtExit&) = delete;

    static AtExit& ofThisThread()
    {
        thread_local AtExit made;
        return made;
    }

    ProgramEnd* end = nullptr;
};

ProgramEnd::ProgramEnd(std::function<void()> leaveBus)
    : m_leaveBus(std::move(leaveBus))
{
    AtExit::ofThisThread().end = this;
}

ProgramEnd::~ProgramEnd()
{
    AtExit::ofThisThread().end = nullptr;
    {
        const std::lock_guard guard(m_lock);
        m_isOver = true;
    }
    m_changed.notify_all();
    if (m_watch.joinable())
        m_watch.join();
}

void ProgramEnd::begin(ExitCode code)
{
    if (m_watch.joinable())
        return;
    m_code = code;
    m_watch = std::thread([this, code] {
        std::unique_lock guard(m_lock);
        if (!m_changed.wait_for(guard, kPatience, [this] { return m_isOver; }))
            endProcess(code);
    });
    m_leaveBus();
}

// What leaving the bus would wait for may be what called exit().
void ProgramEnd::endNow()
{
    begin(m_code);
    endProcess(m_code);
}

} // namespace tevoro
