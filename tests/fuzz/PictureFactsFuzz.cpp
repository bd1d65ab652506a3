// EXIF and XMP of any bytes, behind the beginning of a JPEG or as they are: facts that can be, or
// none.

#include "mfx/engine/dates/ExifLibrary.h"
#include "pictures/facts/ExifReading.h"
#include "pictures/facts/Position.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

bool isWithin(const std::optional<double>& value, double least, double most)
{
    return !value || (std::isfinite(*value) && *value >= least && *value <= most);
}

void check(const pictures::PictureFacts& facts)
{
    if (!isWithin(facts.latitude, -90, 90) || !isWithin(facts.longitude, -180, 180)
        || facts.latitude.has_value() != facts.longitude.has_value()
        || !isWithin(facts.exposureSeconds, 1e-7, 1e6) || !isWithin(facts.aperture, 0.1, 1000)
        || !isWithin(facts.focalLength, 0.1, 20'000) || facts.sensitivity.value_or(1) < 1)
        std::abort();
}

void read(const std::string& bytes)
{
    std::istringstream stream(bytes);
    mfx::lookAtExif(stream, [](const Exiv2::Image& image, bool /*complete*/) {
        check(pictures::exifFacts(image));
        return true;
    });
}

// An EXIF segment whose length is right, so that what is behind it is reached.
std::string inJpeg(const std::string& exif)
{
    const std::size_t length = exif.size() + 8;
    std::string bytes("\xFF\xD8\xFF\xE1");
    bytes += static_cast<char>(length >> 8U);
    bytes += static_cast<char>(length);
    return bytes + std::string("Exif\0\0", 6) + exif + "\xFF\xD9";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string text(bytes, bytes + size);
    read(text);
    read(inJpeg(text));
    if (!isWithin(pictures::xmpDegrees(text, 'N', 'S'), -1e300, 1e300))
        std::abort();
    return 0;
}
