// Whether code may be run that a record names only in part, or not at all.
#pragma once

#include <string>

namespace ScObjects {

// Whether nobody but root, this process's user and the owner of the program `owner` decides what
// that path stands for: it belongs to one of them, and others may not write it. Links are looked at
// themselves. False where nothing is there.
bool isTrusted(const std::string& path, const std::string& program);

} // namespace ScObjects
