#include "mfx/cli/ProgressLine.h"

#include "mfx/engine/saving/SpaceCheck.h"
#include "mfx/texts/Columns.h"
#include "mfx/texts/Texts.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace mfx {

namespace {

constexpr std::chrono::milliseconds kPause{100};
constexpr double kMinTimeLeft = 1; // seconds

std::string timeText(double seconds)
{
    const auto whole = std::lround(seconds);
    const long minutes = whole / 60;
    if (minutes >= 60)
        return text("$$$/Mfx/Time/HoursMinutes=%1 h %2 min",
            {std::to_string(minutes / 60), std::to_string(minutes % 60)});
    if (minutes > 0)
        return text("$$$/Mfx/Time/MinutesSeconds=%1 min %2 s",
            {std::to_string(minutes), std::to_string(whole % 60)});
    return text("$$$/Mfx/Time/Seconds=%1 s", {std::to_string(whole)});
}

std::string phaseText(ProgressPhase phase)
{
    switch (phase) {
    case ProgressPhase::kCopy:
        break;
    case ProgressPhase::kProve:
        return text("$$$/Mfx/Progress/Proving=proving");
    case ProgressPhase::kBackup:
        return text("$$$/Mfx/Progress/SecondCopy=second copy");
    case ProgressPhase::kConvert:
        return text("$$$/Mfx/Progress/Converting=converting");
    case ProgressPhase::kDelete:
        return text("$$$/Mfx/Progress/Deleting=deleting");
    }
    return text("$$$/Mfx/Progress/Copying=copying");
}

// An empty card is done from the beginning.
std::string shareText(const ProgressEvent& event)
{
    const auto done = static_cast<double>(event.bytesDone);
    const auto total = static_cast<double>(event.bytesTotal);
    return std::to_string(total > 0 ? static_cast<int>(done * 100 / total) : 100);
}

// Work may go on for seconds after the last byte was counted: what is nearly nothing is not told.
std::string lineText(const ProgressEvent& event)
{
    const std::vector<std::string> parts{shareText(event),
        std::to_string(event.itemsDone),
        std::to_string(event.itemsTotal),
        phaseText(event.phase),
        sizeText(event.rate)};
    if (!event.secondsLeft || *event.secondsLeft < kMinTimeLeft)
        return text("$$$/Mfx/Progress/Doing=%1%, %2 of %3 items, %4, %5/s", parts);
    std::vector<std::string> all = parts;
    all.push_back(timeText(*event.secondsLeft));
    return text("$$$/Mfx/Progress/DoingWithTime=%1%, %2 of %3 items, %4, %5/s, %6 left", all);
}

} // namespace

ProgressLine::ProgressLine(bool shown)
    : m_shown(shown)
{
}

// One column less than the terminal has: in the last one, some terminals begin a new line, and the
// carriage return would then not lead back to the beginning of this one.
void ProgressLine::show(const ProgressEvent& event)
{
    const auto now = Clock::now();
    if (!m_shown || now - m_last < kPause)
        return;
    m_last = now;
    const int width = Pt::terminalWidth(stderr) - 1;
    std::fprintf(stderr,
        "\r%s",
        fittedTo(lineText(event), static_cast<std::size_t>(std::max(width, 0))).c_str());
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

} // namespace mfx
