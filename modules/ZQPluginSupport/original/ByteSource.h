// Bytes that are read by position: in memory, or in an open file. Nothing is read beyond the size
// that was found at the beginning. Borrows what it reads from; any thread may read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace dng {

class ByteSource {
public:
    virtual std::uint64_t size() const = 0;

    // All of the bytes, or false: they do not lie within the size, or the system refused.
    virtual bool read(std::uint64_t position, std::span<std::uint8_t> bytes) const = 0;

protected:
    ~ByteSource() = default;
};

class MemorySource final : public ByteSource {
public:
    explicit MemorySource(std::span<const std::uint8_t> bytes);

    std::uint64_t size() const override { return m_bytes.size(); }
    bool read(std::uint64_t position, std::span<std::uint8_t> bytes) const override;

private:
    std::span<const std::uint8_t> m_bytes;
};

class FileSource final : public ByteSource {
public:
    // Nothing for what is no regular file. The descriptor stays open, and its position where it is.
    static std::optional<FileSource> of(int descriptor);

    std::uint64_t size() const override { return m_size; }
    bool read(std::uint64_t position, std::span<std::uint8_t> bytes) const override;

private:
    FileSource(int descriptor, std::uint64_t size)
        : m_descriptor(descriptor)
        , m_size(size)
    {
    }

    int m_descriptor;
    std::uint64_t m_size;
};

} // namespace dng
