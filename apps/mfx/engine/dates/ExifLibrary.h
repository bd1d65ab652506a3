// The EXIF library as all of one process use it: started once, muted, one caller at a time.
//
// Pictures are read into memory piece by piece, a small beginning first and never more than
// 128 MiB: a card that is pulled out while it is read gives a failed read, where a mapped file
// would end the process; and nothing that could write ever sees the file.
#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <memory>
#include <mutex>
#include <span>

#include <exiv2/exiv2.hpp>

namespace mfx {

inline constexpr std::size_t kMaxExifBytes = std::size_t{128} * 1024 * 1024;

// Whoever calls the library holds one meanwhile: its XMP parser serves one thread.
class ExifTurn {
public:
    ExifTurn();

private:
    std::lock_guard<std::mutex> m_guard;
};

// A photo out of bytes that stay as long as it does; nothing is read yet. Throws what the library
// throws, and std::runtime_error for what the library takes for a movie: its readers of movies run
// without end over damaged ones, and dates of movies are read elsewhere. Requires: the caller holds
// the turn.
std::unique_ptr<Exiv2::Image> openPhoto(std::span<const unsigned char> bytes);

// Shows `look` what the library understands of the stream's first bytes, each time of four times as
// many or more, until it says that it has seen enough or there are no more. `complete` is false
// when the library gave up on the way: what it understood before is there. Never calls it for a
// form that the library does not know. An exception of the library out of `look` ends the reading.
// Takes the turn.
using ExifLook = std::function<bool(Exiv2::Image& image, bool complete)>;
void lookAtExif(std::istream& stream, const ExifLook& look);

} // namespace mfx
