// The bytes of an open file, at any place of it. Any thread; the calls block on the disk. Failures
// are the system's error codes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <system_error>

namespace Pt {

// All of them; std::errc::io_error where the file ends before.
std::error_code readAt(int descriptor, std::uint64_t place, std::span<std::byte> bytes);

std::error_code writeAt(int descriptor, std::uint64_t place, std::span<const std::byte> bytes);

// Returns when the disk has what was written. What is read next comes from there, as far as the
// file system allows.
std::error_code flushAndForget(int descriptor);

std::optional<std::uint64_t> sizeOfOpenFile(int descriptor);

// The file as memory, for as long as this object lives: read only, and so long as it was when it
// was mapped. A file that is cut short meanwhile kills a process that reads it.
class MappedFile {
public:
    // Nothing when the system refuses; an empty file is empty memory.
    static std::optional<MappedFile> map(int descriptor, std::error_code& error);

    MappedFile(MappedFile&&) noexcept;
    MappedFile& operator=(MappedFile&&) noexcept;
    ~MappedFile();

    std::span<const std::byte> bytes() const { return m_bytes; }

private:
    MappedFile() = default;

    std::span<const std::byte> m_bytes;
};

} // namespace Pt
