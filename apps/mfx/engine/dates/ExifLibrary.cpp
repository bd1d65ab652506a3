#include "mfx/engine/dates/ExifLibrary.h"

#include <algorithm>
#include <array>
#include <exception>
#include <stdexcept>
#include <vector>

namespace mfx {

namespace {

using Bytes = std::vector<unsigned char>;

// Cameras put their tags in front. Some raw forms keep a directory at the end: read whole.
constexpr auto kPieces =
    std::to_array<std::size_t>({64 * 1024, 256 * 1024, 4 * 1024 * 1024, kMaxExifBytes});

std::mutex& turnLock()
{
    static std::mutex lock;
    return lock;
}

// Muted: the library writes its warnings to standard error, beside what the run reports.
void startLibrary()
{
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::enableBMFF(true);
    Exiv2::XmpParser::initialize();
}

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

// Whether no more bytes are wanted: more change nothing in a form that the library does not know.
bool lookAtPiece(const Bytes& bytes, const ExifLook& look)
{
    try {
        const auto image = openPhoto(bytes);
        const bool complete = understood(*image);
        return look(*image, complete);
    } catch (const std::exception&) {
        return true;
    }
}

// Makes `bytes` the first `size` bytes of the stream, or as many as there are.
void readUpTo(std::istream& stream, std::size_t size, Bytes& bytes)
{
    std::vector<char> piece(std::min<std::size_t>(size - bytes.size(), 64 * 1024));
    while (bytes.size() < size && stream) {
        const std::size_t count = std::min(piece.size(), size - bytes.size());
        stream.read(piece.data(), static_cast<std::streamsize>(count));
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + stream.gcount());
    }
}

} // namespace

std::unique_ptr<Exiv2::Image> openPhoto(std::span<const unsigned char> bytes)
{
    std::unique_ptr<Exiv2::Image> image(
        Exiv2::ImageFactory::open(bytes.data(), static_cast<long>(bytes.size())).release());
    if (image->mimeType().starts_with("video/"))
        throw std::runtime_error("a movie");
    return image;
}

ExifTurn::ExifTurn()
    : m_guard(turnLock())
{
    static std::once_flag started;
    std::call_once(started, startLibrary);
}

// Piece by piece: most files need the first only, and from a card that matters more than the time
// it takes to understand a piece again.
void lookAtExif(std::istream& stream, const ExifLook& look)
{
    const ExifTurn turn;
    stream.clear(stream.rdstate() & std::ios::badbit); // a failed read stays known
    stream.seekg(0);
    Bytes bytes;
    for (const std::size_t size : kPieces) {
        readUpTo(stream, size, bytes);
        if (lookAtPiece(bytes, look) || bytes.size() < size)
            break;
    }
}

} // namespace mfx
