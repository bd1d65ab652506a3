// A lock between processes on a folder that exists: many may share it, or one have it alone. Ends
// with the object or the process; children do not inherit it. Belongs to one thread at a time.
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
    // Waits while another has the folder alone. Nothing when the folder cannot be opened.
    static std::optional<FolderLock> share(const std::string& folder, std::error_code& error);

    // Waits while others have it. Nothing when the folder cannot be opened.
    static std::optional<FolderLock> waitAlone(const std::string& folder, std::error_code& error);

    // Does not wait: nothing, with std::errc::resource_unavailable_try_again, when others have it.
    static std::optional<FolderLock> takeAlone(const std::string& folder, std::error_code& error);

    // Whether the path still names the folder that is locked: a folder may be removed, and made
    // anew by another, while its lock is held.
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
