// The end of a download: names flushed, preferences stored, a last look at card and places, the
// sink's closing operation, and the deletion of originals.

#include "mfx/engine/run/Download.h"
#include "mfx/engine/saving/SpaceCheck.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/text/NameText.h"

#include <optional>

namespace mfx {

void Download::closeDownload()
{
    flushNames();
    m_sink.savePreferences();
    if (m_summary.interrupted || m_request.wasInterrupted())
        return;
    lookAgain();
    std::vector<std::uint32_t> saved;
    for (std::uint32_t item = 0; item < m_items.size(); ++item)
        if (m_items[item].folder)
            saved.push_back(item);
    if (saved.empty())
        return;
    // With nothing to delete, the sink still shows what was saved; its question is answered no.
    const std::vector<std::uint32_t> candidates =
        m_request.deletesOriginals ? deletable() : std::vector<std::uint32_t>();
    const bool deletes = !candidates.empty();
    m_summary.deletionForbidden =
        m_request.deletesOriginals && (m_summary.copiesInOneFolder || !m_deletionObjection.empty());
    const std::vector<std::uint32_t>& listed = deletes ? candidates : saved;
    std::optional<PhaseScope> phase;
    if (deletes)
        phase.emplace(m_progress, ProgressPhase::kDelete);
    m_sink.askWith(deletes ? std::optional(deletionQuestion(candidates)) : std::nullopt);
    m_sink.finish(
        m_request.sourceName,
        {listed.size(), [this, &listed](std::size_t i) { return finishedItem(listed[i]); }},
        [this](long key) { return deleteOriginal(static_cast<std::uint32_t>(key - 1)); },
        m_request.wasInterrupted);
    m_summary.nobodyAnswered = m_sink.foundNobody();
    if (deletes)
        lookAgain(); // while the question was open, and while originals went
}

void Download::flushNames()
{
    std::error_code error = m_folders.flush();
    if (!error && m_request.backupFolder && m_summary.backups != 0)
        error = Pt::flushFolder(m_places.backupOwnPath());
    if (!error)
        return;
    addUnsafe(Pt::displayName(m_request.target),
        text("$$$/Mfx/Download/NotFlushed=names were not flushed to the disk: %1",
            {error.message()}));
    for (ItemState& item : m_items)
        item.isProven = false;
    m_summary.proven = 0;
}

// Whether the places are where they were and still places of their own, and what is new on the
// card. Any of it may have changed while somebody thought about a question.
void Download::lookAgain()
{
    auto objection = m_places.lostPlace();
    if (!objection)
        objection = m_folders.compareAgain();
    if (!objection && m_places.backupKinship().toCard == Kinship::kAlias)
        objection = text("$$$/Mfx/Delete/BackupOnCard=the backup folder has become the card's");
    if (objection)
        forbidDeletion(*objection);
    if (isCardGone())
        m_summary.sourceGone = true; // what lies beneath its name now says nothing
    else
        noteNews();
}

// Not there, or another device in its place.
bool Download::isCardGone() const
{
    std::error_code error;
    const auto root = Pt::fileStatus(m_card.root + "/.", error);
    return !root || root->device != m_card.folderIds.front().device;
}

void Download::noteNews()
{
    const CardWatch::News news = m_cardWatch.look();
    for (const std::string& path : news.added)
        addUnsafe(Pt::displayName(path),
            text("$$$/Mfx/Download/CameLater=not saved: it came onto the card after the card was "
                 "listed"));
    const std::string reason =
        text("$$$/Mfx/Download/ChangedLater=it changed on the card after it was copied");
    for (const std::string& path : news.changed)
        addUnsafe(Pt::displayName(path), reason);
    for (const std::uint32_t item : news.touched) {
        const std::string path = m_card.pathOf(m_card.items[item]);
        const auto& digest = m_items[item].kept.digest;
        std::error_code error;
        if (digest && Pt::digestOfFile(path, error) != digest)
            addUnsafe(Pt::displayName(m_card.pathBelow(m_card.items[item])), reason);
    }
}

void Download::forbidDeletion(const std::string& reason)
{
    if (!m_deletionObjection.empty())
        return;
    m_deletionObjection = reason;
    m_summary.placeUnusable = true;
    addUnsafe(Pt::displayName(m_request.target), reason);
}

std::vector<std::uint32_t> Download::deletable() const
{
    std::vector<std::uint32_t> items;
    for (std::uint32_t item = 0; m_deletionObjection.empty() && item < m_items.size(); ++item) {
        const ItemState& state = m_items[item];
        if (state.isProven && state.kept.reasonToKeep.empty())
            items.push_back(item);
    }
    return items;
}

// Says what would go, from where, and what would be left.
std::string Download::deletionQuestion(const std::vector<std::uint32_t>& items) const
{
    std::uint64_t bytes = 0;
    for (const std::uint32_t item : items)
        bytes += m_card.items[item].status.size;
    const std::string copies = m_request.backupFolder
        ? text("$$$/Mfx/Delete/TwoCopies=two proven copies, in %1 and in %2",
            {Pt::displayName(m_request.target), Pt::displayName(*m_request.backupFolder)})
        : text(
            "$$$/Mfx/Delete/OneCopy=one proven copy, in %1", {Pt::displayName(m_request.target)});
    std::string question = countedText(items.size(),
        "$$$/Mfx/Delete/QuestionOne=Delete %1 file (%2) from %3? It has %4. Each copy was read "
        "back "
        "from the disk and compared.",
        "$$$/Mfx/Delete/Question=Delete %1 files (%2) from %3? Each has %4. Each copy was read "
        "back "
        "from the disk and compared.",
        {sizeText(bytes), Pt::displayName(m_request.sourceName), copies});
    if (m_request.backupFolder && m_summary.copiesOnOneDisk)
        question += ' ' + text("$$$/Mfx/Delete/OneDisk=Both copies are on one disk.");
    if (m_summary.copiesOnCardsDevice)
        question +=
            ' ' + text("$$$/Mfx/Delete/SameDevice=Copies are on the same device as the originals.");
    return question;
}

SinkItem Download::finishedItem(std::uint32_t item) const
{
    const ItemState& state = m_items[item];
    return {static_cast<long>(item) + 1, deviceName(item), state.finalName, state.folder->path};
}

DeletionOutcome Download::deleteOriginal(std::uint32_t item)
{
    if (!m_hasLookedAgain) {
        m_hasLookedAgain = true;
        lookAgain();
    }
    ItemState& state = m_items[item];
    std::string reason = m_deletionObjection;
    if (reason.empty())
        reason = m_places.lostPlace().value_or("");
    if (reason.empty() && state.folder && !state.folder->isAtItsPath())
        reason = state.folder->lostText();
    if (reason.empty() && !state.isProven)
        reason = text("$$$/Mfx/Delete/NotProven=not deleted: its copy is not proven");
    if (reason.empty())
        reason = m_deletion.remove(item, state.kept);
    if (reason.empty()) {
        ++m_summary.deleted;
        return DeletionOutcome::kDeleted;
    }
    if (m_deletion.foundAlias())
        forbidDeletion(reason);
    ++m_summary.notDeleted;
    addNotSafe(Pt::displayName(m_card.items[item].name), reason);
    return isCardGone() ? DeletionOutcome::kDeviceGone : DeletionOutcome::kRefused;
}

} // namespace mfx
