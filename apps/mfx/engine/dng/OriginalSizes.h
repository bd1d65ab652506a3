// How large the raw files were of which DNGs were made, as their records say: for a look at many
// DNGs, each for many raw files. Each is opened once. Any thread may ask.
#pragma once

#include "platform/common/threads/Lock.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace mfx {

class OriginalSizes {
public:
    // Nothing where there is no DNG that bears our record.
    std::optional<std::uint64_t> of(const std::string& dng);

private:
    Pt::Lock m_lock;
    std::map<std::string, std::optional<std::uint64_t>> m_sizes TEVORO_GUARDED_BY(m_lock);
};

} // namespace mfx
