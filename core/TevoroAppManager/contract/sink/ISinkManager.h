// The application behind the sink, for the host.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class ISinkManager : public IFxBase {
public:
    // Copies the application's name, at most the smaller of capacity and 260 units. A null buffer
    // gives kFxErrBadArgument, here and below.
    virtual FxStatus GetHostAppName(unsigned short* buffer, unsigned int capacity) = 0;

    // kFxOk; the buffer is not written.
    virtual FxStatus GetHostAppPath(unsigned short* buffer, unsigned int capacity) = 0;

    virtual FxStatus SetMFXHandle(void* handle) = 0;

    // Always returns 0 in `running` and leaves `handle`.
    virtual FxStatus GetIsHostAppRunning(unsigned int& running, void*& handle) = 0;

    // Brings the application up by itself; the arguments are not read. kFxErrBadArgument when it
    // is neither running nor installed.
    virtual FxStatus InvokeHostApp(void* window, unsigned int flags, unsigned short* text) = 0;

protected:
    ~ISinkManager() = default;
};
