#include "mfx/engine/dates/ExifDate.h"

#include "mfx/engine/dates/ExifLibrary.h"

#include <array>

namespace mfx {

namespace {

struct ExifKeys {
    DateSource source;
    const char* date;
    const char* subSeconds;
    const char* offset;
};

constexpr auto kExifKeys = std::to_array<ExifKeys>({
    {DateSource::kExifOriginal,
        "Exif.Photo.DateTimeOriginal",
        "Exif.Photo.SubSecTimeOriginal",
        "Exif.Photo.OffsetTimeOriginal"},
    // Raw forms on the pattern of TIFF/EP keep it beside the image's own tags.
    {DateSource::kExifOriginal,
        "Exif.Image.DateTimeOriginal",
        "Exif.Photo.SubSecTimeOriginal",
        "Exif.Photo.OffsetTimeOriginal"},
    {DateSource::kExifDigitized,
        "Exif.Photo.DateTimeDigitized",
        "Exif.Photo.SubSecTimeDigitized",
        "Exif.Photo.OffsetTimeDigitized"},
    {DateSource::kExifImage,
        "Exif.Image.DateTime",
        "Exif.Photo.SubSecTime",
        "Exif.Photo.OffsetTime"},
});

constexpr auto kXmpKeys = std::to_array<const char*>({"Xmp.exif.DateTimeOriginal",
    "Xmp.photoshop.DateCreated",
    "Xmp.exif.DateTimeDigitized",
    "Xmp.xmp.CreateDate"});

std::string exifText(const Exiv2::ExifData& exif, const char* key)
{
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    return found == exif.end() ? std::string() : found->toString();
}

// The first field that is a date holds, in the order of what it is worth: the moment of the shot,
// that of the scan, that of the last change. Fraction and offset are those of the same field.
CaptureDate dateOfExif(const Exiv2::ExifData& exif)
{
    for (const ExifKeys& keys : kExifKeys) {
        auto moment = parseDateText(exifText(exif, keys.date));
        if (!moment)
            continue;
        if (const auto fraction = parseSubSeconds(exifText(exif, keys.subSeconds)))
            moment->nanosecond = fraction;
        if (const auto offset = parseOffset(exifText(exif, keys.offset)))
            moment->offsetMinutes = offset;
        return {moment, keys.source};
    }
    return {};
}

CaptureDate dateOfXmp(const Exiv2::XmpData& xmp)
{
    for (const char* key : kXmpKeys) {
        const auto found = xmp.findKey(Exiv2::XmpKey(key));
        const auto moment = found == xmp.end() ? std::nullopt : parseDateText(found->toString());
        if (moment)
            return {moment, DateSource::kXmp};
    }
    return {};
}

// The keys differ by the maker's form of raw file.
std::string firstText(const Exiv2::ExifData& exif, std::initializer_list<const char*> keys)
{
    for (const char* key : keys) {
        std::string text = exifText(exif, key);
        if (!text.empty())
            return text;
    }
    return {};
}

Camera cameraOfExif(const Exiv2::ExifData& exif)
{
    return {firstText(exif, {"Exif.Image.Make", "Exif.PanasonicRaw.Make"}),
        firstText(exif, {"Exif.Image.Model", "Exif.PanasonicRaw.Model"})};
}

} // namespace

// With a JPEG all tags are in front, so that a whole reading of its first piece is final. Of other
// forms a piece may lack a directory that lies behind the pixels: only the date of the shot is
// final there, since no other field would come before it.
PhotoFacts exifFacts(std::istream& stream)
{
    PhotoFacts facts;
    lookAtExif(stream, [&facts](Exiv2::Image& image, bool complete) {
        facts = {};
        facts = {dateOfExif(image.exifData()), cameraOfExif(image.exifData())};
        if (!facts.date.moment)
            facts.date = dateOfXmp(image.xmpData());
        const bool tagsComeFirst = image.imageType() == Exiv2::ImageType::jpeg;
        const bool isOriginal = facts.date.source == DateSource::kExifOriginal;
        return isOriginal || (complete && tagsComeFirst);
    });
    facts.date.readFailed = stream.bad();
    return facts;
}

} // namespace mfx
