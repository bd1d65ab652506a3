#include "mfx/engine/run/RateWindow.h"

namespace mfx {

// The oldest sample that is kept is the last one that is at least a span old, so that the window is
// never shorter than the span once it was full. Two always stay: a rate needs a distance.
double RateWindow::add(Clock::time_point now, std::uint64_t count)
{
    m_samples.push_back({now, count});
    while (m_samples.size() > 2 && now - m_samples[1].time >= m_span)
        m_samples.pop_front();
    const Sample& first = m_samples.front();
    const double seconds = std::chrono::duration<double>(now - first.time).count();
    return seconds > 0 ? static_cast<double>(count - first.count) / seconds : 0;
}

} // namespace mfx
