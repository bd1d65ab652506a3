// The bytes of a picture from the first on, in pieces, for decoders that ask for more. Borrowed by
// them; one thread. Nothing is thrown: C libraries stand between.
#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace pictures {

class ByteSource {
public:
    // The piece behind the last one, valid until the next call; empty at the end.
    virtual std::span<const unsigned char> next() = 0;
    // Whether the end came because the system could not read.
    virtual bool hasFailed() const = 0;

protected:
    ~ByteSource() = default;
};

// Of an open file, from its first byte. The descriptor is borrowed; its position moves.
class FileBytes final : public ByteSource {
public:
    explicit FileBytes(int descriptor);

    std::span<const unsigned char> next() override;
    bool hasFailed() const override { return m_failed; }

private:
    const int m_descriptor;
    bool m_failed = false;
    std::array<unsigned char, 64 * 1024> m_piece{};
};

// Of bytes in memory, which are borrowed.
class MemoryBytes final : public ByteSource {
public:
    explicit MemoryBytes(std::span<const unsigned char> bytes)
        : m_bytes(bytes)
    {
    }

    std::span<const unsigned char> next() override;
    bool hasFailed() const override { return false; }

private:
    std::span<const unsigned char> m_bytes;
};

} // namespace pictures
