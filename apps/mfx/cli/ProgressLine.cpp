#include "mfx/cli/ProgressLine.h"

#include "mfx/engine/SpaceCheck.h"
#include "platform/common/ProgramEnvironment.h"

#include <cstdio>

namespace mfx {

namespace {

constexpr std::chrono::milliseconds kPause{100};

std::string timeText(double seconds)
{
    const auto whole = static_cast<long>(seconds + 0.5);
    const long minutes = whole / 60;
    if (minutes >= 60)
        return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
    if (minutes > 0)
        return std::to_string(minutes) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(whole) + " s";
}

} // namespace

ProgressLine::ProgressLine(bool shown)
    : m_shown(shown)
    , m_start(Clock::now())
{
}

void ProgressLine::show(const ProgressEvent& event)
{
    const auto now = Clock::now();
    if (!m_shown || now - m_last < kPause)
        return;
    m_last = now;
    const int width = Pt::terminalWidth(stderr) - 1;
    std::fprintf(stderr, "\r%-*.*s", width, width, text(event, now).c_str());
    std::fflush(stderr);
    m_isDrawn = true;
}

void ProgressLine::clear()
{
    if (!m_isDrawn)
        return;
    std::fprintf(stderr, "\r%*s\r", Pt::terminalWidth(stderr) - 1, "");
    m_isDrawn = false;
}

std::string ProgressLine::text(const ProgressEvent& event, Clock::time_point now) const
{
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    const auto done = static_cast<double>(event.bytesDone);
    const auto total = static_cast<double>(event.bytesTotal);
    const double rate = seconds > 0 ? done / seconds : 0;
    std::string line = std::to_string(total > 0 ? static_cast<int>(done * 100 / total) : 100)
        + "%, " + std::to_string(event.itemsDone) + " of " + std::to_string(event.itemsTotal)
        + " items, " + sizeText(static_cast<std::uint64_t>(rate)) + "/s";
    if (rate > 0)
        line += ", " + timeText((total - done) / rate) + " left";
    return line;
}

} // namespace mfx
