// A picture's thumbnail out of the store, or read and put there.
//
// A picture that could not be read is noted, so that nobody tries again while it stays as it is;
// one that may not be read now, or that somebody is still writing, is neither noted nor stored.
// Blocks while it reads. Any thread may call, many at once.
#pragma once

#include "pictures/decoding/PictureReader.h"
#include "pictures/thumbnails/ThumbnailStore.h"

#include <optional>

namespace pictures {

struct ThumbnailResult {
    QImage image; // not larger than the size asked for; null unless the status is kDone
    ReadStatus status = ReadStatus::kBroken;
    QSize fullSize; // upright; invalid where another program's thumbnail does not tell
    bool fromStore = false; // the thumbnail, or the note that there can be none
};

// What the store says of a picture: its thumbnail, or that there can be none. Nothing when the
// picture itself has to be read.
std::optional<ThumbnailResult> storedThumbnail(
    const ThumbnailStore& store, const ThumbnailSubject& subject, ThumbnailSize size);

// `cancelled` may be null: never.
ThumbnailResult loadThumbnail(const ThumbnailStore& store,
    const ThumbnailSubject& subject,
    ThumbnailSize size,
    const std::atomic<bool>* cancelled);

} // namespace pictures
