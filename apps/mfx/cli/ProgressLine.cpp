#include "mfx/cli/ProgressLine.h"

#include "mfx/engine/SpaceCheck.h"
#include "mfx/texts/Columns.h"
#include "mfx/texts/Texts.h"
#include "platform/common/ProgramEnvironment.h"

#include <algorithm>
#include <cstdio>

namespace mfx {

namespace {

constexpr std::chrono::milliseconds kPause{100};

std::string timeText(double seconds)
{
    const auto whole = static_cast<long>(seconds + 0.5);
    const long minutes = whole / 60;
    if (minutes >= 60)
        return text("$$$/Mfx/Time/HoursMinutes=%1 h %2 min",
            {std::to_string(minutes / 60), std::to_string(minutes % 60)});
    if (minutes > 0)
        return text("$$$/Mfx/Time/MinutesSeconds=%1 min %2 s",
            {std::to_string(minutes), std::to_string(whole % 60)});
    return text("$$$/Mfx/Time/Seconds=%1 s", {std::to_string(whole)});
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
    std::fprintf(stderr,
        "\r%s",
        fittedTo(line(event, now), static_cast<std::size_t>(std::max(width, 0))).c_str());
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

std::string ProgressLine::line(const ProgressEvent& event, Clock::time_point now) const
{
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    const auto done = static_cast<double>(event.bytesDone);
    const auto total = static_cast<double>(event.bytesTotal);
    const double rate = seconds > 0 ? done / seconds : 0;
    const std::string share =
        std::to_string(total > 0 ? static_cast<int>(done * 100 / total) : 100);
    const std::string items = std::to_string(event.itemsDone);
    const std::string all = std::to_string(event.itemsTotal);
    const std::string speed = sizeText(static_cast<std::uint64_t>(rate));
    if (rate > 0)
        return text("$$$/Mfx/Progress/LineWithTime=%1%, %2 of %3 items, %4/s, %5 left",
            {share, items, all, speed, timeText((total - done) / rate)});
    return text("$$$/Mfx/Progress/Line=%1%, %2 of %3 items, %4/s", {share, items, all, speed});
}

} // namespace mfx
