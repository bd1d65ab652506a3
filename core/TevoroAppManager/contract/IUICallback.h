// How the host reports to the sink that a widget of its panel was used.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IUICallback : public IFxBase {
public:
    // `name` is the widget's object name. Names that the sink does not know are passed over.
    virtual FxStatus handleUIEvent(const char* name) = 0;

protected:
    ~IUICallback() = default;
};
