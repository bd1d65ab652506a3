// Finds and loads the library of the configuration store.
#pragma once

#include "platform/common/services/ModuleLoader.h"
#include "registry/PCDFunctions.h"

namespace ScObjects {

// The name that the library is looked for under.
// NOLINTNEXTLINE(readability-identifier-naming): the contract's name
extern const char* pcdLibName;

namespace TevoroTalkUtils::SharedLib {

// In "../Frameworks" of the folder of the running program, else in that folder itself, else in
// "mfx/Frameworks" of the folder of this very library, where programs of others find it. Null if it
// is not there or cannot be loaded, or if somebody else could have laid it there.
Pt::ModuleHandle loadPCDLibrary(const char* name);
void unloadPCDLibrary(Pt::ModuleHandle library);
void* getFunctionPtr(Pt::ModuleHandle library, const char* name);

} // namespace TevoroTalkUtils::SharedLib

// Loads the library under pcdLibName and finds its functions. Null, and no change, without it.
Pt::ModuleHandle initPCDFunctionPtrs(PCDFunctionPtrs& functions);

} // namespace ScObjects
