#include "pictures/decoding/MovieReader.h"

#include "pictures/decoding/Fitting.h"
#include "pictures/decoding/JpegReader.h"
#include "pictures/decoding/MovieInput.h"
#include "pictures/decoding/ReadSteps.h"
#include "pictures/folder/PathText.h"
#include "platform/common/files/RegularFile.h"

#include <QFileInfo>

#include <array>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <libffmpegthumbnailer/videothumbnailer.h>

namespace pictures {

namespace {

constexpr int kPercentIn = 10; // of the movie: its first frame is often black

// The folder is not searched, which would take long where there are many: each way to write the
// extension is tried.
std::optional<Pt::RegularFile> openStillBeside(const QString& movie)
{
    const QFileInfo info(movie);
    const QString stem = info.path() + u'/' + info.completeBaseName() + u'.';
    constexpr auto kSpellings = std::to_array<const char16_t*>(
        {u"THM", u"thm", u"Thm", u"tHM", u"THm", u"ThM", u"tHm", u"thM"});
    for (const char16_t* spelling : kSpellings) {
        std::error_code error;
        const QString path = stem + QString::fromUtf16(spelling);
        if (auto file = Pt::openRegularFile(pathBytes(path), error))
            return file;
    }
    return std::nullopt;
}

Picture stillBeside(const ReadRequest& request)
{
    const auto file = openStillBeside(request.path);
    if (!file)
        return broken(QStringLiteral("no still beside the movie"));
    FileBytes bytes(file->descriptor.get());
    return readJpeg(bytes, request);
}

// It may be drawn at twice its size, no more.
bool isLargeEnough(const Picture& still, QSize box)
{
    const QSize doubled = still.image.size() * 2;
    return still.status == ReadStatus::kDone && !box.isEmpty()
        && (doubled.width() >= box.width() || doubled.height() >= box.height());
}

// Borrows the bytes.
QImage viewOf(const std::vector<std::uint8_t>& bytes, QSize size)
{
    const qsizetype pitch = qsizetype{size.width()} * 3;
    return {bytes.data(), size.width(), size.height(), pitch, QImage::Format_RGB888};
}

Picture frameOf(MovieInput& input, const ReadRequest& request)
{
    ffmpegthumbnailer::VideoThumbnailer maker(0, false, true, 8, false);
    maker.setSeekPercentage(kPercentIn);
    std::vector<std::uint8_t> bytes;
    const auto info = maker.generateThumbnail("movie", Rgb, bytes, input.context());
    const QSize size(info.width, info.height);
    if (size.isEmpty() || pixelsOf(size) * 3 > static_cast<qint64>(bytes.size()))
        return broken(QStringLiteral("no frame in the movie"));
    const QImage frame = viewOf(bytes, size);
    return done(fitted(frame.convertToFormat(QImage::Format_RGB32), request.box), size);
}

Picture frame(int descriptor, const ReadRequest& request)
{
    MovieInput input(Pt::pathOfOpenFile(descriptor), request.cancelled);
    if (!input.isOpen())
        return broken(input.problem());
    if (pixelsOf(input.frameSize()) * 16 > kDecodeBound)
        return tooLarge(input.frameSize());
    return frameOf(input, request);
}

// The library throws its refusals.
Picture frameOrReason(int descriptor, const ReadRequest& request)
{
    try {
        return frame(descriptor, request);
    } catch (const std::logic_error& problem) {
        return broken(QString::fromLocal8Bit(problem.what()));
    }
}

} // namespace

Picture readMovie(int descriptor, const ReadRequest& request)
{
    Picture still = stillBeside(request);
    if (isLargeEnough(still, request.box))
        return still;
    Picture picture = frameOrReason(descriptor, request);
    if (isCancelled(request))
        return cancelled();
    const bool useStill = picture.status != ReadStatus::kDone && still.status == ReadStatus::kDone;
    return useStill ? std::move(still) : std::move(picture);
}

} // namespace pictures
