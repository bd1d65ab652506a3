// Where media can be downloaded from. Free functions; any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace mfx {

struct MediaSource {
    std::string name; // for people and for the command line; each name once
    std::string path;
};

// Mounted volumes that a camera has written: those with a folder DCIM, PRIVATE or MP_ROOT at the
// top. A volume mounted in two places is listed once.
std::vector<MediaSource> findSources();

// A folder by its path, or a listed source by its name; nothing when there is neither.
std::optional<MediaSource> resolveSource(const std::string& text);

} // namespace mfx
