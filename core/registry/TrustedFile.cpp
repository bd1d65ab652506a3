#include "registry/TrustedFile.h"

#include "platform/common/files/FileStatus.h"
#include "platform/common/files/PathTrust.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <filesystem>

namespace ScObjects {

namespace {

Pt::TrustedOwners ownersFor(const std::string& program)
{
    Pt::TrustedOwners owners{Pt::effectiveUser()};
    std::error_code error;
    if (const auto status = Pt::fileStatus(program, error))
        owners.push_back(status->owner);
    return owners;
}

} // namespace

bool isTrusted(const std::string& path, const std::string& program)
{
    std::error_code error;
    const auto status = Pt::fileStatus(path, error);
    return status && !Pt::isOpenToOthers(*status, ownersFor(program));
}

bool isTrustedWay(const std::string& path, const std::string& program)
{
    std::error_code error;
    return path.starts_with('/') && std::filesystem::exists(path, error)
        && Pt::openOnTheWay(path, ownersFor(program)).empty();
}

} // namespace ScObjects
