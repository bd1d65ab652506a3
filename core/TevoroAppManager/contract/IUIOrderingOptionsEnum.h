// Implemented by the host: the standard controls of its dialogue, in an order that the sink sets.
#pragma once

#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IUIOrderingOptionsEnum : public IFxBase {
public:
    virtual FxStatus Next(CPropUIControlOrder& record) = 0; // 0 with an element
    virtual FxStatus Reset() = 0;
    virtual FxStatus Update(CPropUIControlOrder& record) = 0; // stores the changed element

protected:
    ~IUIOrderingOptionsEnum() = default;
};
