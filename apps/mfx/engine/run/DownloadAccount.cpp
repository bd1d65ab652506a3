#include "mfx/engine/run/DownloadAccount.h"

#include "mfx/engine/run/PassedOverList.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"

#include <numeric>

namespace mfx {

namespace {

constexpr std::size_t kReportedNotSafe = 50; // the rest is counted

} // namespace

DownloadAccount::DownloadAccount(const DownloadRequest& request, const CardContents& card)
    : items(card.items.size())
    , m_card(card)
{
    summary.items = card.items.size();
    summary.folder = request.target;
    summary.backupWanted = request.backupFolder.has_value();
    summary.dryRun = request.dryRun;
    summary.datesAreUsed = request.rules.useDates();
    summary.notAskedFor = card.notAskedFor;
    countNotHandled();
    listPassedOver();
}

std::uint64_t DownloadAccount::bytesOnCard() const
{
    return std::accumulate(m_card.items.begin(),
        m_card.items.end(),
        std::uint64_t{0},
        [](std::uint64_t sum, const MediaItem& item) { return sum + item.status.size; });
}

std::vector<std::uint32_t> DownloadAccount::savedItems() const
{
    std::vector<std::uint32_t> saved;
    for (std::uint32_t item = 0; item < items.size(); ++item) {
        if (items[item].folder)
            saved.push_back(item);
    }
    return saved;
}

// A conversion that failed leaves the proven raw file: the run did not do all that it was asked, so
// that its exit code says so, but the card may be wiped.
void DownloadAccount::countMember(
    const GroupWork& work, const MemberWork& member, const ItemEvent& event)
{
    if (!work.failed) {
        ++(member.alreadyPresent() ? summary.existing : summary.saved);
        if (work.date.source == DateSource::kFileTime)
            ++summary.datedByFile;
    }
    if (items[member.item].isProven)
        ++summary.proven;
    if (event.error && event.status == ItemStatus::kDNGFailed)
        ++summary.failed; // not as asked for, and safe all the same
    else if (event.error)
        addUnsafe(event.name, *event.error);
}

void DownloadAccount::distrustAll()
{
    for (SavedItem& item : items)
        item.isProven = false;
    summary.proven = 0;
}

// A folder that could not be listed may be full of pictures: it counts as something that is not
// safe for as long as nobody knows.
void DownloadAccount::countNotHandled()
{
    for (const NotHandled& entry : m_card.notHandled)
        ++summary.notHandled[entry.reason];
    summary.mayHoldPhotos = m_card.harmfulNotHandled();
    for (const ScanProblem& problem : m_card.problems) {
        addUnsafe(Pt::displayName(problem.path),
            text("$$$/Mfx/Download/CannotRead=it cannot be read: %1", {problem.error.message()}));
    }
}

// What wiping the card would cost beside the items that were saved.
void DownloadAccount::listPassedOver()
{
    PassedOverList list;
    for (const NotHandled& entry : m_card.notHandled)
        list.add(m_card, entry);
    for (const MediaItem& item : m_card.items) {
        if (item.status.size == 0)
            list.add(PassedOverKind::kEmptyFile, Pt::displayName(m_card.pathBelow(item)));
    }
    for (const std::string& name : m_card.leftOut)
        list.add(PassedOverKind::kNotAskedFor, Pt::displayName(name));
    summary.passedOver = list.take();
}

void DownloadAccount::addUnsafe(const std::string& name, const std::string& reason)
{
    ++summary.failed;
    ++summary.unsafe;
    addNotSafe(name, reason);
}

void DownloadAccount::addNotSafe(const std::string& name, const std::string& reason)
{
    if (summary.notSafe.size() < kReportedNotSafe)
        summary.notSafe.push_back({name, reason});
}

} // namespace mfx
