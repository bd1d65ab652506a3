// Whole pictures for a full view: the one that is looked at, then those that come next.
//
// Lives on a thread with an event loop: all calls are made there, and ready() is emitted there.
// Decoding happens on threads of its own. Pictures take at most kImageBound bytes beside the one
// that was asked for last.
#pragma once

#include "pictures/decoding/PictureReader.h"
#include "pictures/scheduling/ImageCache.h"
#include "pictures/scheduling/Workers.h"

#include <QHash>
#include <QObject>
#include <QSize>
#include <QString>

#include <atomic>
#include <memory>
#include <vector>

namespace pictures {

struct PictureWish {
    QString path;
    qint64 modified = 0; // nanoseconds since 1970: another time is another picture
    QSize box; // as in ReadRequest; empty for all pixels

    friend bool operator==(const PictureWish&, const PictureWish&) = default;
};

class PictureQueue : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 kImageBound = 256'000'000;

    explicit PictureQueue(int workers, QObject* parent = nullptr);
    // Waits for the pictures that are being decoded to be given up.
    ~PictureQueue() override;

    // The most urgent first. Replaces what was wanted before; what is not wanted any more is given
    // up, and what is there already is kept.
    void want(const std::vector<PictureWish>& wishes);

    // Nothing while it is not there. A picture that cannot be read is there: with its status.
    const Picture* find(const PictureWish& wish);

Q_SIGNALS:
    void ready(const pictures::PictureWish& wish);

private:
    struct Reading;
    struct Done;

    bool isMissing(const PictureWish& wish);
    std::vector<PictureWish> missingOf(const std::vector<PictureWish>& wishes);
    Workers::Job nextJob();
    void read(const std::shared_ptr<Reading>& reading);
    void takeDone();

    // Used by the owner's thread only.
    ImageCache m_images{kImageBound};
    QHash<QString, Picture> m_pictures; // without their images
    Picture m_found;

    // Guarded by m_workers->lock().
    std::vector<PictureWish> m_wanted; // not begun
    std::vector<std::shared_ptr<Reading>> m_readings;
    std::vector<Done> m_done;

    mutable Workers m_workers; // last: its threads use the above
};

} // namespace pictures
