#include "core/platform/support/FailingAllocations.h"

#include <cstddef>
#include <new>

thread_local int test::tAllocationsLeft = -1;

// operator new, as the linker is told to call it (--wrap), and the one that it had. A replacement
// would not do: the checkers bring their own.
extern "C" void* __real__Znwm(std::size_t size);

extern "C" void* __wrap__Znwm(std::size_t size)
{
    if (test::tAllocationsLeft >= 0 && test::tAllocationsLeft-- == 0)
        throw std::bad_alloc();
    return __real__Znwm(size);
}
