// File systems that are mounted now. Any thread may call.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Pt {

struct MountedVolume {
    std::string folder; // where it is mounted
    std::string label; // the volume's name; empty if it has none
};

// The mounts that can hold a card's files: no kernel file systems, and no network ones, which may
// hang.
std::vector<MountedVolume> mountedVolumes();

// Parses the text of the system's table of mounts, without labels. Skips lines that it cannot
// parse.
std::vector<MountedVolume> parseMounts(std::string_view table);

} // namespace Pt
