// Implemented by the host: progress of deletion. Texts are UTF-16 and valid during the call.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IProgressHandler : public IFxBase {
public:
    // Opens a display of `count` steps. The host writes true through `cancelled`, at any time until
    // FinishProgress or the end of PushAllMediaItems, when the user cancels.
    virtual FxStatus BeginProgress(long count,
        bool* cancelled,
        unsigned short const* caption,
        unsigned short const* cancelLabel) = 0;
    virtual FxStatus StepProgress() = 0;

    // Closes the display with a notice. After a cancel it is not called.
    virtual FxStatus FinishProgress(
        unsigned short const* title, unsigned short const* text, bool success) = 0;

protected:
    ~IProgressHandler() = default;
};
