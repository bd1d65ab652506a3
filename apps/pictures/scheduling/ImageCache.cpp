#include "pictures/scheduling/ImageCache.h"

#include <iterator>

namespace pictures {

QImage ImageCache::find(const QString& key)
{
    const auto found = m_entries.constFind(key);
    if (found == m_entries.constEnd())
        return {};
    m_order.splice(m_order.begin(), m_order, *found);
    return m_order.front().second;
}

void ImageCache::insert(const QString& key, const QImage& image)
{
    remove(key);
    m_order.emplace_front(key, image);
    m_entries.insert(key, m_order.begin());
    m_bytes += image.sizeInBytes();
    while (m_bytes > m_bound && m_order.size() > 1)
        removeEntry(std::prev(m_order.end()));
}

void ImageCache::remove(const QString& key)
{
    const auto found = m_entries.constFind(key);
    if (found != m_entries.constEnd())
        removeEntry(*found);
}

void ImageCache::clear()
{
    m_entries.clear();
    m_order.clear();
    m_bytes = 0;
}

void ImageCache::removeEntry(Order::iterator entry)
{
    m_bytes -= entry->second.sizeInBytes();
    m_entries.remove(entry->first);
    m_order.erase(entry);
}

} // namespace pictures
