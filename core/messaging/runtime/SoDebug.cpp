#include "messaging/runtime/SoDebug.h"

namespace ScObjects {

void setDebugAlertFunc(DebugAlertFunc) { }

void debugAlert(const char*) { }

void debugStr(const SoString&) { }

void debugBreak() { }

bool isDebugging()
{
    return false;
}

} // namespace ScObjects
