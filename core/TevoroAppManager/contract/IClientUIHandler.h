// Implemented by the host: the widgets of the sink's options panel.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IUICallback;

// One widget.
class IClientUIControl : public IFxBase {
public:
    virtual FxStatus SetEnabled(bool enabled) = 0;
    virtual FxStatus ApplyMode1() = 0; // what the modes do to a widget is the host's
    virtual FxStatus ApplyMode2() = 0;
    virtual int GetControlWidth() = 0; // device-independent pixels
    virtual int GetControlHeight() = 0;
    virtual FxStatus SetModeValue(int value) = 0;
    virtual int GetFontSize() = 0; // points
    virtual const char* GetFontFamily() = 0; // UTF-8; valid until the next call on the control
    virtual bool IsFontBold() = 0;
    virtual bool IsFontItalic() = 0;

    // Has the callback called when the widget is used. No reference is taken.
    virtual FxStatus SetCallback(IUICallback* callback) = 0;
    virtual FxStatus SetToolTip(const char* utf8) = 0;
    virtual FxStatus SetText(const char* utf8) = 0;
    virtual bool IsChecked() = 0;
    virtual FxStatus SetChecked(bool checked) = 0;

protected:
    ~IClientUIControl() = default;
};

class IClientUIHandler : public IFxBase {
public:
    // Stores the widget with this object name, with one reference for the caller, or null.
    virtual FxStatus FindControl(const char* name, IClientUIControl** out) = 0;

protected:
    ~IClientUIHandler() = default;
};
