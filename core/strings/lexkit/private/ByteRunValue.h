// The bytes of a text, shared by count and never changed once they are filled in. Header and bytes
// lie in one block of memory: dictionaries hold tens of thousands of these.
#pragma once

#include "lexkit/private/RefCountObj.h"

#include <cstddef>
#include <cstdint>

namespace lexkit_private {

class ByteRunValue final : public RefCountObj {
public:
    // A new value with a copy of the bytes. There is no pool: the last argument is not used.
    static ByteRunValue* FindOrMake(const void* data, std::uint32_t length, int pool);

    // A new value whose bytes the caller fills in, through GetRoom, before it shows it around.
    static ByteRunValue* MakeUnfilled(std::uint32_t length);

    // Throws LXErrException (bad parameter) for null and for what nobody refers to.
    static void ValidatePointer(const ByteRunValue* value);

    static void operator delete(void* memory) { ::operator delete(memory); }

    std::uint32_t GetLength() const { return m_length; } // bytes
    // Null when the length is 0.
    const unsigned char* GetData() const
    {
        return m_length > 0 ? reinterpret_cast<const unsigned char*>(this + 1) : nullptr;
    }
    unsigned char* GetRoom() { return reinterpret_cast<unsigned char*>(this + 1); }

private:
    struct Room {
        std::size_t bytes;
    };

    explicit ByteRunValue(std::uint32_t length)
        : m_length(length)
    {
    }

    static void* operator new(std::size_t size, Room room)
    {
        return ::operator new(size + room.bytes);
    }
    static void operator delete(void* memory, Room) { ::operator delete(memory); }

    std::uint32_t m_length;
};

} // namespace lexkit_private
