// Owner of one mapping of memory; taken off when it goes.
#pragma once

#include <cstddef>
#include <utility>

#include <sys/mman.h>

namespace Pt {

class MemoryMapping {
public:
    MemoryMapping() = default;
    MemoryMapping(MemoryMapping&& other) noexcept
        : m_bytes(std::exchange(other.m_bytes, nullptr))
        , m_size(std::exchange(other.m_size, 0))
    {
    }
    MemoryMapping& operator=(MemoryMapping&& other) noexcept
    {
        std::swap(m_bytes, other.m_bytes);
        std::swap(m_size, other.m_size);
        return *this;
    }
    MemoryMapping(const MemoryMapping&) = delete;
    MemoryMapping& operator=(const MemoryMapping&) = delete;
    ~MemoryMapping()
    {
        if (m_bytes)
            ::munmap(m_bytes, m_size);
    }

    // Private memory: of a file, or with -1 of nothing, zeroed. Empty when the system refuses;
    // errno then says why.
    static MemoryMapping make(std::size_t size, int protection, int file, int flags)
    {
        void* const bytes = ::mmap(nullptr, size, protection, MAP_PRIVATE | flags, file, 0);
        MemoryMapping mapping;
        if (bytes != MAP_FAILED) {
            mapping.m_bytes = static_cast<char*>(bytes);
            mapping.m_size = size;
        }
        return mapping;
    }

    char* bytes() const { return m_bytes; }
    std::size_t size() const { return m_size; }

private:
    char* m_bytes = nullptr;
    std::size_t m_size = 0;
};

} // namespace Pt
