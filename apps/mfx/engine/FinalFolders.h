// The folders that a download saves into, each made and set right at its first use: what a crash
// left in its work folder is put back or removed, and the stems that stand there are noted.
// Any thread may call; objects stay at their place for the life of the collection.
#pragma once

#include "mfx/engine/WorkFolder.h"
#include "platform/common/Lock.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <vector>

namespace mfx {

// Stems of the files in one folder, so that a group does not take the stem of files that have
// nothing to do with it: a photo would seem to have a sidecar that is another's. One thread.
class StemRegister {
public:
    // Notes what stands in the folder now.
    void read(const std::string& folder);

    // By the name of any file with the stem.
    bool isTaken(std::string_view name) const;
    void take(std::string_view name);

private:
    std::unordered_set<std::uint64_t> m_hashes; // a wrong hit costs a number, never a file
};

struct FinalFolder {
    explicit FinalFolder(std::string folder)
        : path(std::move(folder))
        , work(path)
    {
    }

    const std::string path;
    WorkFolder work;
    StemRegister stems; // for the thread that moves files into place
    std::error_code error; // why the folder cannot be used
};

class FinalFolders {
public:
    // With `looksOnly`, nothing is made, put back or removed.
    explicit FinalFolders(std::string target, bool looksOnly = false)
        : m_target(std::move(target))
        , m_looksOnly(looksOnly)
    {
    }

    // The folder `subfolder` of the target ("" is the target itself). Its error is set when it
    // cannot be used.
    FinalFolder& open(const std::string& subfolder);

    // Names of the raw files that were put back so far, each told once.
    std::vector<std::string> takeRestored();

    // Leaves all work folders.
    void leave();

    // Makes the names of all files that were moved into place last: flushes the folders and those
    // above them, up to the target's own. The first error, if any.
    std::error_code flush();

private:
    void prepare(FinalFolder& folder) TEVORO_REQUIRES(m_lock);

    const std::string m_target;
    const bool m_looksOnly;
    Pt::Lock m_lock;
    std::map<std::string, std::unique_ptr<FinalFolder>> m_folders TEVORO_GUARDED_BY(m_lock);
    std::vector<std::string> m_restored TEVORO_GUARDED_BY(m_lock);
};

} // namespace mfx
