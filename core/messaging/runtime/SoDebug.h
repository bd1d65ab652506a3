// Hooks for a debugger. None is served: they do nothing.
#pragma once

#include "messaging/SoString.h"

namespace ScObjects {

using DebugAlertFunc = void (*)(char const* text);

void setDebugAlertFunc(DebugAlertFunc function);
void debugAlert(char const* text);
void debugStr(SoString const& text);
void debugBreak();
bool isDebugging();

} // namespace ScObjects
