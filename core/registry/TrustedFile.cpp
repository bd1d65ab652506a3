#include "registry/TrustedFile.h"

#include "platform/common/files/FileStatus.h"
#include "platform/common/services/ProgramEnvironment.h"

namespace ScObjects {

bool isTrusted(const std::string& path, const std::string& program)
{
    constexpr std::uint32_t kRoot = 0;
    constexpr std::uint32_t kOthersMayWrite = 02;
    std::error_code error;
    const auto status = Pt::fileStatus(path, error);
    if (!status)
        return false;
    // The rights of a link mean nothing.
    if (status->kind != Pt::FileStatus::Kind::kLink && (status->mode & kOthersMayWrite) != 0)
        return false;
    if (status->owner == kRoot || status->owner == Pt::effectiveUser())
        return true;
    const auto trusted = Pt::fileStatus(program, error);
    return trusted && trusted->owner == status->owner;
}

} // namespace ScObjects
