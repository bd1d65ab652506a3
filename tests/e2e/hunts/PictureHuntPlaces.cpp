#include "e2e/hunts/PictureHuntPlaces.h"

#include <algorithm>

namespace e2e::hunt {

bool isBelow(const fs::path& path, const fs::path& folder)
{
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first
        == folder.end();
}

const Disk& diskOf(const World& world, const fs::path& real)
{
    const auto found = std::find_if(world.disks().begin(),
        world.disks().end(),
        [&real](const Disk& disk) { return isBelow(real, disk.shelf); });
    return found == world.disks().end() ? world.disks().front() : *found;
}

Place PlaceMaker::makeOwn(const std::string& role)
{
    static const std::vector<std::string> kKinds{"plain",
        "plain",
        "memory",
        "memory",
        "memory",
        "image",
        "image",
        "mirror",
        "pool",
        "forgetful",
        "cached",
        "dying",
        "letters"};
    const std::string kind = m_draw.oneOf(kKinds);
    if (kind == "plain")
        return plain(role);
    return kind == "memory" || kind == "image" ? onDisk(role, kind) : view(role, kind);
}

Place PlaceMaker::plain(const std::string& role)
{
    const fs::path real = m_world.house().shelf / role;
    fs::create_directories(real);
    return {"plain", m_world.at(role), {real}, {}};
}

Place PlaceMaker::onDisk(const std::string& role, const std::string& kind)
{
    const Disk& disk = kind == "image" ? m_world.addImageDisk(role) : m_world.addMemoryDisk(role);
    const std::size_t step = m_world.bind(disk, disk.shelf, m_world.at(role));
    const std::string below = m_draw.chance(50) ? "pictures" : "";
    fs::create_directories(disk.shelf / below);
    return below.empty() ? Place{kind, m_world.at(role), {disk.shelf}, {step}}
                         : Place{kind, m_world.at(role) / below, {disk.shelf / below}, {step}};
}

std::vector<std::string> PlaceMaker::oddities()
{
    std::vector<std::string> options;
    for (const char* option : {"norename2=yes", "nolink=yes", "times=zero", "removed=hidden"})
        if (m_draw.chance(25))
            options.emplace_back(option);
    return options;
}

Place PlaceMaker::view(const std::string& role, const std::string& mode)
{
    std::vector<fs::path> shelves;
    for (std::size_t i = 0; i < (mode == "pool" ? 2U : 1U); ++i) {
        shelves.push_back(m_world.addMemoryDisk(role + std::to_string(i)).shelf / "branch");
        fs::create_directories(shelves.back());
    }
    const std::vector<std::string> quiet = oddities();
    std::vector<std::string> options = quiet;
    constexpr std::size_t kMaxBytes = 2'000'000;
    if (mode == "dying")
        options.push_back(
            (role == "card" ? "reads=" : "after=") + std::to_string(m_draw.below(kMaxBytes)));
    const std::size_t step = m_world.view(mode, m_world.at(role), shelves, options, quiet);
    return {mode, m_world.at(role), shelves, {step}};
}

Place PlaceMaker::makeAlias(const std::string& role, const Place& other)
{
    fs::create_directories(other.reals[0]); // an inner folder may be missing so far
    switch (m_draw.below(15)) {
    case 0:
        return {"same", other.path, other.reals, {}, false};
    case 1:
        return {"inner", other.path / "inner", {other.reals[0] / "inner"}, {}, false};
    case 2:
        return parentOf(other);
    case 3:
        return linkTo(role, other);
    case 4:
        return boundTo(role, other, other.reals[0]);
    case 5:
        return boundTo(role, other, other.reals[0] / "DCIM/100MFX");
    case 6:
        return viewOf(role, other);
    case 7:
    case 8:
        return overlayOf(role, other);
    case 9:
    case 10:
    case 11:
        return poolWith(role, other);
    case 12:
        return boundBelow(role, other);
    default:
        return siblingOf(role, other);
    }
}

Place PlaceMaker::parentOf(const Place& other)
{
    const bool isOnFloor = other.path.parent_path() == m_world.root() / "world";
    const fs::path real = isOnFloor ? m_world.house().shelf : other.reals[0].parent_path();
    return {"parent", other.path.parent_path(), {real}, {}, false};
}

Place PlaceMaker::linkTo(const std::string& role, const Place& other)
{
    const fs::path link = m_world.at(role + "-link");
    const std::string below = m_draw.chance(30) ? "DCIM" : "";
    fs::create_directory_symlink(below.empty() ? other.path : other.path / below, link);
    return {"link", link, {other.reals[0] / below}, {}, false};
}

Place PlaceMaker::boundTo(const std::string& role, const Place& other, const fs::path& real)
{
    fs::create_directories(real);
    const std::size_t step = m_world.bind(diskOf(m_world, real), real, m_world.at(role));
    return {real == other.reals[0] ? "bind" : "bind of sub-folder",
        m_world.at(role),
        {real},
        {step},
        false};
}

Place PlaceMaker::viewOf(const std::string& role, const Place& other)
{
    static const std::vector<std::string> kModes{"mirror", "forgetful", "cached"};
    const std::vector<std::string> options = oddities();
    const std::string mode = m_draw.oneOf(kModes);
    const std::size_t step =
        m_world.view(mode, m_world.at(role), {other.reals[0]}, options, options);
    return {mode + " of", m_world.at(role), {other.reals[0]}, {step}, false};
}

Place PlaceMaker::overlayOf(const std::string& role, const Place& other)
{
    const Disk& upper = m_world.addMemoryDisk(role + "-upper");
    const fs::path lower = m_draw.chance(50) ? other.reals[0] : other.reals[0] / "DCIM/100MFX";
    fs::create_directories(lower);
    const std::size_t step = m_world.overlay(m_world.at(role), lower, upper);
    return {"overlay", m_world.at(role), {upper.shelf / "upper"}, {step}, false};
}

Place PlaceMaker::poolWith(const std::string& role, const Place& other)
{
    const fs::path own = m_world.addMemoryDisk(role).shelf / "branch";
    fs::create_directories(own);
    fs::path shown = m_draw.chance(50) ? other.reals[0] : other.reals[0] / "DCIM/100MFX";
    fs::create_directories(shown);
    std::vector<std::string> options = oddities();
    std::vector<fs::path> branches{own, shown};
    if (m_draw.chance(50))
        options.emplace_back("unlink=first");
    if (m_draw.chance(50)) {
        branches = {shown, own};
        options.emplace_back("create=1");
    }
    const std::size_t step = m_world.view("pool", m_world.at(role), branches, options, options);
    return {"pool with", m_world.at(role), {own}, {step}, false};
}

// One folder more on the way there: another view, or another mount, of the disk that the other is
// on, in which it is found below.
Place PlaceMaker::boundBelow(const std::string& role, const Place& other)
{
    const Disk& disk = diskOf(m_world, other.reals[0]);
    const fs::path below = other.reals[0].lexically_relative(disk.shelf);
    const std::size_t step = m_draw.chance(50)
        ? m_world.bind(disk, disk.shelf, m_world.at(role))
        : m_world.view("mirror", m_world.at(role), {disk.shelf}, {}, {});
    return {"found below",
        (m_world.at(role) / below).lexically_normal(),
        {other.reals[0]},
        {step},
        false};
}

void PlaceMaker::addTrap(const Place& place, const Place& other)
{
    static const std::vector<std::string> kBelow{"2026", "a/b", "2026/2026-05-04", "DCIM/104MFX"};
    const fs::path trap = place.path / m_draw.oneOf(kBelow);
    const fs::path shown = m_draw.chance(50) ? other.reals[0] : other.reals[0] / "DCIM/100MFX";
    const std::size_t kind = m_draw.below(3);
    fs::create_directories(shown);
    fs::create_directories(kind == 2 ? trap.parent_path() : trap);
    if (kind == 0)
        m_world.bind(diskOf(m_world, shown), shown, trap);
    else if (kind == 1)
        m_world.view("mirror", trap, {shown}, {}, {});
    else
        fs::create_directory_symlink(shown, trap);
}

// A folder of its own on the other's disk.
Place PlaceMaker::siblingOf(const std::string& role, const Place& other)
{
    const Disk& disk = diskOf(m_world, m_draw.oneOf(other.reals));
    const fs::path real = disk.shelf / (role + "-sibling");
    fs::create_directories(real);
    const std::size_t step = m_world.bind(disk, real, m_world.at(role));
    return {"sibling", m_world.at(role), {real}, {step}, true};
}

} // namespace e2e::hunt
