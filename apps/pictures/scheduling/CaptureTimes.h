// When the pictures of a folder were taken, read in the background.
//
// Lives on a thread with an event loop: all calls are made there, and known() is emitted there.
// Reading happens on one thread of its own. What is known of a picture is kept for as long as its
// path and modification time stay the same.
#pragma once

#include "pictures/scheduling/Workers.h"

#include <QHash>
#include <QObject>
#include <QString>

#include <chrono>
#include <optional>
#include <vector>

namespace pictures {

class CaptureTimes : public QObject {
    Q_OBJECT
public:
    struct Picture {
        QString path; // absolute
        qint64 modified = 0; // nanoseconds since 1970
    };

    explicit CaptureTimes(QObject* parent = nullptr);
    // Waits for the file that is being read.
    ~CaptureTimes() override;

    // Replaces those that are not read yet.
    void read(std::vector<Picture> pictures);

    // By the camera's clock, whatever its zone, counted from 1970. Nothing while it is not known,
    // or when the picture does not tell.
    std::optional<qint64> seconds(const Picture& picture) const;
    bool isIdle() const;

Q_SIGNALS:
    // Some more are known: at once for few, now and then for many.
    void known();

private:
    struct Entry {
        qint64 modified = 0;
        std::optional<qint64> seconds;
    };

    Workers::Job nextJob();
    void readOne(const Picture& picture);
    void gather();
    void takeRead();

    // Used by the owner's thread only.
    QHash<QString, Entry> m_known; // by path
    std::chrono::milliseconds m_pause{0};

    // Guarded by m_workers->lock().
    std::vector<Picture> m_waiting; // the next one last
    std::vector<std::pair<QString, Entry>> m_read;
    bool m_reading = false;
    bool m_told = false; // the owner will look at m_read

    mutable Workers m_workers; // last: its thread uses the above
};

} // namespace pictures
