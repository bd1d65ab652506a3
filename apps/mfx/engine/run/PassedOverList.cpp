#include "mfx/engine/run/PassedOverList.h"

#include "platform/common/text/NameText.h"

#include <algorithm>

namespace mfx {

namespace {

constexpr std::size_t kNames = 5;

} // namespace

void PassedOverList::add(const std::string& kind, const std::string& label, const std::string& name)
{
    PassedOver& entry = kindOf(kind, label);
    ++entry.count;
    if (entry.names.size() < kNames)
        entry.names.push_back(name);
}

void PassedOverList::add(const CardContents& card, const NotHandled& entry)
{
    if (!entry.mayHoldPhotos())
        return;
    const std::string kind(reasonWord(entry.reason));
    const std::string label = reasonText(entry.reason);
    if (entry.pictureCount == 0) {
        const std::string& folder = card.folders[entry.folder];
        add(kind, label, Pt::displayName(folder.empty() ? entry.name : folder + '/' + entry.name));
        return;
    }
    for (const std::string& picture : entry.pictures)
        add(kind, label, Pt::displayName(picture));
    kindOf(kind, label).count += entry.pictureCount - entry.pictures.size();
}

PassedOver& PassedOverList::kindOf(const std::string& kind, const std::string& label)
{
    const auto known = std::find_if(m_kinds.begin(),
        m_kinds.end(),
        [&kind](const PassedOver& entry) { return entry.kind == kind; });
    if (known != m_kinds.end())
        return *known;
    m_kinds.push_back({kind, label, 0, {}});
    return m_kinds.back();
}

} // namespace mfx
