// Hooks for a debugger. Not implemented: they do nothing.
#pragma once

#include "messaging/SoString.h"

namespace ScObjects {

using DebugAlertFunc = void (*)(const char* text);

void setDebugAlertFunc(DebugAlertFunc function);
void debugAlert(const char* text);
void debugStr(const SoString& text);
void debugBreak();
bool isDebugging();

} // namespace ScObjects
