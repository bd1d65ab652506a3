#pragma once

#include "platform/common/threads/PtMutex.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Pt {

// N mutexes for objects that are too many for a mutex each: each object has its row by its address,
// and shares it with others. So whoever holds a row must not call out: what it calls may need the
// same one. The pool owns its mutexes; any thread may ask.
template <std::size_t N>
class MutexPool {
public:
    static constexpr std::size_t rowOf(std::uintptr_t address) { return (address >> 7U) % N; }

    Mutex& row(std::size_t index) { return m_rows[index]; }

    // The one that guards this object.
    Mutex& of(const void* object) { return row(rowOf(reinterpret_cast<std::uintptr_t>(object))); }

private:
    std::array<Mutex, N> m_rows;
};

} // namespace Pt
