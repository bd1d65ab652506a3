// What a download will take on each file system, before it starts. Looks only; any thread.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/saving/SpaceCheck.h"
#include "mfx/engine/sink/DownloadRequest.h"

#include <optional>

namespace mfx {

struct DNGSizes {
    bool uncompressed = false;
    bool linear = false; // three colours for each pixel in place of one
    bool embedsRaw = false;
};

// The first file system that is too small for the download. What stands in its place already with
// the same size needs no space again; it is looked for only where space is short.
std::optional<SpaceShortage> findShortage(
    const CardContents& card, const DownloadRequest& request, const DNGSizes& dng);

} // namespace mfx
