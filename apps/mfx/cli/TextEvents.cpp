#include "mfx/cli/TextEvents.h"

#include "mfx/cli/Reporting.h"
#include "mfx/engine/saving/SpaceCheck.h"
#include "mfx/texts/Texts.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/text/NameText.h"

#include <cstdio>

namespace mfx {

using namespace commandline;

// Progress is for somebody who watches. In a file or a pipe it would be one endless line.
TextEvents::TextEvents(bool quiet, bool dryRun, Answering answering)
    : m_quiet(quiet)
    , m_dryRun(dryRun)
    , m_answering(answering)
    , m_line(!quiet && !dryRun && Pt::isTerminal(stderr))
{
}

// The progress line is taken away first: a message behind half of it could not be read.
void TextEvents::report(const std::string& message)
{
    Pt::Locked locked(m_lock);
    m_line.clear();
    printMessage(message);
}

void TextEvents::source(const std::string& name, std::size_t items, std::uint64_t bytes)
{
    if (m_quiet)
        return;
    printLine(countedText(items,
        "$$$/Mfx/Download/SourceOne=%2: %1 item, %3",
        "$$$/Mfx/Download/Source=%2: %1 items, %3",
        {Pt::terminalText(name), sizeText(bytes)}));
    commandline::outputError(); // before what goes to standard error
}

// But for a plan, what goes well is not told one by one: thousands would hide the one that does
// not.
void TextEvents::item(const ItemEvent& event)
{
    if (event.error && event.alreadyReported)
        return;
    if (event.error)
        report(text("$$$/Mfx/Download/ItemProblem=%1: %2", {event.name, *event.error}));
    else if (m_dryRun && !m_quiet)
        printLine(text(event.status == ItemStatus::kExists
                ? "$$$/Mfx/Download/ItemExists=%1 -> %2 (already present)"
                : "$$$/Mfx/Download/ItemToSave=%1 -> %2",
            {Pt::terminalText(event.name), Pt::terminalText(event.saved.value_or(""))}));
}

void TextEvents::message(const std::string& title, const std::string& body)
{
    if (!m_quiet)
        report(title.empty() ? body : text("$$$/Mfx/Download/Titled=%1: %2", {title, body}));
}

// While the question is open the line stays away, which would write over the answer that is being
// typed. The lock is not held meanwhile: the thread that reports progress must not wait for a
// person.
Answer TextEvents::question(const std::string&, const std::string& body)
{
    clearLine(true);
    const Answer answer = askYesOrNo(body, m_answering);
    clearLine(false);
    return answer;
}

void TextEvents::clearLine(bool isAsking)
{
    Pt::Locked locked(m_lock);
    m_line.clear();
    m_isAsking = isAsking;
}

bool TextEvents::isHeard() const
{
    Pt::Locked locked(m_lock);
    return !commandline::outputError();
}

void TextEvents::progress(const ProgressEvent& event)
{
    Pt::Locked locked(m_lock);
    if (!m_isAsking)
        m_line.show(event);
}

// Quiet means no news where all is well. Whoever asked for quiet still has to see what is not safe.
void TextEvents::summary(const DownloadSummary& summary)
{
    clearLine();
    const bool hasProblems = summary.failed != 0 || summary.notDeleted != 0;
    if (m_quiet && !hasProblems && !summary.interrupted)
        return;
    for (const NotSafe& entry : summary.notSafe)
        printLine("  "
            + text("$$$/Mfx/Download/NotSafe=not safe: %1: %2",
                {Pt::terminalText(entry.name), Pt::terminalText(entry.reason)}));
    printLine(summary.verdict);
    commandline::outputError(); // what else is told comes later, or has to be waited for
}

} // namespace mfx
