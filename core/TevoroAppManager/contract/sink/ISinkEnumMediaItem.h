// Implemented by the host: the items of one download.
#pragma once

#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class ISinkEnumMediaItem : public IFxBase {
public:
    virtual FxStatus GetCount(long& out) = 0; // number of items

    // Fills the record and returns 0; non-zero at the end. The record carries tag 3 and size 2104.
    virtual FxStatus Next(CPropSinkMediaItem& record) = 0;
    virtual FxStatus Reset() = 0;

    virtual FxStatus Unused1() = 0; // two places that the plug-in never calls
    virtual FxStatus Unused2() = 0;

    // Fills a record that carries tag 2 and size 3640 already.
    virtual FxStatus GetSource(CPropSource& record) = 0;

protected:
    ~ISinkEnumMediaItem() = default;
};
