// The plug-in as a whole, and the one function by which a host gets in.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IFxPlugin : public IFxBase {
public:
    // Copies the plug-in's name; at most the smaller of capacity and 260 units, with no terminator
    // when the name does not fit. A null buffer is passed over.
    virtual FxStatus GetPluginName(unsigned short* buffer, unsigned int capacity) = 0;

    virtual FxStatus GetPluginType() = 0; // 0

    // Copies the 16 bytes that identify the plug-in.
    virtual FxStatus GetPluginUID(unsigned char (&bytes)[16]) = 0;

    virtual FxStatus OnLoad() = 0; // nothing happens
    virtual FxStatus OnUnload() = 0; // nothing happens

protected:
    ~IFxPlugin() = default;
};

// The function that the module exports: stores an IFxPlugin through `out`, with one reference for
// the caller, and returns 1. All calls on what comes out of it are made on one thread, the host's
// main thread.
using FxPluginMainFunction = int (*)(void** out);
inline constexpr char kFxPluginMainName[] = "FxPluginMain";
