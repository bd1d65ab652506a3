// What the sink does for each item that the host has saved. Both hooks block for the length of a
// copy or a conversion, and do nothing, with kFxOk, when their check box is off or not bound.
#pragma once

#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IDisplayMsgHandler.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IMFXPostProcessing : public IFxBase {
public:
    // Makes the backup copy of the item's file in the secondary location, under its device name or
    // a numbered form of it. The file is at the record's folder and file name; the folder may
    // still end in the temporary folder. `label` and `detail` get texts for the user; `display`
    // gets the notice of a failed copy. Only kFxOk says that a proven copy stands there.
    virtual FxStatus DoPreProcessing(CPropSinkMediaItem* item,
        FxStatusTextCallback label,
        FxStatusTextCallback detail,
        FxStatusTextCallback error,
        FxPerItemCallback perItem,
        IDisplayMsgHandler* display) = 0;

    // Converts the item's file to DNG when it is a camera raw file; on success the DNG stands in
    // its place, on failure the raw file stands where it was and kFxWarnPostProcess comes back.
    virtual FxStatus DoPostProcessing(CPropSinkMediaItem* item,
        FxStatusTextCallback label,
        FxStatusTextCallback detail,
        FxStatusTextCallback error,
        FxPerItemCallback perItem,
        IDisplayMsgHandler* display) = 0;

protected:
    ~IMFXPostProcessing() = default;
};

class IMFXPostProcessing2 : public IMFXPostProcessing {
public:
    // With true, the sidecar of the next file that is converted goes with the raw file.
    virtual FxStatus deleteXMPData(bool flag) = 0;

protected:
    ~IMFXPostProcessing2() = default;
};
