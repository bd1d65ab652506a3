// Reports that something in one folder has changed: entries that came, went, were renamed, or whose
// content or rights are other ones. Folders below it are not watched. What has changed is for the
// user of this class to find out by listing the folder again. One thread at a time.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <string>

namespace Pt {

class FolderWatch {
public:
    // Watches nothing.
    FolderWatch() = default;
    // Where the system refuses (no such folder, a limit of watches reached), it reports nothing:
    // isWatching() is false.
    explicit FolderWatch(const std::string& folder);

    bool isWatching() const { return m_watching; }

    // Readable once something has changed, until takeChanges(). Belongs to this object: do not read
    // or close it. -1 while nothing is watched.
    int descriptor() const { return m_descriptor.get(); }

    // Whether the folder at that path has to be looked at again. Watching ends when the folder was
    // removed, moved away or its file system taken away: make another watch then.
    bool takeChanges() noexcept;

private:
    OwnedDescriptor m_descriptor;
    bool m_watching = false;
};

} // namespace Pt
