#pragma once

#include <cerrno>

namespace Pt {

// Makes a system call again as long as a signal breaks it off; its result.
template <typename Call>
auto retryInterrupted(Call call)
{
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

} // namespace Pt
