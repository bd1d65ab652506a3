#include "pictures/facts/PictureFacts.h"

#include "mfx/engine/dates/CaptureDate.h"
#include "mfx/engine/dates/ExifLibrary.h"
#include "pictures/decoding/PictureSize.h"
#include "pictures/decoding/SourceFile.h"
#include "pictures/facts/ExifReading.h"

#include <fstream>

namespace pictures {

namespace {

// What stands in a JPEG stands in front. Of other forms a beginning may lack a directory; the
// exposure is in the one that is looked for.
PictureFacts exifFactsOf(std::istream& stream)
{
    PictureFacts facts;
    mfx::lookAtExif(stream, [&facts](const Exiv2::Image& image, bool complete) {
        facts = exifFacts(image);
        return complete && (facts.exposureSeconds || image.imageType() == Exiv2::ImageType::jpeg);
    });
    return facts;
}

// In a zone that knows no summer time: the clock is to be shown as it stood.
QDateTime clockTime(const mfx::CaptureMoment& moment)
{
    const int milliseconds = static_cast<int>(moment.nanosecond.value_or(0) / 1'000'000);
    return {QDate(moment.year, moment.month, moment.day),
        QTime(moment.hour, moment.minute, moment.second, milliseconds),
        Qt::UTC};
}

} // namespace

PictureFacts readFacts(const QString& path)
{
    std::error_code error;
    const auto source = openSource(path, error);
    if (!source || source->form == FileForm::kUnknown)
        return {};
    const std::string opened = Pt::pathOfOpenFile(source->descriptor());
    PictureFacts facts;
    if (source->form != FileForm::kMovie) {
        std::ifstream stream(opened, std::ios::binary);
        facts = exifFactsOf(stream);
    }
    if (const auto moment = mfx::ownCaptureDate(opened).moment)
        facts.taken = clockTime(*moment);
    facts.size = pictureSize(path);
    return facts;
}

} // namespace pictures
