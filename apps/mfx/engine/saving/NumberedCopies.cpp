#include "mfx/engine/saving/NumberedCopies.h"

#include "platform/common/files/FileStatus.h"

#include <algorithm>
#include <vector>

namespace mfx {

namespace {

using Sources = std::vector<Pt::FileStatus>; // one for each member

// Nothing when one is gone: the copying will say so.
std::optional<Sources> sourcesOf(const GroupWork& work)
{
    Sources sources;
    for (const MemberWork& member : work.members) {
        std::error_code error;
        const auto source = Pt::fileStatus(member.source, error);
        if (!source)
            return std::nullopt;
        sources.push_back(*source);
    }
    return sources;
}

// From the listing of the folder, without a look at the card: most stems are refused here. A member
// that is the source itself, seen on another way, is no copy.
bool hasSizes(const GroupWork& work, const std::string& stem, const Sources& sources)
{
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const auto there = work.folder->numbered.statusOf(nameWithStem(work, i, stem));
        if (!there || there->size != sources[i].size)
            return false;
        if (there->device == sources[i].device && there->inode == sources[i].inode)
            return false;
    }
    return true;
}

// All members under one stem. A raw file under one number and its JPEG under another would be no
// group that anybody could tell as such.
bool hasBytes(GroupWork& work, const std::string& stem)
{
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        MemberWork& member = work.members[i];
        std::error_code error;
        if (!member.digest)
            member.digest = Pt::digestOfFile(member.source, error);
        if (!member.digest
            || work.folder->numbered.digestOf(nameWithStem(work, i, stem)) != member.digest)
            return false;
    }
    return true;
}

} // namespace

std::string nameWithStem(const GroupWork& work, std::size_t member, const std::string& stem)
{
    const std::string& extension = work.target->extension(member);
    return extension.empty() ? stem : stem + '.' + extension;
}

std::optional<std::string> findNumberedCopies(GroupWork& work, const NumberMatcher& names)
{
    const auto sources = sourcesOf(work);
    if (!sources)
        return std::nullopt;
    const std::vector<std::string> stems =
        work.folder->numbered.stemsOf(sources->front().size, work.target->extension(0), names);
    const auto found = std::find_if(stems.begin(), stems.end(), [&](const std::string& stem) {
        return hasSizes(work, stem, *sources) && hasBytes(work, stem);
    });
    return found == stems.end() ? std::nullopt : std::optional(*found);
}

} // namespace mfx
