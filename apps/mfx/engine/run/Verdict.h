// The one verdict at the end of a download, the same words in text and JSON.
#pragma once

#include "mfx/engine/sink/DownloadEvents.h"

namespace mfx {

// Sets `cardMayBeWiped` and `verdict` from the rest of the summary.
void giveVerdict(DownloadSummary& summary);

} // namespace mfx
