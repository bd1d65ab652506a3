// Reads small pieces of a large stream by offset, with a limit on how much is read in all, so that
// no container, however it is built, makes its reader run for long. Borrows the stream; one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

namespace mfx {

class HeaderReader {
public:
    explicit HeaderReader(std::istream& stream);

    std::uint64_t size() const { return m_size; }

    // Exactly `count` bytes; nothing when they do not lie in the stream, when reading fails, or
    // when the limit is reached (then all further reads give nothing, too).
    std::optional<std::string> bytes(std::uint64_t offset, std::size_t count);

private:
    std::istream& m_stream;
    std::uint64_t m_size = 0;
    std::size_t m_readsLeft;
    std::size_t m_bytesLeft;
};

// Numbers in the first bytes of a text. Requires: it is long enough.
std::uint32_t bigEndian32(std::string_view bytes);
std::uint64_t bigEndian64(std::string_view bytes);
std::uint32_t littleEndian32(std::string_view bytes);

} // namespace mfx
