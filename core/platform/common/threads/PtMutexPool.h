#pragma once

#include "platform/common/threads/PtMutex.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Pt {

// N mutexes shared by many objects: an object's address selects its mutex. So whoever holds one
// must not call other code, which may need the same one. The pool owns its mutexes; any thread may
// call.
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
