// The sink's options panel. The sink names a description file; the host builds the widgets from
// it, wraps each in an IClientUIControl and hands the sink a way to find them by name. All calls
// come on the thread that owns the widgets; dialogs that the sink opens are modal.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IClientUIHandler.h"
#include "TevoroAppManager/contract/IFxBase.h"
#include "TevoroAppManager/contract/IUIOrderingOptionsEnum.h"

#include <cstdint>

class ISinkUICapabilities : public IFxBase {
public:
    // Forms of the host's dialogue; values 1 and 2 are acted on.
    enum eMFXUIMode : std::int32_t { kFxUIMode1 = 1, kFxUIMode2 = 2 };

    // Copies the path of the panel's description, relative to the process's working folder. Texts
    // are cut at `capacity` units, here and below.
    virtual FxStatus GetUIFilename(unsigned short* buffer, int capacity) = 0;
    virtual FxStatus GetCustomUICaption(unsigned short* buffer, int capacity) = 0;

    // Says where the host's standard controls stand, by updating each record of `order`.
    virtual FxStatus GetUIControlOrder(IUIOrderingOptionsEnum& order) = 0;

    // Binds the panel. No reference is taken on the handler; it must outlive the sink or be
    // replaced. The sink keeps the references of the controls it finds until its end.
    virtual FxStatus SetClientUIHandler(IClientUIHandler* handler) = 0;
    virtual FxStatus GetCustomUISummary(unsigned short* buffer, int capacity) = 0;
    virtual FxStatus HandleUIModeChange(void* window, eMFXUIMode mode, int& value) = 0;

protected:
    ~ISinkUICapabilities() = default;
};
