// Images by name, within a bound of bytes: the least recently used go first. One thread at a time.
#pragma once

#include <QHash>
#include <QImage>
#include <QString>

#include <list>
#include <utility>

namespace pictures {

class ImageCache {
public:
    explicit ImageCache(qint64 bound)
        : m_bound(bound)
    {
    }

    // Null where there is none.
    QImage find(const QString& key);
    bool contains(const QString& key) const { return m_entries.contains(key); }
    // An image above the bound by itself stays until the next one comes: somebody has asked for it.
    void insert(const QString& key, const QImage& image);
    void remove(const QString& key);
    void clear();
    qint64 bytes() const { return m_bytes; }

private:
    using Order = std::list<std::pair<QString, QImage>>; // the most recently used first

    void removeEntry(Order::iterator entry);

    const qint64 m_bound;
    qint64 m_bytes = 0;
    Order m_order;
    QHash<QString, Order::iterator> m_entries;
};

} // namespace pictures
