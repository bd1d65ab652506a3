#include "pictures/thumbnails/ThumbnailLoader.h"

#include "pictures/decoding/Fitting.h"
#include "pictures/folder/PathText.h"
#include "pictures/thumbnails/ThumbnailPng.h"
#include "platform/common/files/RegularFile.h"

#include <chrono>
#include <utility>

namespace pictures {

namespace {

constexpr std::int64_t kNanoseconds = 1'000'000'000;
constexpr std::int64_t kStillFresh = 2 * kNanoseconds;

std::optional<Pt::FileStatus> statusOf(const ThumbnailSubject& subject)
{
    std::error_code error;
    const auto file = Pt::openRegularFile(pathBytes(subject.path), error);
    return file ? std::optional(file->status) : std::nullopt;
}

// The store knows whole seconds: what is written again within one would not be noticed.
bool isFresh(const Pt::FileStatus& status)
{
    const auto now = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    const std::int64_t age = now.count() - status.modified;
    return age < kStillFresh && age > -kStillFresh;
}

// Whether what was read between the two is the subject, and will stay so.
bool isSettled(const ThumbnailSubject& subject,
    const std::optional<Pt::FileStatus>& before,
    const std::optional<Pt::FileStatus>& after)
{
    if (!before || !after || isFresh(*after))
        return false;
    // Rounded down, as the system does: times may lie before 1970.
    const std::int64_t fraction = (after->modified % kNanoseconds + kNanoseconds) % kNanoseconds;
    return before->modified == after->modified && before->size == after->size
        && before->inode == after->inode
        && (after->modified - fraction) / kNanoseconds == subject.modified
        && static_cast<qint64>(after->size) == subject.bytes;
}

bool staysBroken(ReadStatus status)
{
    return status == ReadStatus::kBroken || status == ReadStatus::kTooLarge;
}

ThumbnailResult stored(const QImage& image)
{
    const QSize size(image.text(QLatin1String(kWidthText)).toInt(),
        image.text(QLatin1String(kHeightText)).toInt());
    return {image, ReadStatus::kDone, size.isEmpty() ? QSize() : size, true};
}

void tellFullSize(QImage& image, QSize size)
{
    image.setText(QLatin1String(kWidthText), QString::number(size.width()));
    image.setText(QLatin1String(kHeightText), QString::number(size.height()));
}

} // namespace

std::optional<ThumbnailResult> storedThumbnail(
    const ThumbnailStore& store, const ThumbnailSubject& subject, ThumbnailSize size)
{
    if (const auto image = store.find(subject, size))
        return stored(*image);
    if (store.isKnownToFail(subject))
        return ThumbnailResult{{}, ReadStatus::kBroken, {}, true};
    return std::nullopt;
}

ThumbnailResult loadThumbnail(const ThumbnailStore& store,
    const ThumbnailSubject& subject,
    ThumbnailSize size,
    const std::atomic<bool>* cancelled)
{
    if (auto found = storedThumbnail(store, subject, size))
        return std::move(*found);
    const QSize box(static_cast<int>(size), static_cast<int>(size));
    const auto before = statusOf(subject);
    Picture picture = readPicture({subject.path, box, cancelled});
    const bool settled = isSettled(subject, before, statusOf(subject));
    if (picture.status != ReadStatus::kDone) {
        if (settled && staysBroken(picture.status))
            store.saveFailure(subject);
        return {{}, picture.status, {}, false};
    }
    QImage image = scaledInto(picture.image, box);
    tellFullSize(image, picture.fullSize);
    // A store that takes nothing costs time, next time; the picture is shown all the same.
    if (settled)
        store.save(subject, size, image);
    return {image, ReadStatus::kDone, picture.fullSize, false};
}

} // namespace pictures
