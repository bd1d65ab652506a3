// A lock between processes on an existing folder: shared by many, or exclusive. Ends with the
// object or the process; children do not inherit it. Belongs to one thread at a time.
#pragma once

#include "platform/common/files/FileStatus.h"
#include "platform/common/services/OwnedDescriptor.h"

#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace Pt {

class FolderLock {
public:
    // Shared. Waits while another holds the exclusive lock. Nothing if the folder cannot be opened.
    static std::optional<FolderLock> share(const std::string& folder, std::error_code& error);

    // Exclusive. Waits while others hold a lock. Nothing if the folder cannot be opened.
    static std::optional<FolderLock> waitAlone(const std::string& folder, std::error_code& error);

    // Exclusive, without waiting: std::errc::resource_unavailable_try_again if others hold a lock.
    static std::optional<FolderLock> takeAlone(const std::string& folder, std::error_code& error);

    // Whether the path still names the locked folder: a folder may be removed, and created again by
    // another process, while its lock is held.
    bool stillNames(const std::string& folder) const;

private:
    explicit FolderLock(OwnedDescriptor folder)
        : m_folder(std::move(folder))
    {
    }
    static std::optional<FolderLock> take(
        const std::string& folder, int operation, std::error_code& error);

    OwnedDescriptor m_folder;
};

} // namespace Pt
