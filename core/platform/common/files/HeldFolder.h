// A folder that is kept open, so that work in it goes to that folder and to no other: not to the
// empty mount point when a disk is pulled, and not to a new folder with the same name.
//
// Owns one descriptor, which children do not inherit. Constant after construction except for moves;
// any thread may call.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <optional>
#include <string>
#include <system_error>

namespace Pt {

class HeldFolder {
public:
    // Nothing if the folder cannot be opened; `error` then says why.
    static std::optional<HeldFolder> open(const std::string& path, std::error_code& error);

    // The same for a folder that this process opens by the path `way`, and others know by `path`.
    static std::optional<HeldFolder> open(
        const std::string& way, const std::string& path, std::error_code& error);

    // The path that it is known by.
    const std::string& path() const { return m_path; }

    // A path to the open folder itself, whatever its name leads to by now; valid in this process
    // only. Append a slash and a name in the folder.
    const std::string& ownPath() const { return m_ownPath; }

    // Converts a path below such an own path to the name that the system has for it now.
    static std::string nameOf(const std::string& ownPathBelow);

    // Whether its path still leads to this folder.
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
