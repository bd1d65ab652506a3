// Linked into the command, it gives its bus a registry of one application: launched-2.0, at the
// path that LAUNCHED_PATH of the environment says.
#include "core/messaging/support/LaunchRegistry.h"

#include <cstdlib>

namespace {

bool install()
{
    const char* const path = std::getenv("LAUNCHED_PATH");
    if (path != nullptr)
        test::LaunchRegistry::install({{"launched-2.0", path}});
    return path != nullptr;
}

// Before the bus is started, which keeps a connector that is there.
[[maybe_unused]] const bool gIsInstalled = install();

} // namespace
