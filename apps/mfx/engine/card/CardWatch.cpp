#include "mfx/engine/card/CardWatch.h"

#include <algorithm>

namespace mfx {

namespace {

std::string below(const CardContents& card, std::uint32_t folder, const std::string& name)
{
    return card.folders[folder].empty() ? name : card.folders[folder] + '/' + name;
}

} // namespace

// The target may lie on the card, where all that a run saves would be news.
bool CardWatch::isOwn(const std::string& path) const
{
    const std::string whole = m_card.root + '/' + path;
    return std::any_of(m_own.begin(), m_own.end(), [&whole](const std::string& folder) {
        return whole == folder || whole.starts_with(folder + '/');
    });
}

void CardWatch::note(const std::string& path, std::vector<std::string>& list)
{
    if (!isOwn(path) && m_reported.insert(path).second)
        list.push_back(path);
}

void CardWatch::rememberListed()
{
    for (std::uint32_t item = 0; item < m_card.items.size(); ++item)
        m_items.emplace(m_card.pathBelow(m_card.items[item]), item);
    for (const NotHandled& entry : m_card.notHandled)
        m_passedOver.emplace(below(m_card, entry.folder, entry.name), entry.pictureCount);
}

// Everything is listed, also what was not asked for; that was there then if it is not newer.
CardWatch::News CardWatch::look()
{
    if (m_items.empty() && m_passedOver.empty())
        rememberListed();
    News news;
    const CardContents now = scanCard(m_card.root);
    for (const MediaItem& item : now.items)
        lookAt(item, now, news);
    for (const NotHandled& entry : now.notHandled) {
        const std::string path = below(now, entry.folder, entry.name);
        const auto known = m_passedOver.find(path);
        const std::size_t before = known == m_passedOver.end() ? 0 : known->second;
        const bool isNew = known == m_passedOver.end() && entry.mayHoldPhotos();
        if (isNew || entry.pictureCount > before)
            note(path, news.added);
    }
    return news;
}

// A file may be written anew under its old size and time. What cannot be seen by size and time of
// content is left to whoever can read the file: a time of change that differs, or that the file
// system does not keep, proves nothing by itself.
void CardWatch::lookAt(const MediaItem& item, const CardContents& now, News& news)
{
    const std::string path = now.pathBelow(item);
    const auto known = m_items.find(path);
    if (known == m_items.end()) {
        if (!m_card.wasLeftOut(path))
            note(path, news.added);
        return;
    }
    const Pt::FileStatus& then = m_card.items[known->second].status;
    if (then.size != item.status.size || then.modified != item.status.modified)
        note(path, news.changed);
    else if (then.changed != item.status.changed || then.changed == 0)
        news.touched.push_back(known->second);
}

} // namespace mfx
