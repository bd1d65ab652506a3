#include "mfx/cli/TextEvents.h"

#include "commandline/NameText.h"
#include "mfx/cli/Reporting.h"
#include "mfx/engine/SpaceCheck.h"
#include "platform/common/ProgramEnvironment.h"

#include <cstdio>

namespace mfx {

using namespace commandline;

TextEvents::TextEvents(bool quiet, bool dryRun, Answering answering)
    : m_quiet(quiet)
    , m_dryRun(dryRun)
    , m_answering(answering)
    , m_line(!quiet && !dryRun && Pt::isTerminal(stderr))
{
}

void TextEvents::tell(const std::string& text)
{
    Pt::Locked locked(m_lock);
    m_line.clear();
    printMessage(text);
}

void TextEvents::source(const std::string& name, std::size_t items, std::uint64_t bytes)
{
    if (m_quiet)
        return;
    printLine(terminalText(name) + ": " + std::to_string(items) + " items, " + sizeText(bytes));
    std::fflush(stdout); // before what goes to standard error
}

void TextEvents::item(const ItemEvent& event)
{
    if (event.error)
        tell(event.name + ": " + *event.error);
    else if (m_dryRun && !m_quiet)
        printLine(terminalText(event.name) + " -> " + terminalText(event.saved.value_or(""))
            + (event.status == ItemStatus::kExists ? " (stands there already)" : ""));
}

void TextEvents::message(const std::string& title, const std::string& text)
{
    if (!m_quiet)
        tell(title.empty() ? text : title + ": " + text);
}

bool TextEvents::question(const std::string&, const std::string& text)
{
    {
        Pt::Locked locked(m_lock);
        m_line.clear();
    }
    return askYesOrNo(text, m_answering);
}

void TextEvents::progress(const ProgressEvent& event)
{
    Pt::Locked locked(m_lock);
    m_line.show(event);
}

void TextEvents::summary(const DownloadSummary& summary)
{
    {
        Pt::Locked locked(m_lock);
        m_line.clear();
    }
    const bool hasProblems = summary.failed != 0 || summary.notDeleted != 0;
    if (m_quiet && !hasProblems && !summary.interrupted)
        return;
    for (const NotSafe& entry : summary.notSafe)
        printLine("  not safe: " + terminalText(entry.name) + ": " + terminalText(entry.reason));
    printLine(summary.verdict);
}

} // namespace mfx
