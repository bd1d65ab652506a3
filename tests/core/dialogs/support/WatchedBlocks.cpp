#include "core/dialogs/support/WatchedBlocks.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

// No container: its own memory would come through here, too.
std::array<void*, 256> gBlocks;
std::size_t gSize = 0; // 0 while nobody watches

void note(void* block)
{
    const auto free = std::find(gBlocks.begin(), gBlocks.end(), nullptr);
    if (free == gBlocks.end())
        std::abort(); // the test makes more objects than fit here
    *free = block;
}

void forget(void* block)
{
    if (block)
        std::replace(gBlocks.begin(), gBlocks.end(), block, static_cast<void*>(nullptr));
}

} // namespace

// The operators as the linker is told to call them (--wrap), and those that it had. A replacement
// would not do: the checkers bring their own.
extern "C" void* __real__Znwm(std::size_t size);
extern "C" void __real__ZdlPv(void* block);
extern "C" void __real__ZdlPvm(void* block, std::size_t size);

extern "C" void* __wrap__Znwm(std::size_t size)
{
    void* const block = __real__Znwm(size);
    if (gSize != 0 && size == gSize)
        note(block);
    return block;
}

extern "C" void __wrap__ZdlPv(void* block)
{
    forget(block);
    __real__ZdlPv(block);
}

extern "C" void __wrap__ZdlPvm(void* block, std::size_t size)
{
    forget(block);
    __real__ZdlPvm(block, size);
}

namespace test {

WatchedBlocks::WatchedBlocks(std::size_t size)
{
    gBlocks.fill(nullptr);
    gSize = size;
}

WatchedBlocks::~WatchedBlocks()
{
    gSize = 0;
}

int WatchedBlocks::alive() const
{
    const auto isBlock = [](const void* block) { return block != nullptr; };
    return static_cast<int>(std::count_if(gBlocks.begin(), gBlocks.end(), isBlock));
}

} // namespace test
