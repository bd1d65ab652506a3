// The files of one final folder whose names a pattern with {seq} may have given, as they stood
// before this run put any there.
//
// After it was read, any thread may ask. A file is read at most about once for its digest.
#pragma once

#include "mfx/engine/names/NumberMatcher.h"
#include "platform/common/files/ContentDigest.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/threads/Lock.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mfx {

class NumberedFiles {
public:
    // A folder that is not there has none.
    void read(const std::string& folder, const NumberMatcher& allNames);

    // Stems of files with that size and extension that `names` knows, by number.
    std::vector<std::string> stemsOf(
        std::uint64_t size, const std::string& extension, const NumberMatcher& names) const;

    // Stems of files with that extension, whatever their size, by number.
    std::vector<std::string> stemsOf(
        const std::string& extension, const NumberMatcher& names) const;

    // As it was when the folder was read.
    std::optional<Pt::FileStatus> statusOf(const std::string& name) const;

    // Nothing where the file changed since then, or cannot be read. Blocks while it is read.
    std::optional<Pt::ContentDigest> digestOf(const std::string& name);

private:
    std::string m_folder; // these are constant once they were read
    std::map<std::string, Pt::FileStatus> m_files; // by name
    std::multimap<std::uint64_t, std::string> m_bySize;
    Pt::Lock m_lock;
    std::map<std::string, Pt::ContentDigest> m_digests TEVORO_GUARDED_BY(m_lock);
};

} // namespace mfx
