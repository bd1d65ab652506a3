#pragma once

#include <string>

// Loading of code. A handle is a share in the loading of a module and ends with closeModule.
// Paths are bytes as the system takes them and never searched for. Any thread may call.
namespace Pt {

using ModuleHandle = void*;

// The file name of the module NAME, as the system has it.
std::string moduleFileName(const std::string& name);

// The file that holds the code of the module at path: path itself, or NAME.so in a folder NAME.*;
// empty when it is not there.
std::string moduleFile(const std::string& path);

// The folder of the file that this code lies in, a library or the program, links resolved; empty
// when the system does not say.
std::string ownModuleFolder();

// With all its symbols resolved; null when the file cannot be loaded.
ModuleHandle openModule(const std::string& file);

// A share in a module that is loaded already; null when it is not.
ModuleHandle openLoadedModule(const std::string& file);

void closeModule(ModuleHandle handle);

// null when the module exports no such name.
void* moduleSymbol(ModuleHandle handle, const char* name);

} // namespace Pt
