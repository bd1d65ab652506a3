#include "mfx/engine/BackupSearch.h"

#include "platform/common/FileCopy.h"

#include <cstdint>

namespace mfx {

namespace {

std::string numberedName(const std::string& name, std::uint64_t number)
{
    if (number == 0)
        return name;
    const std::size_t dot = name.rfind('.');
    const std::string stem = name.substr(0, dot);
    const std::string extension = dot == std::string::npos ? std::string() : name.substr(dot);
    return stem + '-' + std::to_string(number) + extension;
}

bool isSameFile(const Pt::FileStatus& a, const std::optional<Pt::FileStatus>& b)
{
    return b && a.device == b->device && a.inode == b->inode;
}

} // namespace

bool holdsBackup(const std::string& folder,
    const std::string& deviceName,
    const Pt::ContentDigest& digest,
    const std::optional<Pt::FileStatus>& saved)
{
    for (std::uint64_t number = 0;; ++number) {
        const std::string path = folder + '/' + numberedName(deviceName, number);
        std::error_code error;
        const auto there = Pt::fileStatus(path, error);
        if (!there && number > 0) // beside its original, a copy begins with "-1"
            return false;
        if (there && there->size == 0 && digest.size != 0 && Pt::removeStaleProbe(path))
            continue;
        if (!there || there->kind != Pt::FileStatus::Kind::Regular || there->size != digest.size
            || isSameFile(*there, saved))
            continue;
        if (Pt::digestOfFile(path, error) == digest)
            return true;
    }
}

} // namespace mfx
