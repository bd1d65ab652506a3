// The plug-in's only way in.

#include "TevoroAppManager/CAppManager.h"

#if defined(__GNUC__)
#define TEVORO_EXPORT __attribute__((visibility("default")))
#else
#define TEVORO_EXPORT
#endif

// Stores a new manager through `out`, with one reference for the host, and returns 1. A failed
// allocation leaves by exception: the function has no failure result of its own.
extern "C" TEVORO_EXPORT int FxPluginMain(void** out)
{
    auto* manager = new CAppManager;
    manager->AddRef();
    *out = static_cast<IFxPlugin*>(manager);
    return 1;
}
