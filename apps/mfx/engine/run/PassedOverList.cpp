#include "mfx/engine/run/PassedOverList.h"

#include "platform/common/text/NameText.h"

#include <algorithm>

namespace mfx {

namespace {

constexpr std::size_t kNames = 5;

std::string pathOf(const CardContents& card, const NotHandled& notHandled)
{
    const std::string& folder = card.folders[notHandled.folder];
    return folder.empty() ? notHandled.name : folder + '/' + notHandled.name;
}

} // namespace

void PassedOverList::add(PassedOverKind kind, const std::string& name)
{
    addName(entryOf(kind, NotHandledReason::kOther), name);
}

void PassedOverList::add(const CardContents& card, const NotHandled& notHandled)
{
    if (!notHandled.mayHoldPhotos())
        return;
    PassedOver& entry = entryOf(PassedOverKind::kNotHandled, notHandled.reason);
    if (notHandled.pictureCount == 0) {
        addName(entry, Pt::displayName(pathOf(card, notHandled)));
        return;
    }
    for (const std::string& picture : notHandled.pictures)
        addName(entry, Pt::displayName(picture));
    // The scan names the first few pictures of a folder, and counts them all.
    entry.count += notHandled.pictureCount - notHandled.pictures.size();
}

void PassedOverList::addName(PassedOver& entry, const std::string& name)
{
    ++entry.count;
    if (entry.names.size() < kNames)
        entry.names.push_back(name);
}

PassedOver& PassedOverList::entryOf(PassedOverKind kind, NotHandledReason reason)
{
    const auto known = std::find_if(m_kinds.begin(), m_kinds.end(), [&](const PassedOver& entry) {
        return entry.kind == kind && entry.reason == reason;
    });
    if (known != m_kinds.end())
        return *known;
    m_kinds.push_back({kind, reason, 0, {}});
    return m_kinds.back();
}

} // namespace mfx
