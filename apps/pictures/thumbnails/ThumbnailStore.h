// The desktop's shared store of thumbnails, as the freedesktop.org Thumbnail Managing Standard 0.9
// has it: PNG files below $XDG_CACHE_HOME/thumbnails, named after the MD5 of the picture's address,
// with the picture's address and modification time in their texts; "fail/tevoro-2.0" holds a note
// for each picture that could not be read.
//
// What it gives is for exactly that address and modification time, or nothing. A store that is
// full of rubbish, cannot be written or is not there costs time and nothing else. Files are written
// whole or not at all (a temporary name in the same folder, then a rename), with mode 0600, folders
// with 0700. Folders in the store that are links, or not the user's own, are passed over. Pictures
// inside the store itself get no thumbnails. Any thread may call.
#pragma once

#include <QImage>
#include <QString>

#include <cstdint>
#include <optional>

namespace pictures {

// The longer edge in pixels.
enum class ThumbnailSize : int { kNormal = 128, kLarge = 256, kXLarge = 512, kXXLarge = 1024 };

// Which file a thumbnail is of.
struct ThumbnailSubject {
    QString path; // absolute
    qint64 modified = 0; // seconds since 1970
    qint64 bytes = 0;
};

class ThumbnailStore {
public:
    // The folder is made when something is written. An empty one: the user's own.
    explicit ThumbnailStore(const QString& folder = {});

    // Of that size or a larger one that is there, scaled down to it.
    std::optional<QImage> find(const ThumbnailSubject& subject, ThumbnailSize size) const;
    // Whether there is a note that this picture, as it is, could not be read by this program.
    bool isKnownToFail(const ThumbnailSubject& subject) const;

    // Scales the image down to that size where it is larger. False when it could not be written.
    bool save(const ThumbnailSubject& subject, ThumbnailSize size, const QImage& image) const;
    bool saveFailure(const ThumbnailSubject& subject) const;

    const QString& folder() const { return m_folder; }

private:
    QString m_folder;
};

// The smallest size whose longer edge has at least that many pixels; the largest there is, else.
ThumbnailSize thumbnailSizeFor(int pixels);

} // namespace pictures
