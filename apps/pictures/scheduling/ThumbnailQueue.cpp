#include "pictures/scheduling/ThumbnailQueue.h"

#include "pictures/decoding/FirstLook.h"
#include "pictures/decoding/Fitting.h"
#include "pictures/scheduling/DrawnForm.h"

#include <algorithm>
#include <utility>

namespace pictures {

// A row that a worker is at.
struct ThumbnailQueue::Reading {
    ThumbnailSubject subject;
    int box = 0;
    bool isFirstLook = false;
    std::atomic<bool> cancelled = false;
};

struct ThumbnailQueue::Done {
    std::shared_ptr<Reading> reading;
    ThumbnailResult result;
    bool isFirstLook = false; // or the thumbnail, which the store may have had
};

namespace {

bool isSame(const ThumbnailSubject& a, const ThumbnailSubject& b)
{
    return a.path == b.path && a.modified == b.modified && a.bytes == b.bytes;
}

// Whether it can be read already: names are known before sizes and times are.
bool isKnown(const ThumbnailSubject& subject)
{
    return subject.bytes >= 0;
}

} // namespace

ThumbnailQueue::ThumbnailQueue(ThumbnailStore store, int workers, QObject* parent)
    : QObject(parent)
    , m_store(std::move(store))
    , m_workers(workers, [this] { return nextJob(); })
{
}

ThumbnailQueue::~ThumbnailQueue()
{
    const std::lock_guard guard(m_workers.lock());
    m_subjects.clear();
    for (const auto& reading : m_readings)
        reading->cancelled = true;
}

void ThumbnailQueue::setSubjects(std::vector<ThumbnailSubject> subjects)
{
    {
        const std::lock_guard guard(m_workers.lock());
        QHash<QString, int> rows;
        rows.reserve(static_cast<qsizetype>(subjects.size()));
        std::vector<State> states(subjects.size(), State::kUnread);
        for (int row = 0; row < static_cast<int>(subjects.size()); ++row) {
            const auto index = static_cast<std::size_t>(row);
            const ThumbnailSubject& subject = subjects[index];
            rows.insert(subject.path, row);
            const auto former = m_rows.constFind(subject.path);
            if (former == m_rows.constEnd())
                continue;
            const auto before = static_cast<std::size_t>(*former);
            // A broken one is tried again: the disk may be back.
            if (isSame(m_subjects[before], subject) && m_states[before] != State::kBroken)
                states[index] = m_states[before];
            else
                m_images.remove(subject.path);
        }
        m_subjects = std::move(subjects);
        m_states = std::move(states);
        m_rows = std::move(rows);
        m_cursor = 0;
        giveUpUnwanted();
    }
    m_workers.wake();
}

void ThumbnailQueue::setVisible(int first, int last)
{
    {
        const std::lock_guard guard(m_workers.lock());
        m_first = first;
        m_last = last;
        m_cursor = 0;
        giveUpUnwanted();
    }
    m_workers.wake();
}

void ThumbnailQueue::setBox(int pixels)
{
    {
        const std::lock_guard guard(m_workers.lock());
        if (pixels == m_box)
            return;
        m_box = pixels;
        std::ranges::fill(m_states, State::kUnread);
        m_cursor = 0;
        for (const auto& reading : m_readings)
            reading->cancelled = true;
    }
    m_workers.wake();
}

ThumbnailQueue::State ThumbnailQueue::state(int row) const
{
    const std::lock_guard guard(m_workers.lock());
    return m_states.at(static_cast<std::size_t>(row));
}

QImage ThumbnailQueue::image(int row)
{
    const auto index = static_cast<std::size_t>(row);
    const std::lock_guard guard(m_workers.lock());
    QImage image = m_images.find(m_subjects.at(index).path);
    if (image.isNull() && m_states[index] == State::kReady) { // it had to go, and is wanted again
        m_states[index] = State::kStored;
        m_workers.wake();
    }
    return image;
}

bool ThumbnailQueue::isIdle() const
{
    const std::lock_guard guard(m_workers.lock());
    return m_readings.empty() && m_done.empty() && std::ranges::none_of(m_states, [](State state) {
        return state == State::kUnread || state == State::kLookedAt;
    });
}

// A screen's worth around what is visible.
bool ThumbnailQueue::isWanted(int row) const
{
    const int screen = m_last - m_first + 1;
    return screen > 0 && row >= m_first - screen && row <= m_last + screen;
}

// With the lock held. -1: none is in one of these states.
int ThumbnailQueue::nextVisible(std::initializer_list<State> states) const
{
    for (int row = std::max(m_first, 0); row <= m_last && row < rowCount(); ++row) {
        const auto index = static_cast<std::size_t>(row);
        if (isKnown(m_subjects[index])
            && std::ranges::find(states, m_states[index]) != states.end())
            return row;
    }
    return -1;
}

// With the lock held: a worker, or the owner.
int ThumbnailQueue::nextRow()
{
    const auto isDue = [this](int row) {
        if (row < 0 || row >= rowCount())
            return false;
        const auto index = static_cast<std::size_t>(row);
        if (!isKnown(m_subjects[index]))
            return false;
        return m_states[index] == State::kUnread || m_states[index] == State::kLookedAt
            || (m_states[index] == State::kStored && isWanted(row));
    };
    if (const int row = nextVisible({State::kLookedAt, State::kStored}); row >= 0)
        return row;
    const int furthest = std::max(rowCount() - m_last, m_first) + 1;
    for (; m_cursor < furthest; ++m_cursor) {
        for (const int row : {m_last + m_cursor, m_first - m_cursor}) {
            if (isDue(row))
                return row;
        }
    }
    return -1;
}

Workers::Job ThumbnailQueue::nextJob()
{
    if (const int row = nextVisible({State::kUnread}); row >= 0)
        return begin(row, true);
    const int row = nextRow();
    return row >= 0 ? begin(row, false) : Workers::Job();
}

Workers::Job ThumbnailQueue::begin(int row, bool isFirstLook)
{
    const auto index = static_cast<std::size_t>(row);
    auto reading = std::make_shared<Reading>();
    reading->subject = m_subjects[index];
    reading->box = m_box;
    reading->isFirstLook = isFirstLook;
    m_states[index] = State::kReading;
    m_readings.push_back(reading);
    return [this, reading] { read(reading); };
}

// On a worker. In the size that the thumbnail will have.
ThumbnailResult ThumbnailQueue::lookAtFirst(const Reading& reading)
{
    const Picture picture = firstLook({reading.subject.path, {}, &reading.cancelled});
    if (picture.status != ReadStatus::kDone)
        return {};
    const QSize size = fittedSize(picture.fullSize, {reading.box, reading.box});
    return {picture.image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation),
        ReadStatus::kDone,
        picture.fullSize,
        false};
}

// On a worker.
void ThumbnailQueue::read(const std::shared_ptr<Reading>& reading)
{
    const ThumbnailSize size = thumbnailSizeFor(reading->box);
    auto found = reading->isFirstLook
        ? storedThumbnail(m_store, reading->subject, size)
        : loadThumbnail(m_store, reading->subject, size, &reading->cancelled);
    const bool isFirstLook = !found;
    ThumbnailResult result = found ? std::move(*found) : lookAtFirst(*reading);
    result.image = drawnForm(result.image, {reading->box, reading->box});
    const std::lock_guard guard(m_workers.lock());
    std::erase(m_readings, reading);
    if (isFirstLook)
        noteFirstLook(*reading);
    if (isFirstLook && result.image.isNull())
        return;
    m_done.push_back({reading, std::move(result), isFirstLook});
    if (m_done.size() == 1) // those that come until then are taken along
        QMetaObject::invokeMethod(this, &ThumbnailQueue::takeDone, Qt::QueuedConnection);
}

// With the lock held, on the worker: it goes on with the thumbnails once all is looked at, and does
// not wait for the owner.
void ThumbnailQueue::noteFirstLook(const Reading& reading)
{
    const int row = m_rows.value(reading.subject.path, -1);
    if (row < 0)
        return;
    const auto index = static_cast<std::size_t>(row);
    if (m_states[index] != State::kReading)
        return; // read anew meanwhile
    const bool isCurrent = isSame(m_subjects[index], reading.subject) && reading.box == m_box;
    if (isCurrent && !reading.cancelled)
        m_states[index] = State::kLookedAt;
    else if (!isBeingRead(reading.subject.path))
        m_states[index] = State::kUnread;
    m_cursor = 0;
}

void ThumbnailQueue::takeDone()
{
    std::vector<Done> all;
    {
        const std::lock_guard guard(m_workers.lock());
        all.swap(m_done);
    }
    for (const Done& done : all)
        done.isFirstLook ? show(done) : settle(done);
    m_workers.wake();
}

// With the lock held.
bool ThumbnailQueue::isBeingRead(const QString& path) const
{
    return std::ranges::any_of(
        m_readings, [&](const auto& reading) { return reading->subject.path == path; });
}

void ThumbnailQueue::settle(const Done& done)
{
    int row = -1;
    {
        const std::lock_guard guard(m_workers.lock());
        row = m_rows.value(done.reading->subject.path, -1);
        if (row < 0)
            return;
        const auto index = static_cast<std::size_t>(row);
        State& state = m_states[index];
        if (state != State::kReading)
            return; // read anew meanwhile
        const bool isCurrent =
            isSame(m_subjects[index], done.reading->subject) && done.reading->box == m_box;
        if (!isCurrent || done.result.status == ReadStatus::kCancelled) {
            if (!isBeingRead(done.reading->subject.path)) {
                state = State::kUnread;
                m_cursor = 0;
            }
            return;
        }
        if (done.result.status != ReadStatus::kDone) {
            state = State::kBroken;
            m_images.remove(done.reading->subject.path);
        } else if (!isWanted(row))
            state = State::kStored;
        else {
            m_images.insert(done.reading->subject.path, done.result.image);
            state = State::kReady;
        }
    }
    Q_EMIT changed(row);
}

// A first look gives way to whatever is there: the thumbnail, or one of another size.
void ThumbnailQueue::show(const Done& done)
{
    const QString& path = done.reading->subject.path;
    int row = -1;
    {
        const std::lock_guard guard(m_workers.lock());
        row = m_rows.value(path, -1);
        if (row < 0 || m_images.contains(path) || done.reading->box != m_box)
            return;
        const auto index = static_cast<std::size_t>(row);
        const bool isAwaited =
            m_states[index] == State::kLookedAt || m_states[index] == State::kReading;
        if (!isAwaited || !isSame(m_subjects[index], done.reading->subject))
            return;
        m_images.insert(path, done.result.image);
    }
    Q_EMIT changed(row);
}

// With the lock held. What is far away makes room only where something visible waits for it.
void ThumbnailQueue::giveUpUnwanted()
{
    bool somethingWaits = false;
    for (int row = std::max(m_first, 0); row <= m_last && row < rowCount(); ++row) {
        const State state = m_states[static_cast<std::size_t>(row)];
        somethingWaits |=
            state == State::kUnread || state == State::kLookedAt || state == State::kStored;
    }
    for (const auto& reading : m_readings) {
        const int row = m_rows.value(reading->subject.path, -1);
        if (row < 0 || (somethingWaits && !isWanted(row)))
            reading->cancelled = true;
    }
}

} // namespace pictures
