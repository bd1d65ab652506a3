// The interface under which CreateSource gives the sink out. The sink offers nothing of a source:
// all four operations give kFxErrNotSupported. Ask it for its other interfaces with QueryInterface.
#pragma once

#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

// Appears only in operations that this plug-in refuses.
class IEnumMediaItem : public IFxBase {
protected:
    ~IEnumMediaItem() = default;
};

class ISource : public IFxBase {
public:
    virtual FxStatus EnumMediaItems(eMediaItemType type, IEnumMediaItem** out, bool flag) = 0;
    virtual FxStatus AcquireAllMediaItems(eMediaItemType type,
        const unsigned short* folder,
        unsigned long& count,
        bool flag,
        FxPerItemCallback perItem) = 0;
    virtual FxStatus DeleteAllMediaItems(
        eMediaItemType type, unsigned long& count, FxPerItemCallback perItem) = 0;
    virtual FxStatus ShowUI(void* window, IEnumMediaItem** out) = 0;

protected:
    ~ISource() = default;
};
