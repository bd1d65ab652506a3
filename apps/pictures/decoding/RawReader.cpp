#include "pictures/decoding/RawReader.h"

#include "pictures/decoding/Fitting.h"
#include "pictures/decoding/RawFile.h"
#include "pictures/decoding/RawPreviews.h"
#include "pictures/decoding/ReadSteps.h"

#include <algorithm>
#include <utility>

namespace pictures {

namespace {

// A preview of this size is shown although the raw file has more: developing takes seconds.
constexpr int kGoodPreviewEdge = 1024;

int longerEdge(QSize size)
{
    return std::max(size.width(), size.height());
}

// How large a preview must be; nothing is known of a file that the raw library does not open.
QSize wantedSize(QSize full, QSize box)
{
    return full.isEmpty() ? box : fittedSize(full, box);
}

bool isGood(const Picture& picture, QSize wanted)
{
    return picture.status == ReadStatus::kDone
        && longerEdge(picture.image.size()) >= std::min(longerEdge(wanted), kGoodPreviewEdge);
}

Picture better(Picture one, Picture other)
{
    const bool otherIsBetter = other.status == ReadStatus::kDone
        && longerEdge(other.image.size()) > longerEdge(one.image.size());
    return otherIsBetter ? std::move(other) : std::move(one);
}

Picture previewByExif(int descriptor, const ReadRequest& request, QSize full)
{
    const RawPreview found = exifPreview(descriptor, wantedSize(full, request.box));
    if (found.jpeg.isEmpty())
        return broken(QStringLiteral("neither a raw file nor a preview"));
    return readPreview({reinterpret_cast<const unsigned char*>(found.jpeg.constData()),
                           static_cast<std::size_t>(found.jpeg.size())},
        request,
        found.orientation,
        full);
}

Picture firstGoodOne(int descriptor, RawFile& raw, const ReadRequest& request)
{
    const QSize full = raw.fullSize();
    const QSize wanted = wantedSize(full, request.box);
    Picture best = raw.preview();
    if (!isGood(best, wanted) && !isCancelled(request))
        best = better(std::move(best), previewByExif(descriptor, request, full));
    if (!isGood(best, wanted) && !isCancelled(request))
        best = better(std::move(best), raw.developed());
    best.fullSize = best.status == ReadStatus::kDone ? full : QSize();
    return best;
}

} // namespace

Picture readRaw(int descriptor, const ReadRequest& request)
{
    RawFile raw(descriptor, request);
    Picture picture = raw.isOpen() ? firstGoodOne(descriptor, raw, request)
                                   : previewByExif(descriptor, request, {});
    return isCancelled(request) ? cancelled() : std::move(picture);
}

} // namespace pictures
