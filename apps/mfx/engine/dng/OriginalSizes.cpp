#include "mfx/engine/dng/OriginalSizes.h"

#include "mfx/engine/dng/DNGSearch.h"

namespace mfx {

// Read under the lock: a header takes no time, and two threads would read the same ones.
std::optional<std::uint64_t> OriginalSizes::of(const std::string& dng)
{
    Pt::Locked locked(m_lock);
    const auto [entry, isNew] = m_sizes.try_emplace(dng);
    if (isNew)
        entry->second = originalSizeIn(dng);
    return entry->second;
}

} // namespace mfx
