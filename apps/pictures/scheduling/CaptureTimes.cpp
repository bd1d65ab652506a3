#include "pictures/scheduling/CaptureTimes.h"

#include "mfx/engine/dates/CaptureDate.h"
#include "pictures/folder/PathText.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace pictures {

using namespace std::chrono_literals;

namespace {

// So long the owner waits for more before it looks: longer each time, as whoever is told sorts all
// pictures anew.
constexpr auto kFirstPause = 300ms;
constexpr auto kMaxPause = 5s;

} // namespace

CaptureTimes::CaptureTimes(QObject* parent)
    : QObject(parent)
    , m_workers(1, [this] { return nextJob(); })
{
}

CaptureTimes::~CaptureTimes()
{
    const std::lock_guard guard(m_workers.lock());
    m_waiting.clear();
}

void CaptureTimes::read(std::vector<Picture> pictures)
{
    std::erase_if(pictures, [this](const Picture& picture) {
        const auto entry = m_known.constFind(picture.path);
        return entry != m_known.constEnd() && entry->modified == picture.modified;
    });
    std::ranges::reverse(pictures);
    m_pause = kFirstPause;
    {
        const std::lock_guard guard(m_workers.lock());
        m_waiting = std::move(pictures);
    }
    m_workers.wake();
}

std::optional<qint64> CaptureTimes::seconds(const Picture& picture) const
{
    const auto entry = m_known.constFind(picture.path);
    if (entry == m_known.constEnd() || entry->modified != picture.modified)
        return std::nullopt;
    return entry->seconds;
}

bool CaptureTimes::isIdle() const
{
    const std::lock_guard guard(m_workers.lock());
    return m_waiting.empty() && m_read.empty() && !m_reading;
}

Workers::Job CaptureTimes::nextJob()
{
    if (m_waiting.empty())
        return {};
    Picture picture = std::move(m_waiting.back());
    m_waiting.pop_back();
    m_reading = true;
    return [this, picture] { readOne(picture); };
}

// On the worker.
void CaptureTimes::readOne(const Picture& picture)
{
    const mfx::CaptureDate date = mfx::ownCaptureDate(pathBytes(picture.path));
    Entry entry{.modified = picture.modified, .seconds = std::nullopt};
    if (date.moment)
        entry.seconds = mfx::clockSeconds(*date.moment);
    const std::lock_guard guard(m_workers.lock());
    m_reading = false;
    m_read.emplace_back(picture.path, entry);
    if (!std::exchange(m_told, true))
        QMetaObject::invokeMethod(this, &CaptureTimes::gather, Qt::QueuedConnection);
}

void CaptureTimes::gather()
{
    QTimer::singleShot(m_pause, this, &CaptureTimes::takeRead);
    m_pause = std::min(m_pause * 2, std::chrono::milliseconds(kMaxPause));
}

void CaptureTimes::takeRead()
{
    std::vector<std::pair<QString, Entry>> read;
    {
        const std::lock_guard guard(m_workers.lock());
        read.swap(m_read);
        m_told = false;
    }
    for (auto& [path, entry] : read)
        m_known.insert(path, entry);
    Q_EMIT known();
}

} // namespace pictures
