#include "mfx/engine/saving/FolderStatus.h"

namespace mfx {

std::optional<Pt::FileStatus> folderStatus(const std::string& path)
{
    // A status of the name alone would be that of a link. Behind "/.", the kernel has resolved the
    // link and crossed into what is mounted there.
    std::error_code error;
    return Pt::fileStatus(path + "/.", error);
}

std::optional<std::uint64_t> deviceOf(const std::string& path)
{
    const auto status = folderStatus(path);
    return status ? std::optional(status->device) : std::nullopt;
}

} // namespace mfx
