#include "messaging/SoHeap.h"

#include <cstdlib>

namespace ScObjects {

SoHeap::~SoHeap() = default;

void* SoHeap::operator new(std::size_t size) noexcept
{
    return mallocHeap(size);
}

void SoHeap::operator delete(void* pointer) noexcept
{
    freeHeap(pointer);
}

void* SoHeap::mallocHeap(std::size_t size) noexcept
{
    // malloc and not operator new: one heap for all modules, and a failure is a null pointer.
    return std::malloc(size);
}

void SoHeap::freeHeap(void* pointer) noexcept
{
    std::free(pointer);
}

} // namespace ScObjects
