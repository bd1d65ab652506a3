#include "TevoroAppManager/FxNotice.h"

#include "TevoroAppManager/FxText.h"

void tell(FxStatusTextCallback callback, const QString& text)
{
    if (callback)
        callback(fxUnits(text), 0);
}

// The style goes by pointer: a host may write there, which nobody reads.
void notify(IDisplayMsgHandler& display, const QString& title, const QString& text, int style)
{
    display.DisplayMessage(fxUnits(title), fxUnits(text), &style, nullptr, nullptr);
}
