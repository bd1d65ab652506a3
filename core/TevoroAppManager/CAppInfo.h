// What the plug-in says of its application: five texts, filled by CAppManager::Init.
#pragma once

#include "TevoroAppManager/FxText.h"

struct CAppInfo {
    FxString publishedName; // three texts of CPropSource
    FxString shortName;
    FxString programPath;
    FxString iconPath;
    FxString sourceName; // the name that CreateSource accepts
};
