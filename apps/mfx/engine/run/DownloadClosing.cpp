// The end of a download: names flushed, preferences stored, a last look at card and places, and the
// sink's closing operation, in which originals are deleted.

#include "copies/CopyPlaces.h"
#include "mfx/engine/run/Download.h"
#include "mfx/engine/saving/SpaceCheck.h"
#include "mfx/engine/sink/BrowserSearch.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/text/NameText.h"

#include <optional>

namespace mfx {

// First the names reach the disk, then the originals may go: after a power cut between the two, a
// copy without a name would be all that is left of a picture.
void Download::closeDownload()
{
    flushNames();
    m_sink.savePreferences();
    // Without the note the browser shows one place less, and nothing else.
    if (m_request.opensBrowser && m_request.backupFolder && m_account.summary.backups != 0)
        copies::notePlaces({m_request.target, *m_request.backupFolder});
    if (m_account.summary.interrupted || m_request.wasInterrupted())
        return;
    m_deletion.lookAgain();
    const std::vector<std::uint32_t> saved = m_account.savedItems();
    if (saved.empty())
        return;
    const std::vector<std::uint32_t> candidates =
        m_request.deletesOriginals ? m_deletion.deletable() : std::vector<std::uint32_t>();
    m_account.summary.deletionForbidden = m_request.deletesOriginals
        && (m_account.summary.copiesInOneFolder || m_deletion.isRefused());
    finishSink(candidates.empty() ? saved : candidates, !candidates.empty());
}

// The sink's closing operation: it asks, and calls back for each original that is to go. With
// nothing to delete it is run all the same, for it also shows what was saved; its question is then
// answered no without anybody being asked.
void Download::finishSink(const std::vector<std::uint32_t>& listed, bool deletes)
{
    if (deletes)
        m_progress.enter(ProgressPhase::kDelete);
    m_sink.askWith(deletes ? std::optional(m_deletion.question(listed)) : std::nullopt);
    m_sink.finish({m_request.sourceName,
        {listed.size(), [this, &listed](std::size_t i) { return finishedItem(listed[i]); }},
        m_request.deletesOriginals,
        [this](long key) { return m_deletion.remove(static_cast<std::uint32_t>(key - 1)); },
        m_request.wasInterrupted,
        [this, deletes] { awaitBrowser(deletes); }});
    if (!m_isOver)
        endDeletion(deletes);
    m_browserWait.end();
    m_account.summary.browserNotAwaited = m_isOver && m_request.wasInterrupted();
    if (m_request.opensBrowser && !isBrowserKnown())
        m_events.message("",
            text("$$$/Mfx/Download/NoBrowser=the result is not shown: tevoro is not registered; "
                 "velmo-caps add tevoro-2.0 --path PROGRAM does that"));
}

// The pictures are safe, and the browser may take its time, or for ever: so all that the download
// has to tell is told before it is waited for. After an interrupt nobody waits, and the sink may
// still have something to say of the deletion that was broken off.
void Download::awaitBrowser(bool deletes)
{
    if (!isBrowserKnown())
        return;
    if (!m_request.wasInterrupted()) {
        endDeletion(deletes);
        leavePlaces();
        tellSummary();
    }
    m_browserWait.begin(m_request.opensBrowser);
}

void Download::endDeletion(bool deletes)
{
    m_account.summary.nobodyAnswered = m_sink.foundNobody();
    if (!deletes)
        return;
    m_progress.leave();
    m_deletion.lookAgain(); // while the question was open, and while originals went
}

// A rename may live in the kernel's cache alone until its folder is flushed. A disk that does not
// take the flush has not promised to keep any name, so that not one item counts as proven.
void Download::flushNames()
{
    std::error_code error = m_folders.flush();
    if (!error && m_request.backupFolder && m_account.summary.backups != 0)
        error = Pt::flushFolder(m_places.backupOwnPath());
    if (!error)
        return;
    m_account.addUnsafe(Pt::displayName(m_request.target),
        text("$$$/Mfx/Download/NotFlushed=names were not flushed to the disk: %1",
            {error.message()}));
    m_account.distrustAll();
}

SinkItem Download::finishedItem(std::uint32_t item) const
{
    const SavedItem& state = m_account.items[item];
    return {static_cast<long>(item) + 1, deviceName(item), state.finalName, state.folder->path};
}

} // namespace mfx
