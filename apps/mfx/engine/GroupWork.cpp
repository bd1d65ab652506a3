#include "mfx/engine/GroupWork.h"

#include "commandline/NameText.h"

#include <filesystem>

namespace mfx {

using namespace commandline;

void failGroup(GroupWork& work, std::size_t member, const std::string& reason)
{
    work.failed = true;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const bool isCulprit = member >= work.members.size() || i == member;
        if (isCulprit) {
            work.members[i].error = reason;
        } else {
            const std::string name =
                displayName(std::filesystem::path(work.members[member].source).filename().string());
            work.members[i].error = "not saved, because " + name + " belongs to it and failed ("
                + reason + "); --only can take it alone";
        }
    }
}

void failUnreadable(GroupWork& work, const std::error_code& error)
{
    failGroup(work,
        work.members.size(),
        "the folder " + work.folder->path + " cannot be looked at: " + error.message());
}

} // namespace mfx
