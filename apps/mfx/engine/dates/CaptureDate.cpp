#include "mfx/engine/dates/CaptureDate.h"

#include "mfx/engine/dates/CiffDate.h"
#include "mfx/engine/dates/ExifDate.h"
#include "mfx/engine/dates/MovieDate.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace mfx {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

constexpr auto kMovieBoxes =
    std::to_array<std::string_view>({"moov", "mdat", "wide", "free", "skip", "pnot"});
constexpr auto kStillBrands = std::to_array<std::string_view>(
    {"heic", "heix", "heim", "heis", "hevc", "mif1", "msf1", "avif", "avis", "crx "});

enum class FileForm { kCiff, kStill, kMovie, kStillOrMovie };

template <typename Words>
bool beginsWithOneOf(std::string_view text, const Words& words)
{
    return std::any_of(words.begin(), words.end(), [text](std::string_view word) {
        return text.substr(0, word.size()) == word;
    });
}

// The first bytes tell the form; extensions lie (a THM is a JPEG, a MOV may be an MP4).
FileForm formOf(std::string_view head)
{
    if (isCiff(head))
        return FileForm::kCiff;
    const std::string_view type = head.size() >= 12 ? head.substr(4, 4) : std::string_view();
    if (type == "ftyp") {
        return beginsWithOneOf(head.substr(8), kStillBrands) ? FileForm::kStillOrMovie
                                                             : FileForm::kMovie;
    }
    const bool riff = head.substr(0, 4) == "RIFF" && head.size() >= 12;
    const bool avi = riff && head.substr(8, 4) == "AVI ";
    return avi || beginsWithOneOf(type, kMovieBoxes) ? FileForm::kMovie : FileForm::kStill;
}

std::string beginning(std::istream& stream)
{
    std::array<char, 16> head{};
    stream.read(head.data(), head.size());
    return std::string(head.data(), static_cast<std::size_t>(stream.gcount()));
}

// A still brand does not make a still: telephones use it for a picture with a movie in it, whose
// date may be in the movie's header alone.
PhotoFacts factsByForm(std::istream& stream)
{
    const FileForm form = formOf(beginning(stream));
    if (form == FileForm::kCiff)
        return {ciffDate(stream), {}};
    PhotoFacts facts =
        form == FileForm::kMovie ? PhotoFacts{movieDate(stream), {}} : exifFacts(stream);
    if (!facts.date.moment && form == FileForm::kStillOrMovie)
        facts.date = movieDate(stream);
    return facts;
}

} // namespace

std::string_view dateSourceText(DateSource source)
{
    switch (source) {
    case DateSource::kNone:
        break;
    case DateSource::kExifOriginal:
        return "EXIF original date";
    case DateSource::kExifDigitized:
        return "EXIF digitized date";
    case DateSource::kExifImage:
        return "EXIF image date";
    case DateSource::kXmp:
        return "XMP date";
    case DateSource::kRawRecord:
        return "raw file time record";
    case DateSource::kMovieKey:
        return "movie creation date";
    case DateSource::kMovieHeader:
        return "movie header (UTC)";
    case DateSource::kAviChunk:
        return "AVI date";
    case DateSource::kFileTime:
        return "file time (UTC)";
    }
    return "unknown";
}

// A card that went bad reads as a file without a date. Whether the read failed is told along, so
// that nobody sorts pictures of a dying card by their file times without knowing.
PhotoFacts ownFacts(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    PhotoFacts facts = factsByForm(stream);
    facts.date.readFailed = facts.date.readFailed || !stream.is_open() || stream.bad();
    return facts;
}

CaptureDate ownCaptureDate(const std::string& path)
{
    return ownFacts(path).date;
}

// FAT counts from the first of January 1980, and cameras without a set clock begin there: with a
// day or two for time zones, what is older than the third is no date.
CaptureDate fileTimeDate(const Pt::FileStatus& status)
{
    constexpr std::int64_t kThirdOfJanuary1980 = 315'705'600;
    const std::int64_t seconds = status.modified / kNanosecondsPerSecond;
    if (seconds < kThirdOfJanuary1980)
        return {};
    auto moment = momentFromUnixTime(seconds);
    if (!moment)
        return {};
    moment->nanosecond = static_cast<std::uint32_t>(status.modified % kNanosecondsPerSecond);
    moment->offsetMinutes = 0;
    return {moment, DateSource::kFileTime};
}

} // namespace mfx
