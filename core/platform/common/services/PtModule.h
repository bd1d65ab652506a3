#pragma once

// Code modules, loaded at run time. A module's path is either a plain file, which is the module
// itself, or a bundle: a folder NAME.framework that holds NAME.so. Each function that gives a
// reference gives it to the caller, who ends it with PtUnloadLibrary or PtReleaseModuleRef, once,
// or keeps it for the life of the process. Any thread may call; one reference is ended by one.
struct PtModule;
using PtModuleRef = PtModule*;

// A reference to the module at path, without loading it; null when no module file is there.
PtModuleRef PtCreateBundle(const unsigned short* path);

// Loads the module; null when it is not there or cannot be loaded.
PtModuleRef PtLoadLibrary(const unsigned short* path);

// The module if some part of this process has loaded it already, else null.
PtModuleRef PtGetModuleHandle(const unsigned short* path);

// Ends the reference and its share in the loading: the code goes with the last share, and with it
// every function that was looked up. Null is allowed. Always true.
bool PtUnloadLibrary(PtModuleRef module);

// Ends the reference and leaves loaded what it has loaded, so that functions stay callable.
void PtReleaseModuleRef(PtModuleRef module);

// The exported function of that name; null when there is none, when the module is not loaded, and
// for null arguments.
void* PtGetProcAddress(PtModuleRef module, const char* name);
