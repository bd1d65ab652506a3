// The sink's main interface: what closes a download.
#pragma once

#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IDisplayMsgHandler.h"
#include "TevoroAppManager/contract/IFxBase.h"
#include "TevoroAppManager/contract/sink/ISinkEnumMediaItem.h"

class ISink : public IFxBase {
public:
    // Does nothing and returns kFxOk: without a message handler there is nobody to tell.
    virtual FxStatus PushAllMediaItems(ISinkEnumMediaItem& items,
        unsigned long& count,
        void* context,
        FxPerItemCallback deleteItem) = 0;

    virtual FxStatus ShowSinkUI(void* window, ISinkEnumMediaItem& items) = 0;
    virtual FxStatus PushOneMediaItem(const unsigned short* folder,
        const unsigned short* name,
        FxPerItemCallback perItem,
        eUploadAction action) = 0;

protected:
    ~ISink() = default;
};

class ISink3 : public ISink {
public:
    using ISink::PushAllMediaItems;

    // Closes a download, once all items are saved: finds the folder that the items went to, tells
    // of failed conversions, offers to delete the originals, and has the browser show the folder.
    // Blocks during its dialogues. `items` lists what was saved and, when the originals are to be
    // deleted, what may be deleted; `deleteItem` deletes one item on the device and may be null.
    // `count` and `context` are neither read nor written. kFxErrBadRecord when GetSource changes
    // the record's tag or size, else kFxOk.
    virtual FxStatus PushAllMediaItems(ISinkEnumMediaItem& items,
        IDisplayMsgHandler& display,
        unsigned long& count,
        void* context,
        FxPerItemCallback deleteItem) = 0;

protected:
    ~ISink3() = default;
};
