#include "mfx/engine/dates/HeaderReader.h"

namespace mfx {

namespace {

// A movie's header takes some dozens of reads; a fragmented one steps over thousands of boxes.
constexpr std::size_t kMaxReads = 20'000;
constexpr std::size_t kMaxBytes = 1024 * 1024;

std::uint64_t streamSize(std::istream& stream)
{
    stream.clear(stream.rdstate() & std::ios::badbit); // a failed read stays known
    stream.seekg(0, std::ios::end);
    const std::streamoff end = stream.tellg();
    return end > 0 ? static_cast<std::uint64_t>(end) : 0;
}

std::uint64_t byteValue(char c)
{
    return static_cast<unsigned char>(c);
}

std::optional<std::string> readAt(std::istream& stream, std::uint64_t offset, std::size_t count)
{
    std::string found(count, '\0');
    stream.seekg(static_cast<std::streamoff>(offset));
    stream.read(found.data(), static_cast<std::streamsize>(count));
    return stream ? std::optional(std::move(found)) : std::nullopt;
}

} // namespace

HeaderReader::HeaderReader(std::istream& stream)
    : m_stream(stream)
    , m_size(streamSize(stream))
    , m_readsLeft(kMaxReads)
    , m_bytesLeft(kMaxBytes)
{
}

// Nothing beyond the limits, and nothing any more once they were reached: a file that was made to
// keep us busy ends as one without a date.
std::optional<std::string> HeaderReader::bytes(std::uint64_t offset, std::size_t count)
{
    // Subtracted, not added: both numbers come from the file, and their sum may overflow.
    if (offset > m_size || count > m_size - offset)
        return std::nullopt;
    if (m_readsLeft == 0 || count > m_bytesLeft) {
        m_readsLeft = 0;
        return std::nullopt;
    }
    --m_readsLeft;
    m_bytesLeft -= count;
    return readAt(m_stream, offset, count);
}

std::uint64_t bigEndian64(std::string_view bytes)
{
    std::uint64_t value = 0;
    for (const char byte : bytes.substr(0, 8))
        value = (value << 8U) | byteValue(byte);
    return value;
}

std::uint32_t bigEndian32(std::string_view bytes)
{
    return static_cast<std::uint32_t>(bigEndian64(bytes.substr(0, 4)));
}

std::uint32_t littleEndian32(std::string_view bytes)
{
    const std::string reversed(bytes.substr(0, 4).rbegin(), bytes.substr(0, 4).rend());
    return bigEndian32(reversed);
}

} // namespace mfx
