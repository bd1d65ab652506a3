#include "mfx/engine/dates/ExifDate.h"

#include <algorithm>
#include <array>
#include <exception>
#include <mutex>
#include <vector>

#include <exiv2/exiv2.hpp>

namespace mfx {

namespace {

// Cameras put their tags in front. Some raw forms keep a directory at the end: read whole.
constexpr auto kPieces =
    std::to_array<std::size_t>({64 * 1024, 256 * 1024, 4 * 1024 * 1024, 128 * 1024 * 1024});

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

struct Reading {
    PhotoFacts facts;
    bool whole = false; // all that the file says was seen, even if more bytes follow
};

// An exception of the library means a form it does not know or a file that is damaged or cut
// here. What it understood before counts.
bool understood(Exiv2::Image& image)
{
    try {
        image.readMetadata();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// With a JPEG all tags are in front, so that a whole reading of its first piece is final. Of other
// forms a piece may lack a directory that lies behind the pixels: only the date of the shot is
// final there, since no other field would come before it.
Reading readPiece(const std::vector<unsigned char>& bytes)
{
    try {
        const auto image = Exiv2::ImageFactory::open(bytes.data(), static_cast<long>(bytes.size()));
        const bool complete = understood(*image);
        PhotoFacts facts{dateOfExif(image->exifData()), cameraOfExif(image->exifData())};
        if (!facts.date.moment)
            facts.date = dateOfXmp(image->xmpData());
        const bool tagsComeFirst = image->imageType() == Exiv2::ImageType::jpeg;
        const bool isOriginal = facts.date.source == DateSource::kExifOriginal;
        return {facts, isOriginal || (complete && tagsComeFirst)};
    } catch (const std::exception&) {
        return {{}, true}; // no form that the library knows: more bytes change nothing
    }
}

// Muted: the library writes its warnings to standard error, beside what the run reports.
void startLibrary()
{
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::enableBMFF(true);
    Exiv2::XmpParser::initialize();
}

// Makes `bytes` the first `size` bytes of the stream, or as many as there are.
void readUpTo(std::istream& stream, std::size_t size, std::vector<unsigned char>& bytes)
{
    std::vector<char> piece(std::min<std::size_t>(size - bytes.size(), 64 * 1024));
    while (bytes.size() < size && stream) {
        const std::size_t count = std::min(piece.size(), size - bytes.size());
        stream.read(piece.data(), static_cast<std::streamsize>(count));
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + stream.gcount());
    }
}

} // namespace

// Piece by piece, each four times the last or more: most files need the first only, and from a card
// that matters more than the time it takes to understand a piece again.
PhotoFacts exifFacts(std::istream& stream)
{
    static std::mutex lock; // the library's XMP parser serves one thread
    static std::once_flag started;
    const std::lock_guard guard(lock);
    std::call_once(started, startLibrary);
    stream.clear(stream.rdstate() & std::ios::badbit); // a failed read stays known
    stream.seekg(0);
    std::vector<unsigned char> bytes;
    Reading reading;
    for (const std::size_t size : kPieces) {
        readUpTo(stream, size, bytes);
        reading = readPiece(bytes);
        if (reading.whole || bytes.size() < size)
            break;
    }
    reading.facts.date.readFailed = stream.bad();
    return reading.facts;
}

} // namespace mfx
