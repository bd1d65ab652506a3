#include "mfx/engine/saving/NumberedCopies.h"

#include "mfx/engine/dng/DNGSearch.h"
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
bool hasSize(const GroupWork& work,
    std::size_t member,
    const std::string& stem,
    const Pt::FileStatus& source)
{
    const auto there = work.folder->numbered.statusOf(nameWithStem(work, member, stem));
    if (!there)
        return work.members[member].wantsDNG
            && work.folder->originals.of(work.folder->ownPath + '/' + stem + ".dng") == source.size;
    return there->size == source.size
        && !(there->device == source.device && there->inode == source.inode);
}

bool hasSizes(const GroupWork& work, const std::string& stem, const Sources& sources)
{
    for (std::size_t i = 0; i < sources.size(); ++i)
        if (!hasSize(work, i, stem, sources[i]))
            return false;
    return true;
}

// Under its own name, or as the DNG that was made of it.
bool hasBytesOf(GroupWork& work, std::size_t index, const std::string& stem)
{
    MemberWork& member = work.members[index];
    const std::string name = nameWithStem(work, index, stem);
    member.dng.clear();
    if (work.folder->numbered.statusOf(name))
        return work.folder->numbered.digestOf(name) == member.digest;
    const auto dng = findDNGOf(
        work.folder->ownPath + '/' + name, member.digest->size, [&] { return member.digest; });
    member.dng = dng.value_or(std::string());
    return dng.has_value();
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
        if (!member.digest || !hasBytesOf(work, i, stem))
            return false;
    }
    return true;
}

// The first member decides which are looked at. A raw file comes first in its group.
std::vector<std::string> possibleStems(
    const GroupWork& work, const Sources& sources, const NumberMatcher& names)
{
    std::vector<std::string> stems =
        work.folder->numbered.stemsOf(sources.front().size, work.target->extension(0), names);
    if (work.members.front().wantsDNG) {
        const std::vector<std::string> dngs = work.folder->numbered.stemsOf("dng", names);
        stems.insert(stems.end(), dngs.begin(), dngs.end());
    }
    return stems;
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
    const std::vector<std::string> stems = possibleStems(work, *sources, names);
    const auto found = std::find_if(stems.begin(), stems.end(), [&](const std::string& stem) {
        return hasSizes(work, stem, *sources) && hasBytes(work, stem);
    });
    return found == stems.end() ? std::nullopt : std::optional(*found);
}

} // namespace mfx
