// Whether others could exchange what a path leads to: code that is run, or a store that names it.
// Free functions; any thread. They take a call of the system for each folder and link on the way.
#pragma once

#include "platform/common/files/FileStatus.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Pt {

// User ids beside root's, whose folders and files are as good as one's own.
using TrustedOwners = std::vector<std::uint32_t>;

// Whether somebody else can write that file, or lay another one under a name in that folder, or
// make that link lead elsewhere. In a folder with the sticky bit, such as /tmp, all can add names,
// and each can change only their own. A group with the number of a trusted owner is that owner's
// alone; another group's right to write is the right of others.
bool isOpenToOthers(const FileStatus& status, const TrustedOwners& owners);

// The first folder, link or file on the way to that absolute path that is open to others, the end
// of the way included; empty where there is none. Links are followed as the system follows them.
// What is missing ends the way. As long as the answer is empty, nobody else can exchange anything
// on it.
std::string openOnTheWay(const std::string& path, const TrustedOwners& owners);

} // namespace Pt
