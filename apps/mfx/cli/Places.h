// The folders that a download writes to, checked before it starts. Each function throws
// CommandError with the code for an unusable place, naming the folder and what to do.
#pragma once

#include <string>

namespace mfx {

// What a folder is for.
enum class Purpose { kTarget, kBackup };

// A path from the command line, absolute and without "." and "..". An empty text stays empty.
std::string absolutePath(const std::string& path);

// Refuses what can be no place for copies: a file, a folder of the source, a path that texts of the
// plug-in cannot hold. Looks only.
void requireUsablePlace(const std::string& folder, const std::string& source, Purpose purpose);

// Makes the folder and tries whether it can be written. Its path without links.
std::string makePlace(const std::string& folder, Purpose purpose, bool mayMakeOnMounts = true);

} // namespace mfx
