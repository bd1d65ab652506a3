// Where a conversion puts its DNG. Free function; any thread.
#pragma once

#include <string>

namespace mfx {

// The path that the DNG of a raw file will get if it is converted now: its name with the extension
// "dng", or the first free of the forms with "_1", "_2" and so on behind the name.
std::string nextDNGPath(const std::string& rawPath);

} // namespace mfx
