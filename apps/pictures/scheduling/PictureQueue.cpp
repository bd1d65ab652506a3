#include "pictures/scheduling/PictureQueue.h"

#include "pictures/scheduling/DrawnForm.h"

#include <algorithm>
#include <utility>

namespace pictures {

struct PictureQueue::Reading {
    PictureWish wish;
    std::atomic<bool> cancelled = false;
};

struct PictureQueue::Done {
    PictureWish wish;
    Picture picture;
};

namespace {

// What is known of more pictures than this is forgotten: the images are what costs.
constexpr qsizetype kPicturesKnown = 10'000;

// No path holds a NUL.
QString keyOf(const PictureWish& wish)
{
    return QStringLiteral("%1 %2x%3")
               .arg(wish.modified)
               .arg(wish.box.width())
               .arg(wish.box.height())
        + QChar(u'\0') + wish.path;
}

} // namespace

PictureQueue::PictureQueue(int workers, QObject* parent)
    : QObject(parent)
    , m_workers(workers, [this] { return nextJob(); })
{
}

PictureQueue::~PictureQueue()
{
    const std::lock_guard guard(m_workers.lock());
    m_wanted.clear();
    for (const auto& reading : m_readings)
        reading->cancelled = true;
}

std::vector<PictureWish> PictureQueue::missingOf(const std::vector<PictureWish>& wishes)
{
    std::vector<PictureWish> missing;
    std::ranges::copy_if(wishes, std::back_inserter(missing), [this](const PictureWish& wish) {
        return isMissing(wish);
    });
    return missing;
}

void PictureQueue::want(const std::vector<PictureWish>& wishes)
{
    std::vector<PictureWish> missing = missingOf(wishes);
    {
        const std::lock_guard guard(m_workers.lock());
        for (const auto& reading : m_readings) {
            if (reading->cancelled || std::erase(missing, reading->wish) == 0)
                reading->cancelled = true;
        }
        m_wanted = std::move(missing);
    }
    m_workers.wake();
}

// What could not be read is tried again: the disk may be back.
bool PictureQueue::isMissing(const PictureWish& wish)
{
    const Picture* const picture = find(wish);
    return picture == nullptr || picture->status == ReadStatus::kUnreadable;
}

const Picture* PictureQueue::find(const PictureWish& wish)
{
    const QString key = keyOf(wish);
    const auto known = m_pictures.constFind(key);
    if (known == m_pictures.constEnd())
        return nullptr;
    m_found = *known;
    if (m_found.status != ReadStatus::kDone)
        return &m_found;
    m_found.image = m_images.find(key);
    return m_found.image.isNull() ? nullptr : &m_found;
}

Workers::Job PictureQueue::nextJob()
{
    if (m_wanted.empty())
        return {};
    auto reading = std::make_shared<Reading>();
    reading->wish = m_wanted.front();
    m_wanted.erase(m_wanted.begin());
    m_readings.push_back(reading);
    return [this, reading] { read(reading); };
}

// On a worker.
void PictureQueue::read(const std::shared_ptr<Reading>& reading)
{
    Picture picture = readPicture({reading->wish.path, reading->wish.box, &reading->cancelled});
    picture.image = drawnForm(picture.image, reading->wish.box);
    const std::lock_guard guard(m_workers.lock());
    std::erase(m_readings, reading);
    if (picture.status == ReadStatus::kCancelled || reading->cancelled)
        return;
    m_done.push_back({reading->wish, std::move(picture)});
    if (m_done.size() == 1)
        QMetaObject::invokeMethod(this, &PictureQueue::takeDone, Qt::QueuedConnection);
}

void PictureQueue::takeDone()
{
    std::vector<Done> all;
    {
        const std::lock_guard guard(m_workers.lock());
        all.swap(m_done);
    }
    for (Done& done : all) {
        const QString key = keyOf(done.wish);
        if (m_pictures.size() >= kPicturesKnown)
            m_pictures.clear();
        if (!done.picture.image.isNull())
            m_images.insert(key, std::exchange(done.picture.image, {}));
        m_pictures.insert(key, done.picture);
    }
    for (const Done& done : all)
        Q_EMIT ready(done.wish);
}

} // namespace pictures
