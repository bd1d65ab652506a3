// When ports give up connections because this process comes to the end of its descriptors. Free
// functions; any thread.
#pragma once

#include <algorithm>

#include <sys/resource.h>

namespace Pt {

// Whether a descriptor that was just made is one of the last: an eighth of those that the process
// may have, or eight, are left to others and to texts that come in memory files. The system always
// gives the lowest free number, so that all below it are open.
inline bool isAmongLastDescriptors(int number)
{
    constexpr rlim_t kLeast = 8;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return false;
    const rlim_t reserve = std::min(std::max(limit.rlim_cur / 8, kLeast), limit.rlim_cur);
    return static_cast<rlim_t>(number) >= limit.rlim_cur - reserve;
}

} // namespace Pt
