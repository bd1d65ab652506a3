// What the sink says to the user, by way of the host: the line of a progress display, and a notice
// that waits for its button. Plain functions for the host's main thread; texts need to live only as
// long as the call.
#pragma once

#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/contract/IDisplayMsgHandler.h"

class QString;

// Sets a line of the progress display; does nothing without a callback.
void tell(FxStatusTextCallback callback, const QString& text);

// Shows a notice. `style` is one of the contract's kFxStyle numbers.
void notify(IDisplayMsgHandler& display, const QString& title, const QString& text, int style);
