// The end of a download: names flushed, preferences stored, the sink's closing operation, and the
// deletion of originals.

#include "commandline/NameText.h"
#include "mfx/engine/Download.h"
#include "mfx/texts/Texts.h"
#include "platform/common/FileAccess.h"
#include "platform/common/FilePlacement.h"
#include "platform/common/PtExSystem.h"
#include "platform/common/SystemError.h"

#include <filesystem>
#include <optional>

namespace mfx {

using namespace commandline;

namespace fs = std::filesystem;

void Download::closeDownload()
{
    std::error_code error = m_folders.flush();
    if (!error && m_request.backupFolder && m_summary.backups != 0)
        error = Pt::flushFolder(*m_request.backupFolder);
    if (error) {
        ++m_summary.failed;
        addNotSafe(displayName(m_request.target),
            text("$$$/Mfx/Download/NotFlushed=names were not flushed to the disk: %1",
                {error.message()}));
        for (ItemState& item : m_items)
            item.isProven = false;
        m_summary.proven = 0;
    }
    m_sink.savePreferences();
    if (m_summary.interrupted || m_request.wasInterrupted())
        return;
    // With nothing to delete, the sink still shows what was saved; its question is answered no.
    std::vector<std::uint32_t> deletable;
    std::vector<std::uint32_t> saved;
    for (std::uint32_t item = 0; item < m_items.size(); ++item) {
        if (m_items[item].folder)
            saved.push_back(item);
        if (m_items[item].isProven)
            deletable.push_back(item);
    }
    if (saved.empty())
        return;
    const bool deletes = m_request.deletesOriginals && !deletable.empty();
    const std::vector<std::uint32_t>& listed = deletes ? deletable : saved;
    m_sink.allowQuestions(deletes);
    m_sink.finish(
        m_request.sourceName,
        {listed.size(), [this, &listed](std::size_t i) { return finishedItem(listed[i]); }},
        [this](long key) { return deleteOriginal(static_cast<std::uint32_t>(key - 1)); },
        m_request.wasInterrupted);
}

SinkItem Download::finishedItem(std::uint32_t item) const
{
    const ItemState& state = m_items[item];
    return {static_cast<long>(item) + 1, deviceName(item), state.finalName, state.folder->path};
}

// Looks once more that the original is what was read, and that its copy is still there.
DeletionOutcome Download::deleteOriginal(std::uint32_t item)
{
    const ItemState& state = m_items[item];
    const std::string path = m_card.pathOf(m_card.items[item]);
    const std::string copy = state.folder->path + '/' + state.finalName;
    std::error_code error;
    const auto original = Pt::fileStatus(path, error);
    const auto isGone = [this] {
        std::error_code unreadable; // a card that cannot be asked is as good as gone
        return !fs::exists(m_card.root, unreadable);
    };
    std::optional<std::string> reasonToStay;
    if (!state.isProven)
        reasonToStay = text("$$$/Mfx/Delete/NotProven=not deleted: its copy is not proven");
    else if (!original)
        reasonToStay = text("$$$/Mfx/Delete/Missing=not deleted: it is no longer there");
    else if (*original != m_card.items[item].status)
        reasonToStay = text("$$$/Mfx/Delete/Changed=not deleted: it changed after it was copied");
    else if (!copyStands(item))
        reasonToStay = text("$$$/Mfx/Delete/CopyGone=not deleted: its copy is no longer at %1",
            {displayName(copy)});
    else if (Pt::unlinkPath(path) != 0)
        reasonToStay = text("$$$/Mfx/Delete/Refused=not deleted: it cannot be deleted: %1",
            {Pt::systemErrorText(Pt::ErrorCode())});
    if (!reasonToStay) {
        ++m_summary.deleted;
        return DeletionOutcome::kDeleted;
    }
    ++m_summary.notDeleted;
    addNotSafe(displayName(m_card.items[item].name), *reasonToStay);
    return isGone() ? DeletionOutcome::kDeviceGone : DeletionOutcome::kRefused;
}

// A converted raw file stands no longer; its DNG took its place.
bool Download::copyStands(std::uint32_t item) const
{
    const ItemState& state = m_items[item];
    const std::string& path =
        state.dng.empty() ? state.folder->path + '/' + state.finalName : state.dng;
    std::error_code error;
    const auto copy = Pt::fileStatus(path, error);
    return copy && copy->kind == Pt::FileStatus::Kind::Regular
        && (!state.dng.empty() || copy->size == m_card.items[item].status.size);
}

} // namespace mfx
