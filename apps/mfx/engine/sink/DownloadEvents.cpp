#include "mfx/engine/sink/DownloadEvents.h"

#include "mfx/texts/Texts.h"

namespace mfx {

void addError(ItemEvent& event, const std::string& reason)
{
    event.error = event.error
        ? text("$$$/Mfx/Download/TwoReasons=%1; and %2", {*event.error, reason})
        : reason;
}

} // namespace mfx
