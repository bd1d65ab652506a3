#include "mfx/engine/TargetSpot.h"

#include "platform/common/FileStatus.h"

#include <algorithm>

namespace mfx {

namespace {

bool holdsSameBytes(MemberWork& member, const std::string& path, const Pt::FileStatus& there)
{
    std::error_code error;
    if (there.kind != Pt::FileStatus::Kind::Regular)
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

using NoCopies = std::vector<std::optional<Pt::FileStatus>>;

bool isSameFile(const std::optional<Pt::FileStatus>& a, const Pt::FileStatus& b)
{
    return a && a->device == b.device && a->inode == b.inode;
}

// Where the names of a group are looked for.
struct Place {
    const std::string& folder;
    const GroupTarget& names;
    const NoCopies& noCopies; // none, or one for each member
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
        const bool isNoCopy =
            there && !place.noCopies.empty() && isSameFile(place.noCopies[i], *there);
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
    return findSpotIn(work.folder->ownPath, *work.target, work, stems, {});
}

TargetSpot findSpotIn(const std::string& folder,
    const GroupTarget& names,
    GroupWork& work,
    const StemRegister& stems,
    const std::vector<std::optional<Pt::FileStatus>>& noCopies)
{
    return find(work, {folder, names, noCopies}, [&stems](const std::string& name) {
        return stems.isTaken(name);
    });
}

TargetSpot findSpot(GroupWork& work)
{
    const NoCopies none;
    return find(
        work, {work.folder->ownPath, *work.target, none}, [](const std::string&) { return false; });
}

} // namespace mfx
