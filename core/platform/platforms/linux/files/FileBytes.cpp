#include "platform/common/files/FileBytes.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <utility>

#include <sys/mman.h>
#include <sys/stat.h>

namespace Pt {

std::error_code readAt(int descriptor, std::uint64_t place, std::span<std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t got = retryInterrupted([&] {
            return ::pread(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(place));
        });
        if (got == -1)
            return lastError();
        if (got == 0)
            return std::make_error_code(std::errc::io_error);
        place += static_cast<std::uint64_t>(got);
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
    return {};
}

std::error_code writeAt(int descriptor, std::uint64_t place, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t put = retryInterrupted([&] {
            return ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(place));
        });
        if (put == -1)
            return lastError();
        place += static_cast<std::uint64_t>(put);
        bytes = bytes.subspan(static_cast<std::size_t>(put));
    }
    return {};
}

std::error_code flushAndForget(int descriptor)
{
    if (retryInterrupted([descriptor] { return ::fsync(descriptor); }) == -1)
        return lastError();
    ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
    return {};
}

std::optional<std::uint64_t> sizeOfOpenFile(int descriptor)
{
    const off_t end = ::lseek(descriptor, 0, SEEK_END);
    return end == -1 ? std::nullopt : std::optional(static_cast<std::uint64_t>(end));
}

std::optional<MappedFile> MappedFile::map(int descriptor, std::error_code& error)
{
    const auto size = sizeOfOpenFile(descriptor);
    MappedFile file;
    error.clear();
    if (size && *size == 0)
        return file;
    void* const bytes = size
        ? ::mmap(nullptr, static_cast<std::size_t>(*size), PROT_READ, MAP_PRIVATE, descriptor, 0)
        : MAP_FAILED;
    if (bytes == MAP_FAILED) {
        error = lastError();
        return std::nullopt;
    }
    file.m_bytes = {static_cast<const std::byte*>(bytes), static_cast<std::size_t>(*size)};
    return file;
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : m_bytes(std::exchange(other.m_bytes, {}))
{
}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept
{
    std::swap(m_bytes, other.m_bytes);
    return *this;
}

MappedFile::~MappedFile()
{
    if (!m_bytes.empty())
        ::munmap(const_cast<std::byte*>(m_bytes.data()), m_bytes.size());
}

} // namespace Pt
