#include "mfx/engine/saving/TargetSpot.h"

#include "platform/common/files/FileStatus.h"

#include <algorithm>

namespace mfx {

namespace {

bool holdsSameBytes(MemberWork& member, const std::string& path, const Pt::FileStatus& there)
{
    std::error_code error;
    if (there.kind != Pt::FileStatus::Kind::kRegular)
        return false;
    const auto source = Pt::fileStatus(member.source, error);
    if (source && source->device == there.device && source->inode == there.inode)
        return false;
    if (!member.digest) {
        if (!source || source->size != there.size)
            return false;
        member.digest = Pt::digestOfFile(member.source, error);
    }
    if (!member.digest || member.digest->size != there.size)
        return false;
    return Pt::digestOfFile(path, error) == member.digest;
}

// In its final folder a group takes what holds its bytes; the download judges it later.
bool anyCopy(std::size_t, const Pt::FileStatus&)
{
    return false;
}

// Where the names of a group are looked for.
struct Place {
    const std::string& folder;
    const GroupTarget& names;
    const NoCopyTest& isNoCopy;
};

TargetSpot look(GroupWork& work, const Place& place, std::uint64_t number)
{
    TargetSpot spot;
    spot.number = number;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const std::string path = place.folder + '/' + place.names.fileName(i, number);
        std::error_code error;
        const auto there = Pt::fileStatus(path, error);
        if (!there && error != std::errc::no_such_file_or_directory) {
            spot.error = error;
            return spot;
        }
        const bool isNoCopy = there && place.isNoCopy(i, *there);
        if (!there)
            spot.occupants.push_back(Occupant::kNone);
        else if (!isNoCopy && holdsSameBytes(work.members[i], path, *there))
            spot.occupants.push_back(Occupant::kSameBytes);
        else
            spot.occupants.push_back(Occupant::kOther);
    }
    return spot;
}

template <typename StemTest>
TargetSpot find(GroupWork& work, const Place& place, StemTest isTaken)
{
    for (std::uint64_t number = 0;; ++number) {
        TargetSpot spot = look(work, place, number);
        if (spot.error) // no further form would tell more
            return spot;
        if (std::count(spot.occupants.begin(), spot.occupants.end(), Occupant::kOther) != 0)
            continue;
        if (spot.isFree() && isTaken(place.names.fileName(0, number)))
            continue;
        return spot;
    }
}

} // namespace

bool TargetSpot::isFree() const
{
    return !error
        && std::count(occupants.begin(), occupants.end(), Occupant::kNone)
        == static_cast<std::ptrdiff_t>(occupants.size());
}

bool TargetSpot::holdsAll() const
{
    return !error
        && std::count(occupants.begin(), occupants.end(), Occupant::kSameBytes)
        == static_cast<std::ptrdiff_t>(occupants.size());
}

TargetSpot findSpot(GroupWork& work, const StemRegister& stems)
{
    return findSpotIn(work.folder->ownPath, *work.target, work, stems, anyCopy);
}

TargetSpot findSpotIn(const std::string& folder,
    const GroupTarget& names,
    GroupWork& work,
    const StemRegister& stems,
    const NoCopyTest& isNoCopy)
{
    return find(work, {folder, names, isNoCopy}, [&stems](const std::string& name) {
        return stems.isTaken(name);
    });
}

TargetSpot findSpot(GroupWork& work)
{
    const NoCopyTest test = anyCopy;
    return find(
        work, {work.folder->ownPath, *work.target, test}, [](const std::string&) { return false; });
}

} // namespace mfx
