// The sink's references to the widgets of its options panel; each may be null.
#pragma once

#include "TevoroAppManager/contract/IClientUIHandler.h"

struct PanelControls {
    IClientUIControl* settingsButton = nullptr;
    IClientUIControl* dngCheckbox = nullptr;
    IClientUIControl* launchTevoroCheckbox = nullptr;
    IClientUIControl* deleteFilesCheckbox = nullptr;
    IClientUIControl* saveCopiesCheckbox = nullptr;
    IClientUIControl* secondaryBackupLabel = nullptr;
    IClientUIControl* browseButton = nullptr;
};

// What a check box says; false when the panel has none.
inline bool isChecked(IClientUIControl* control)
{
    return control != nullptr && control->IsChecked();
}

inline void setChecked(IClientUIControl* control, bool checked)
{
    if (control)
        control->SetChecked(checked);
}

inline void setEnabled(IClientUIControl* control, bool enabled)
{
    if (control)
        control->SetEnabled(enabled);
}
