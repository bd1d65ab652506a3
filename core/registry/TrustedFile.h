// Whether code may be run that a record names only in part, or not at all. The owner of the program
// `program` decides anyway what runs here, as do root and this process's user: they are trusted,
// and nobody else is.
#pragma once

#include <string>

namespace ScObjects {

// Whether nobody else can write that file, or exchange what lies in that folder, or make that link
// lead elsewhere. The folders above are not looked at, and links are not followed. False where
// nothing is there.
bool isTrusted(const std::string& path, const std::string& program);

// Whether nobody else can exchange what that absolute path leads to, anywhere on the way. False
// where nothing is there.
bool isTrustedWay(const std::string& path, const std::string& program);

} // namespace ScObjects
