// A developer's own build that stands in for an installed program.
#include "messaging/TevoroTalkUtils.h"
#include "messaging/process/LaunchNames.h"
#include "registry/TrustedFile.h"

#include <string>
#include <string_view>

namespace ScObjects {

SoString TevoroTalkUtils::startedPath(const SoString& path)
{
    const std::string_view program = path.view();
    SoString alias(program.substr(0, program.rfind('/') + 1)); // with its separator
    alias << TevoroTalkData::kDeveloperApp;
    if (!fileExists(alias))
        return path;
    // In a folder that others may write, anybody could name another program.
    return isTrustedWay(std::string(alias.view()), std::string(program)) ? resolveAlias(alias)
                                                                         : path;
}

} // namespace ScObjects
