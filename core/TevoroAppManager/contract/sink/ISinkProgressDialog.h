// Where the sink shows the progress of deletion.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"
#include "TevoroAppManager/contract/IProgressHandler.h"

class ISinkProgressDialog : public IFxBase {
public:
    // Takes over one reference of the caller's: the sink adds none, and releases the handler at
    // its end. Must be called before the originals can be deleted.
    virtual FxStatus SetProgressHandler(IProgressHandler* handler) = 0;

protected:
    ~ISinkProgressDialog() = default;
};
