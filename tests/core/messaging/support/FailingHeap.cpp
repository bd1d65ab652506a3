#include "core/messaging/support/FailingHeap.h"

thread_local std::size_t test::tLargestBlock = std::numeric_limits<std::size_t>::max();

// malloc, as the linker is told to call it (--wrap), and the one that it had. A replacement would
// not do: the checkers bring their own.
extern "C" void* __real_malloc(std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size)
{
    return size <= test::tLargestBlock ? __real_malloc(size) : nullptr;
}
