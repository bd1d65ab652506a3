// The sink's part in the host's log. This plug-in has none: all give kFxErrNotImplemented.
#pragma once

#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IEnum.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IMFXLogCallbacks : public IFxBase {
public:
    virtual FxStatus GetLogParams(unsigned short* buffer, unsigned int capacity, long& out) = 0;
    virtual FxStatus GetDeviceEntryParams(CPropSource* source, IEnumArbitraryData** out) = 0;
    virtual FxStatus GetMediaEntryParams(CPropSinkMediaItem* item, IEnumArbitraryData** out) = 0;
    virtual FxStatus GetSessionEndParams(IEnumArbitraryData** out) = 0;

protected:
    ~IMFXLogCallbacks() = default;
};
