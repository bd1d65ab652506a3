#pragma once

#include <cstdlib>

namespace fuzz {

// What must hold of any input.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace fuzz
