#include "mfx/engine/run/GuardedDeletion.h"

#include "mfx/engine/saving/FolderStatus.h"
#include "mfx/engine/saving/SpaceCheck.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/text/NameText.h"

namespace mfx {

GuardedDeletion::GuardedDeletion(const DownloadRequest& request,
    const CardContents& card,
    PlaceWatch& places,
    FinalFolders& folders,
    DownloadAccount& account)
    : m_request(request)
    , m_card(card)
    , m_places(places)
    , m_folders(folders)
    , m_account(account)
    , m_originals(card, places)
    , m_cardWatch(card)
{
}

// Whether the places are where they were and still places of their own, and what is new on the
// card. Any of it may have changed while somebody thought about a question.
void GuardedDeletion::lookAgain()
{
    auto objection = m_places.lostPlace();
    if (!objection)
        objection = m_folders.compareAgain();
    if (!objection && m_places.backupKinship().toCard == Kinship::kAlias)
        objection = text("$$$/Mfx/Delete/BackupOnCard=the backup folder has become the card's");
    if (objection)
        forbid(*objection);
    if (isCardGone())
        m_account.summary.sourceGone = true; // what lies beneath its name now says nothing
    else
        noteNews();
}

// Not there, or another device in its place: the empty folder beneath a mount point is on the disk
// of the system.
bool GuardedDeletion::isCardGone() const
{
    return deviceOf(m_card.root) != m_card.folderIds.front().device;
}

// What came or changed is on the card and nowhere else. It does not forbid the deletion of others,
// whose copies are proven, but the card must not be wiped.
void GuardedDeletion::noteNews()
{
    const CardWatch::News news = m_cardWatch.look();
    for (const std::string& path : news.added)
        m_account.addUnsafe(Pt::displayName(path),
            text("$$$/Mfx/Download/CameLater=not saved: it came onto the card after the card was "
                 "listed"));
    const std::string reason =
        text("$$$/Mfx/Download/ChangedLater=it changed on the card after it was copied");
    for (const std::string& path : news.changed)
        m_account.addUnsafe(Pt::displayName(path), reason);
    for (const std::uint32_t item : news.touched)
        if (hasOtherBytes(item))
            m_account.addUnsafe(Pt::displayName(m_card.pathBelow(m_card.items[item])), reason);
}

// Read anew: its size and time are as they were, but a program may have set the time back.
bool GuardedDeletion::hasOtherBytes(std::uint32_t item) const
{
    const auto& digest = m_account.items[item].kept.digest;
    std::error_code error;
    return digest && Pt::digestOfFile(m_card.pathOf(m_card.items[item]), error) != digest;
}

// The first reason counts; it is told once, as something that is not safe.
void GuardedDeletion::forbid(const std::string& reason)
{
    if (!m_objection.empty())
        return;
    m_objection = reason;
    m_account.summary.placeUnusable = true;
    m_account.addUnsafe(Pt::displayName(m_request.target), reason);
}

std::vector<std::uint32_t> GuardedDeletion::deletable() const
{
    std::vector<std::uint32_t> items;
    for (std::uint32_t item = 0; m_objection.empty() && item < m_account.items.size(); ++item) {
        const SavedItem& state = m_account.items[item];
        if (state.isProven && state.kept.reasonToKeep.empty())
            items.push_back(item);
    }
    return items;
}

std::string GuardedDeletion::copiesText() const
{
    return m_request.backupFolder
        ? text("$$$/Mfx/Delete/TwoCopies=two proven copies, in %1 and in %2",
            {Pt::displayName(m_request.target), Pt::displayName(*m_request.backupFolder)})
        : text(
            "$$$/Mfx/Delete/OneCopy=one proven copy, in %1", {Pt::displayName(m_request.target)});
}

// Says what would go, from where, and what would be left: the answer cannot be taken back.
std::string GuardedDeletion::question(const std::vector<std::uint32_t>& items) const
{
    std::uint64_t bytes = 0;
    for (const std::uint32_t item : items)
        bytes += m_card.items[item].status.size;
    std::string question = countedText(items.size(),
        "$$$/Mfx/Delete/QuestionOne=Delete %1 file (%2) from %3? It has %4. Each copy was read "
        "back "
        "from the disk and compared.",
        "$$$/Mfx/Delete/Question=Delete %1 files (%2) from %3? Each has %4. Each copy was read "
        "back "
        "from the disk and compared.",
        {sizeText(bytes), Pt::displayName(m_request.sourceName), copiesText()});
    if (m_request.backupFolder && m_account.summary.copiesOnOneDisk)
        question += ' ' + text("$$$/Mfx/Delete/OneDisk=Both copies are on one disk.");
    if (m_account.summary.copiesOnCardsDevice)
        question +=
            ' ' + text("$$$/Mfx/Delete/SameDevice=Copies are on the same device as the originals.");
    return question;
}

std::string GuardedDeletion::objectionTo(const SavedItem& item) const
{
    if (isRefused())
        return m_objection;
    if (const auto lost = m_places.lostPlace())
        return *lost;
    if (item.folder && !item.folder->isAtItsPath())
        return item.folder->lostText();
    return item.isProven ? std::string()
                         : text("$$$/Mfx/Delete/NotProven=not deleted: its copy is not proven");
}

// The sink calls this for the first original right after the answer: the question may have been
// open for an hour, and all is looked at once more. Later ones only see whether the places are
// still there.
DeletionOutcome GuardedDeletion::remove(std::uint32_t item)
{
    if (!m_hasLookedAgain) {
        m_hasLookedAgain = true;
        lookAgain();
    }
    SavedItem& state = m_account.items[item];
    std::string reason = objectionTo(state);
    if (reason.empty())
        reason = m_originals.remove(item, state.kept);
    if (reason.empty()) {
        ++m_account.summary.deleted;
        return DeletionOutcome::kDeleted;
    }
    noteKept(item, reason);
    return isCardGone() ? DeletionOutcome::kDeviceGone : DeletionOutcome::kRefused;
}

// Where one original turned out to be its own copy, no device or inode of these places can be
// believed: no further one goes.
void GuardedDeletion::noteKept(std::uint32_t item, const std::string& reason)
{
    if (m_originals.foundAlias())
        forbid(reason);
    ++m_account.summary.notDeleted;
    m_account.addNotSafe(Pt::displayName(m_card.items[item].name), reason);
}

} // namespace mfx
