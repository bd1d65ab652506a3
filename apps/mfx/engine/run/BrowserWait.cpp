#include "mfx/engine/run/BrowserWait.h"

#include "mfx/engine/sink/SinkSession.h"
#include "mfx/texts/Texts.h"

#include <utility>

namespace mfx {

namespace {

// A browser that runs has answered by then.
constexpr std::chrono::seconds kBeforeWords{2};

} // namespace

BrowserWait::BrowserWait(DownloadEvents& events, std::function<bool()> wasInterrupted)
    : m_events(events)
    , m_wasInterrupted(std::move(wasInterrupted))
{
}

void BrowserWait::begin(bool isShowing)
{
    Pt::Locked locked(m_lock);
    m_watch.emplace();
    m_begun = Clock::now();
    m_isShowing = isShowing;
}

void BrowserWait::end()
{
    Pt::Locked locked(m_lock);
    if (!m_watch)
        return;
    if (m_isShowing && !m_wasInterrupted())
        if (const auto why = m_watch->whyNotShown())
            m_events.message("", *why);
    m_watch.reset();
}

// The sink waits without end() being called in between: so what happens under the lock here does
// not hold it up.
void BrowserWait::look()
{
    Pt::Locked locked(m_lock);
    if (!m_watch || m_watch->isShown())
        return;
    if (m_isShowing && Clock::now() - m_begun >= kBeforeWords && !std::exchange(m_isSaid, true))
        say();
    if ((m_wasInterrupted() || isInVain()) && !std::exchange(m_isEnded, true))
        SinkSession::stopWaitingForBrowser();
}

void BrowserWait::say()
{
    m_events.message("",
        text("$$$/Mfx/Download/WaitsForBrowser=waiting for tevoro to show the result; an "
             "interrupt ends the wait"));
}

bool BrowserWait::isInVain()
{
    return m_watch->isGone() || m_watch->hasFailed();
}

} // namespace mfx
