#include "pictures/scheduling/ThumbnailQueue.h"

#include "pictures/scheduling/DrawnForm.h"

#include <algorithm>
#include <utility>

namespace pictures {

// A row that a worker is at.
struct ThumbnailQueue::Reading {
    ThumbnailSubject subject;
    int box = 0;
    std::atomic<bool> cancelled = false;
};

struct ThumbnailQueue::Done {
    std::shared_ptr<Reading> reading;
    ThumbnailResult result;
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
    return m_readings.empty() && m_done.empty()
        && std::ranges::find(m_states, State::kUnread) == m_states.end();
}

// A screen's worth around what is visible.
bool ThumbnailQueue::isWanted(int row) const
{
    const int screen = m_last - m_first + 1;
    return screen > 0 && row >= m_first - screen && row <= m_last + screen;
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
        return m_states[index] == State::kUnread
            || (m_states[index] == State::kStored && isWanted(row));
    };
    for (int row = std::max(m_first, 0); row <= m_last && row < rowCount(); ++row) {
        if (isDue(row))
            return row;
    }
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
    const int row = nextRow();
    if (row < 0)
        return {};
    const auto index = static_cast<std::size_t>(row);
    auto reading = std::make_shared<Reading>();
    reading->subject = m_subjects[index];
    reading->box = m_box;
    m_states[index] = State::kReading;
    m_readings.push_back(reading);
    return [this, reading] { read(reading); };
}

// On a worker.
void ThumbnailQueue::read(const std::shared_ptr<Reading>& reading)
{
    ThumbnailResult result = loadThumbnail(
        m_store, reading->subject, thumbnailSizeFor(reading->box), &reading->cancelled);
    result.image = drawnForm(result.image, {reading->box, reading->box});
    const std::lock_guard guard(m_workers.lock());
    std::erase(m_readings, reading);
    m_done.push_back({reading, std::move(result)});
    if (m_done.size() == 1) // those that come until then are taken along
        QMetaObject::invokeMethod(this, &ThumbnailQueue::takeDone, Qt::QueuedConnection);
}

void ThumbnailQueue::takeDone()
{
    std::vector<Done> all;
    {
        const std::lock_guard guard(m_workers.lock());
        all.swap(m_done);
    }
    for (const Done& done : all)
        settle(done);
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
        if (done.result.status != ReadStatus::kDone)
            state = State::kBroken;
        else if (!isWanted(row))
            state = State::kStored;
        else {
            m_images.insert(done.reading->subject.path, done.result.image);
            state = State::kReady;
        }
    }
    Q_EMIT changed(row);
}

// With the lock held. What is far away makes room only where something visible waits for it.
void ThumbnailQueue::giveUpUnwanted()
{
    bool somethingWaits = false;
    for (int row = std::max(m_first, 0); row <= m_last && row < rowCount(); ++row) {
        const State state = m_states[static_cast<std::size_t>(row)];
        somethingWaits |= state == State::kUnread || state == State::kStored;
    }
    for (const auto& reading : m_readings) {
        const int row = m_rows.value(reading->subject.path, -1);
        if (row < 0 || (somethingWaits && !isWanted(row)))
            reading->cancelled = true;
    }
}

} // namespace pictures
