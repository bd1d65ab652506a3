// File systems that are mounted now. Any thread may call.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Pt {

struct MountedVolume {
    std::string folder; // where it is mounted
    std::string label; // its own name; empty where it has none
};

// Those that can hold a card's files: no kernel file systems, and no network ones, which may hang.
std::vector<MountedVolume> mountedVolumes();

// The same from the text of the system's table of mounts, without labels. Lines that cannot be
// read are passed over.
std::vector<MountedVolume> parseMounts(std::string_view table);

} // namespace Pt
