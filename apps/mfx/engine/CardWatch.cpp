#include "mfx/engine/CardWatch.h"

#include <algorithm>
#include <unordered_map>

namespace mfx {

namespace {

std::string below(const CardContents& card, std::uint32_t folder, const std::string& name)
{
    return card.folders[folder].empty() ? name : card.folders[folder] + '/' + name;
}

// Of everything that was there when the card was listed: the item, or nothing where it is none.
std::unordered_map<std::string, const MediaItem*> listed(const CardContents& card)
{
    std::unordered_map<std::string, const MediaItem*> all;
    for (const MediaItem& item : card.items)
        all.emplace(below(card, item.folder, item.name), &item);
    for (const NotHandled& entry : card.notHandled)
        all.emplace(below(card, entry.folder, entry.name), nullptr);
    return all;
}

bool hasChanged(const MediaItem& then, const MediaItem& now)
{
    return then.status.size != now.status.size || then.status.modified != now.status.modified;
}

} // namespace

bool CardWatch::isOwn(const std::string& path) const
{
    const std::string whole = m_card.root + '/' + path;
    return std::any_of(m_own.begin(), m_own.end(), [&whole](const std::string& folder) {
        return whole.starts_with(folder + '/');
    });
}

void CardWatch::note(const std::string& path, std::vector<std::string>& list)
{
    if (!isOwn(path) && m_told.insert(path).second)
        list.push_back(path);
}

// Everything is listed, also what was not asked for; that was there then if it is not newer.
CardWatch::News CardWatch::look()
{
    News news;
    const CardContents now = scanCard(m_card.root);
    const auto then = listed(m_card);
    for (const MediaItem& item : now.items) {
        const std::string path = below(now, item.folder, item.name);
        const auto known = then.find(path);
        if (known == then.end()) {
            if (!m_card.wasLeftOut(path))
                note(path, news.added);
        } else if (known->second && hasChanged(*known->second, item)) {
            note(path, news.changed);
        }
    }
    for (const NotHandled& entry : now.notHandled) {
        const std::string path = below(now, entry.folder, entry.name);
        if (!then.contains(path) && entry.mayHoldPhotos())
            note(path, news.added);
    }
    return news;
}

} // namespace mfx
