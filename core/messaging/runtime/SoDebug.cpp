#include "messaging/runtime/SoDebug.h"

namespace ScObjects {

void setDebugAlertFunc(DebugAlertFunc) { }

void debugAlert(char const*) { }

void debugStr(SoString const&) { }

void debugBreak() { }

bool isDebugging()
{
    return false;
}

} // namespace ScObjects
