// When a photo or a movie was taken, and how that is known.
//
// The first source that holds a possible date wins: the photo's EXIF (original, digitized, image),
// its XMP; the time record of a CRW raw file; a movie's creation-date key, then its header (UTC, as
// it stands); an AVI's date chunk; last the file's modification time, read as UTC. Nothing is
// guessed: without a date there is none. Files are opened for reading only; of a movie the headers
// are read, of a still at most 128 MiB. Blocks while it reads. Any thread may call; reading EXIF
// takes turns.
#pragma once

#include "mfx/engine/dates/DateText.h"
#include "platform/common/files/FileStatus.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mfx {

enum class DateSource : std::uint8_t {
    kNone,
    kExifOriginal,
    kExifDigitized,
    kExifImage,
    kXmp,
    kRawRecord,
    kMovieKey,
    kMovieHeader,
    kAviChunk,
    kFileTime
};

// Such as "EXIF original date": a word for programs, the same in every language.
std::string_view dateSourceText(DateSource source);

struct CaptureDate {
    std::optional<CaptureMoment> moment; // nothing: the date is unknown
    DateSource source = DateSource::kNone;
    bool readFailed = false; // a file could not be read: a better date may stand in it

    friend bool operator==(const CaptureDate&, const CaptureDate&) = default;
};

// Which camera took a photo, as its EXIF says; empty where it does not.
struct Camera {
    std::string make;
    std::string model;

    friend bool operator==(const Camera&, const Camera&) = default;
};

struct PhotoFacts {
    CaptureDate date;
    Camera camera;
};

// From what stands in the file itself. Requires: path names a regular file.
PhotoFacts ownFacts(const std::string& path);
CaptureDate ownCaptureDate(const std::string& path);

// From the modification time, read as UTC. Up to 2 January 1980 it is unset: FAT's zero date is
// 1 January 1980, and zones shift it by up to a day.
CaptureDate fileTimeDate(const Pt::FileStatus& status);

} // namespace mfx
