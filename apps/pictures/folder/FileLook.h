// A look at a path for threads that must not wait for a disk: on a share that does not answer, no
// look ever ends. Any thread may call.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace pictures {

// Whether a regular file is there; blocks for that long at most. Nothing where the disk has not
// told by then, or as long as many former looks are held up.
std::optional<bool> isRegularFile(const std::string& path, std::chrono::milliseconds patience);

} // namespace pictures
