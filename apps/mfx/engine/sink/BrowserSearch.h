// Whether the browser can be shown anything: the sink's hand-off says nothing where it cannot. Free
// function; for the thread and the lifetime of a sink session, whose bus it asks.
#pragma once

namespace mfx {

// Whether the browser runs, or is registered in the store of installed applications.
bool isBrowserKnown();

} // namespace mfx
