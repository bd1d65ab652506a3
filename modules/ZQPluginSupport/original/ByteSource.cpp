#include "ZQPluginSupport/original/ByteSource.h"

#include "platform/common/files/FileBytes.h"
#include "platform/common/files/RegularFile.h"

#include <algorithm>

namespace dng {

namespace {

bool isWithin(std::uint64_t position, std::size_t count, std::uint64_t size)
{
    return position <= size && count <= size - position;
}

} // namespace

MemorySource::MemorySource(std::span<const std::uint8_t> bytes)
    : m_bytes(bytes)
{
}

bool MemorySource::read(std::uint64_t position, std::span<std::uint8_t> bytes) const
{
    if (!isWithin(position, bytes.size(), m_bytes.size()))
        return false;
    const auto from = m_bytes.subspan(static_cast<std::size_t>(position), bytes.size());
    std::copy(from.begin(), from.end(), bytes.begin());
    return true;
}

std::optional<FileSource> FileSource::of(int descriptor)
{
    const auto status = Pt::statusOfOpenFile(descriptor);
    if (!status || status->kind != Pt::FileStatus::Kind::kRegular)
        return std::nullopt;
    return FileSource(descriptor, status->size);
}

bool FileSource::read(std::uint64_t position, std::span<std::uint8_t> bytes) const
{
    if (!isWithin(position, bytes.size(), m_size))
        return false;
    // A file that has become shorter is an error, too.
    return !Pt::readAt(m_descriptor, position, std::as_writable_bytes(bytes));
}

} // namespace dng
