// A copy of a store that is written in its stead, and then takes its place at once: whoever reads
// the old one meanwhile holds no writer up, and a writer that is killed leaves nothing to roll
// back. One writer at a time, by a lock that only the store's owner can take. Throws StoreError;
// one thread.
#pragma once

#include "platform/common/files/AtomicFile.h"

#include <string>

namespace velmo_caps {

class StoreDraft {
public:
    // Waits for other writers up to kCapsPatience. What a killed one has left is removed.
    explicit StoreDraft(const std::string& path);
    // Unless it was published, nothing has happened.
    ~StoreDraft();
    StoreDraft(const StoreDraft&) = delete;
    StoreDraft& operator=(const StoreDraft&) = delete;

    // What to write to; nobody may have it open for writing when it is published.
    const std::string& file() const { return m_file; }

    // On the disk when it returns. Requires: the bytes of the file are.
    void publish();

private:
    void settle() const;
    void copy() const;
    void removeFiles() const noexcept;

    const std::string m_path;
    const std::string m_file;
    const Pt::FileLock m_lock;
    bool m_isPublished = false;
};

} // namespace velmo_caps
