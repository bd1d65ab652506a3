#include "pictures/decoding/ByteSource.h"

#include "platform/common/files/FileAccess.h"

#include <utility>

namespace pictures {

FileBytes::FileBytes(int descriptor)
    : m_descriptor(descriptor)
    , m_failed(Pt::seekToStart(descriptor) != 0)
{
}

std::span<const unsigned char> FileBytes::next()
{
    const std::int64_t count =
        m_failed ? -1 : Pt::readDescriptor(m_descriptor, m_piece.data(), m_piece.size());
    m_failed = count < 0;
    return std::span(m_piece).first(count > 0 ? static_cast<std::size_t>(count) : 0);
}

std::span<const unsigned char> MemoryBytes::next()
{
    return std::exchange(m_bytes, {});
}

} // namespace pictures
