#include "mfx/engine/sink/DNGSearch.h"

#include "platform/common/files/FileStatus.h"

#include <filesystem>

namespace mfx {

// The sink tells whether it made a DNG and not under which name: its rule for names is followed
// here before the call, while the name is still free.
std::string nextDNGPath(const std::string& rawPath)
{
    const std::filesystem::path raw(rawPath);
    const std::string stem = (raw.parent_path() / raw.stem()).string();
    std::string path = stem + ".dng";
    std::error_code error;
    for (int k = 1; Pt::fileStatus(path, error); ++k)
        path = stem + '_' + std::to_string(k) + ".dng";
    return path;
}

} // namespace mfx
