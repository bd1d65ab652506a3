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

ProgramEnd::ProgramEnd(std::function<void()> leaveBus)
    : m_leaveBus(std::move(leaveBus))
{
}

ProgramEnd::~ProgramEnd()
{
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
    m_watch = std::thread([this, code] {
        std::unique_lock guard(m_lock);
        if (!m_changed.wait_for(guard, kPatience, [this] { return m_isOver; }))
            endProcess(code);
    });
    m_leaveBus();
}

} // namespace tevoro
