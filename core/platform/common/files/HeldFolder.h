// A folder that is held open, so that work in it goes to that folder and to no other: not to the
// empty one below the mount point when a disk is pulled, and not to one that somebody makes anew
// under the same name.
//
// Owns one descriptor, which children do not inherit. Constant after construction but for moves;
// any thread may ask.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <optional>
#include <string>
#include <system_error>

namespace Pt {

class HeldFolder {
public:
    // Nothing when the folder cannot be opened; `error` then says why.
    static std::optional<HeldFolder> open(const std::string& path, std::error_code& error);

    // The same, found on a way of this process's own, and known to others by `path`.
    static std::optional<HeldFolder> open(
        const std::string& way, const std::string& path, std::error_code& error);

    // The path that it is known by.
    const std::string& path() const { return m_path; }

    // A path to the folder itself, for this process alone, whatever its name leads to by now. A
    // name in the folder follows after a slash.
    const std::string& ownPath() const { return m_ownPath; }

    // A path below one of these of this process, as the system names it now.
    static std::string nameOf(const std::string& ownPathBelow);

    // Whether the path leads to this folder still.
    bool isAtItsPath() const;

    // Whether another path leads to this folder: the same device and inode.
    bool isNamedBy(const std::string& path) const;

private:
    HeldFolder(std::string path, OwnedDescriptor folder);

    std::string m_path;
    std::string m_ownPath;
    OwnedDescriptor m_folder;
};

} // namespace Pt
