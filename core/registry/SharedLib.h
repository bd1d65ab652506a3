// Finds and loads the library of the configuration store.
#pragma once

#include "platform/common/services/ModuleLoader.h"
#include "registry/PCDFunctions.h"

namespace ScObjects {

// The name that the library is looked for under.
// NOLINTNEXTLINE(readability-identifier-naming): the contract's name
extern const char* pcdLibName;

namespace TevoroTalkUtils::SharedLib {

// In "../Frameworks" of the folder of the running program, else in that folder itself. Null if it
// is not there or cannot be loaded.
Pt::ModuleHandle loadPCDLibrary(const char* name);
void unloadPCDLibrary(Pt::ModuleHandle library);
void* getFunctionPtr(Pt::ModuleHandle library, const char* name);

} // namespace TevoroTalkUtils::SharedLib

// Loads the library under pcdLibName and finds its functions. Null, and no change, without it.
Pt::ModuleHandle initPCDFunctionPtrs(PCDFunctionPtrs& functions);

} // namespace ScObjects
