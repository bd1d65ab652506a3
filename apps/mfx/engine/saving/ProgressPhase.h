// What a download is doing just now.
#pragma once

#include <cstdint>

namespace mfx {

enum class ProgressPhase : std::uint8_t { kCopy, kProve, kBackup, kConvert, kDelete };

} // namespace mfx
