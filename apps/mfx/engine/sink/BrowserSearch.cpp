#include "mfx/engine/sink/BrowserSearch.h"

#include "messaging/Specifier.h"

namespace mfx {

bool isBrowserKnown()
{
    const ScObjects::TevoroTalk::Specifier browser("tevoro", true);
    return browser.isRunning() || browser.isInstalled();
}

} // namespace mfx
