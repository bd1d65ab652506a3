#include "mfx/engine/saving/TargetSpot.h"

#include "mfx/engine/dng/DNGSearch.h"
#include "platform/common/files/FileStatus.h"

#include <algorithm>

namespace mfx {

namespace {

// The digest of the member's source, read now where it was not before; nothing where that cannot be
// read. The sizes are compared first: a card is read through only for a file that may be a copy.
const std::optional<Pt::ContentDigest>& sourceDigest(
    MemberWork& member, const std::optional<Pt::FileStatus>& source, std::uint64_t wantedSize)
{
    std::error_code error;
    if (!member.digest && source && source->size == wantedSize)
        member.digest = Pt::digestOfFile(member.source, error);
    return member.digest;
}

bool holdsSameBytes(MemberWork& member, const std::string& path, const Pt::FileStatus& there)
{
    std::error_code error;
    if (there.kind != Pt::FileStatus::Kind::kRegular)
        return false;
    const auto source = Pt::fileStatus(member.source, error);
    // The original seen on another way has its bytes, of course, and is no copy of it.
    if (source && source->device == there.device && source->inode == there.inode)
        return false;
    const auto& digest = sourceDigest(member, source, there.size);
    return digest && digest->size == there.size && Pt::digestOfFile(path, error) == digest;
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
    bool countsDNGs = false;
};

// The DNG that stands for a member whose raw file would have this path; empty where none does.
std::string dngFor(MemberWork& member, const std::string& path)
{
    std::error_code error;
    const auto source = member.wantsDNG ? Pt::fileStatus(member.source, error) : std::nullopt;
    if (!source)
        return {};
    return findDNGOf(path, source->size, [&] {
        return sourceDigest(member, source, source->size);
    }).value_or(std::string());
}

// What stands under the member's name. An error is told and not taken for a free name: the move
// would fail, or a folder that answers again by then would get the picture a second time.
Occupant occupantOf(GroupWork& work,
    const Place& place,
    std::size_t member,
    const std::string& path,
    std::error_code& error)
{
    const auto there = Pt::fileStatus(path, error);
    if (!there) {
        if (error == std::errc::no_such_file_or_directory)
            error.clear();
        return Occupant::kNone;
    }
    const bool isNoCopy = place.isNoCopy(member, *there);
    return !isNoCopy && holdsSameBytes(work.members[member], path, *there) ? Occupant::kSameBytes
                                                                           : Occupant::kOther;
}

TargetSpot look(GroupWork& work, const Place& place, std::uint64_t number)
{
    TargetSpot spot;
    spot.number = number;
    for (std::size_t i = 0; i < work.members.size() && !spot.error; ++i) {
        const std::string path = place.folder + '/' + place.names.fileName(i, number);
        const Occupant occupant = occupantOf(work, place, i, path, spot.error);
        if (spot.error)
            break;
        const bool mayBeDNG = place.countsDNGs && occupant == Occupant::kNone;
        spot.dngs.push_back(mayBeDNG ? dngFor(work.members[i], path) : std::string());
        spot.occupants.push_back(spot.dngs.back().empty() ? occupant : Occupant::kDNG);
    }
    return spot;
}

// Ends at the first form that nobody has: there are as many numbers as a folder can have files.
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

bool TargetSpot::holds(std::size_t member) const
{
    return occupants[member] == Occupant::kSameBytes || occupants[member] == Occupant::kDNG;
}

bool TargetSpot::holdsAll() const
{
    if (error)
        return false;
    return std::all_of(occupants.begin(), occupants.end(), [](Occupant occupant) {
        return occupant == Occupant::kSameBytes || occupant == Occupant::kDNG;
    });
}

TargetSpot findSpot(GroupWork& work, const StemRegister& stems)
{
    const NoCopyTest test = anyCopy;
    return find(work,
        {work.folder->ownPath, *work.target, test, true},
        [&stems](const std::string& name) { return stems.isTaken(name); });
}

TargetSpot findSpotIn(const std::string& folder,
    const GroupTarget& names,
    GroupWork& work,
    const StemRegister& stems,
    const NoCopyTest& isNoCopy)
{
    return find(work, {folder, names, isNoCopy, false}, [&stems](const std::string& name) {
        return stems.isTaken(name);
    });
}

TargetSpot findSpot(GroupWork& work)
{
    const NoCopyTest test = anyCopy;
    return find(work, {work.folder->ownPath, *work.target, test, true}, [](const std::string&) {
        return false;
    });
}

} // namespace mfx
