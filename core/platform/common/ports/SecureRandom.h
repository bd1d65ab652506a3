// Random bytes from the system, fit for secrets. Any thread.
#pragma once

#include <array>
#include <optional>

namespace Pt {

// Nothing when the system refuses.
std::optional<std::array<unsigned char, 16>> secureRandom16();

} // namespace Pt
