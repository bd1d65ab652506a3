// What the readers of all kinds give back, in one place.
#pragma once

#include "pictures/decoding/PictureReader.h"

#include <utility>

namespace pictures {

inline bool isCancelled(const ReadRequest& request)
{
    return request.cancelled != nullptr && request.cancelled->load(std::memory_order_relaxed);
}

inline Picture done(QImage image, QSize fullSize)
{
    return {std::move(image), fullSize, ReadStatus::kDone, {}};
}

inline Picture broken(const QString& reason)
{
    return {{}, {}, ReadStatus::kBroken, reason};
}

inline Picture unreadable(const QString& reason)
{
    return {{}, {}, ReadStatus::kUnreadable, reason};
}

inline Picture tooLarge(QSize size)
{
    return {{},
        {},
        ReadStatus::kTooLarge,
        QStringLiteral("%1 x %2 pixels take more memory than is allowed")
            .arg(size.width())
            .arg(size.height())};
}

inline Picture cancelled()
{
    return {{}, {}, ReadStatus::kCancelled, QStringLiteral("cancelled")};
}

} // namespace pictures
