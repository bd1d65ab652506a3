// The SHA-1 digest of bytes, by the system's cryptographic library. Any thread.
#pragma once

#include <array>
#include <initializer_list>
#include <optional>
#include <string_view>

namespace Pt {

using Sha1Digest = std::array<unsigned char, 20>;

// Of the pieces one behind the other. Nothing when the library refuses.
std::optional<Sha1Digest> sha1(std::initializer_list<std::string_view> pieces);

} // namespace Pt
