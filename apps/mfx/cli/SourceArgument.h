// SOURCE on the command line.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/card/Sources.h"

#include <string>
#include <vector>

namespace mfx {

// Throws CommandError when there is no such source.
MediaSource sourceArgument(const std::string& name);

// What lies there; throws CommandError when it cannot be read at all.
// `putsBack`: originals that a killed deletion had set aside go back to their places first.
CardContents scanSource(
    const MediaSource& source, const std::vector<std::string>& only = {}, bool putsBack = false);

} // namespace mfx
