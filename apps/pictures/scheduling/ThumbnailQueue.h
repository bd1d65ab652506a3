// The thumbnails of one folder, in the order in which people want them: first what is visible, then
// what lies a screen ahead and behind, then all others, which go to the store for later. Of all
// that is visible, what the store has or what can be shown at once comes before any picture is
// decoded.
//
// Lives on a thread with an event loop: all calls are made there, and changed() is emitted there.
// Reading happens on threads of its own; what is read for rows that have scrolled away is given up.
// Images take at most kImageBound bytes; the least recently asked for go first.
#pragma once

#include "pictures/scheduling/ImageCache.h"
#include "pictures/scheduling/Workers.h"
#include "pictures/thumbnails/ThumbnailLoader.h"

#include <QHash>
#include <QImage>
#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

namespace pictures {

class ThumbnailQueue : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 kImageBound = 128'000'000;

    enum class State : std::uint8_t {
        kUnread,
        kReading,
        kLookedAt, // image() may give a first look; the thumbnail itself is still to be read
        kStored, // made, and in the store; the image itself is not kept
        kReady, // image() gives it
        kBroken // there will be none
    };

    ThumbnailQueue(ThumbnailStore store, int workers, QObject* parent = nullptr);
    // Waits for the pictures that are being read to be given up.
    ~ThumbnailQueue() override;

    // The pictures, in the order of the rows. Those that stay as they were keep what was read.
    void setSubjects(std::vector<ThumbnailSubject> subjects);
    // From the first to the last row that can be seen; nothing is visible when last < first.
    void setVisible(int first, int last);
    // The square that images are scaled down to, in pixels. What was read for another one is read
    // anew; image() gives the former image until then.
    void setBox(int pixels);

    State state(int row) const;
    // The thumbnail, before it a first look at the picture, where it bears one, or a null image.
    QImage image(int row);
    // Whether all rows have been read once.
    bool isIdle() const;

Q_SIGNALS:
    void changed(int row);

private:
    struct Reading;
    struct Done;

    Workers::Job nextJob();
    int nextVisible(std::initializer_list<State> states) const;
    int nextRow();
    Workers::Job begin(int row, bool isFirstLook);
    static ThumbnailResult lookAtFirst(const Reading& reading);
    bool isWanted(int row) const;
    bool isBeingRead(const QString& path) const;
    void read(const std::shared_ptr<Reading>& reading);
    void noteFirstLook(const Reading& reading);
    void takeDone();
    void settle(const Done& done);
    void show(const Done& done);
    void giveUpUnwanted();
    int rowCount() const { return static_cast<int>(m_subjects.size()); }

    // Constant after construction.
    const ThumbnailStore m_store;

    // Used by the owner's thread only.
    ImageCache m_images{kImageBound};

    // Guarded by m_workers->lock().
    std::vector<ThumbnailSubject> m_subjects;
    std::vector<State> m_states;
    QHash<QString, int> m_rows; // by path
    int m_box = 256;
    int m_first = 0;
    int m_last = -1;
    int m_cursor = 0; // distance from what is visible up to which all rows have been read once
    std::vector<std::shared_ptr<Reading>> m_readings;
    std::vector<Done> m_done;

    mutable Workers m_workers; // last: its threads use the above
};

} // namespace pictures
