// Why a raw file was not converted to DNG, for people. A free function; any thread.
#pragma once

#include <optional>
#include <string>

namespace mfx {

// The text for what the conversion library came to. Of a result that is not known, or of none, it
// says only that there is no DNG; of success, that the DNG could not be put into its place.
std::string conversionText(std::optional<int> result);

} // namespace mfx
