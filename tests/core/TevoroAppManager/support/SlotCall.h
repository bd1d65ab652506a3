// Calls of an interface's operations by their place in the table, as a host of another compiler
// makes them: a test of the order that no declaration can lead astray.
#pragma once

#include <cstddef>

namespace test {

// The operation at a place of an object's table. `Operation` is a function type whose first
// argument is the object.
template <typename Operation>
Operation* slot(void* object, std::size_t place)
{
    void* const* const table = *static_cast<void* const* const*>(object);
    return reinterpret_cast<Operation*>(table[place]);
}

// Calls the operation at a place. The arguments must have exactly the types of the contract.
template <typename Result, typename... Arguments>
Result call(void* object, std::size_t place, Arguments... arguments)
{
    return slot<Result(void*, Arguments...)>(object, place)(object, arguments...);
}

} // namespace test
