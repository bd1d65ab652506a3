// The file of one domain in the store's folder, and the lock of the processes that write it.
//
// Knows names and the file system, nothing of what is in the file. One thread at a time. All
// operations may block on the disk; failures are results.
#pragma once

#include "platform/common/files/AtomicFile.h"

#include <optional>
#include <string>
#include <string_view>

namespace preferences {

// Makes the folder of a store and those above it, for the user alone; true when it is there.
bool makeStoreFolder(const std::string& folder);

class PreferenceFile {
public:
    // folder: an absolute path.
    PreferenceFile(const std::string& folder, int domain);

    // Makes the folder if it has gone. Waits up to five seconds for another holder.
    std::optional<Pt::FileLock> lock() const;

    Pt::FileContent read() const;

    // Requires: the lock is held. A link to a file stays a link; what it leads to is replaced.
    bool write(std::string_view bytes) const;

    // Gives the file the first free name of the form preferences-3.damaged-1.xml.
    // Requires: the lock is held.
    bool putAside() const;

private:
    std::string m_folder;
    std::string m_base; // the path without ".xml"
};

} // namespace preferences
