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
        const unsigned short* caption,
        const unsigned short* cancelLabel) = 0;
    virtual FxStatus StepProgress() = 0;

    // Closes the display with a notice. After a cancel it is not called.
    virtual FxStatus FinishProgress(
        const unsigned short* title, const unsigned short* text, bool success) = 0;

protected:
    ~IProgressHandler() = default;
};
