#include "e2e/hunts/PictureHuntWorld.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace e2e::hunt {

namespace {

constexpr std::uint64_t kMemory = std::uint64_t{64} << 20U;
constexpr std::uint64_t kImage = std::uint64_t{16} << 20U;

template <typename Kind>
Mounted held(const std::shared_ptr<Kind>& mount)
{
    return {mount, [mount] { mount->detach(); }, {}};
}

} // namespace

World::World()
{
    test::enterOwnMounts();
    fs::permissions(m_root, fs::perms::all);
    for (const char* folder : {"home", "run"})
        fs::create_directory(m_root / folder);
    fs::permissions(m_root / "run", fs::perms::owner_all);
    Disk& house = addMemoryDisk("house");
    m_floor = std::make_unique<test::BindMount>(house.shelf, m_root / "world");
}

World::~World()
{
    takeDown();
    m_steps.clear();
    m_floor.reset();
    m_disks.clear();
}

Disk& World::addDisk(const std::string& name)
{
    Disk& disk = m_disks.emplace_back();
    disk.name = name;
    disk.shelf = m_root / "vault" / name;
    return disk;
}

Disk& World::addMemoryDisk(const std::string& name)
{
    Disk& disk = addDisk(name);
    disk.memory = std::make_unique<test::MemoryMount>(disk.shelf, kMemory);
    return disk;
}

Disk& World::addImageDisk(const std::string& name)
{
    if (!test::canMountImages())
        return addMemoryDisk(name);
    Disk& disk = addDisk(name);
    disk.image = m_root / (name + ".image");
    disk.loop = std::make_unique<test::LoopMount>(disk.shelf, disk.image, kImage);
    return disk;
}

Disk* World::find(const std::string& name)
{
    const auto found = std::find_if(
        m_disks.begin(), m_disks.end(), [&name](const Disk& disk) { return disk.name == name; });
    return found == m_disks.end() ? nullptr : &*found;
}

std::size_t World::raise(MountStep step)
{
    step.now = step.raise(false);
    m_steps.push_back(std::move(step));
    return m_steps.size() - 1;
}

std::size_t World::bind(const Disk& disk, const fs::path& from, const fs::path& place)
{
    return raise({"bind of " + from.string() + " at " + place.string(),
        place,
        [from, place](bool) { return held(std::make_shared<test::BindMount>(from, place)); },
        {},
        disk.name});
}

std::size_t World::view(const std::string& mode,
    const fs::path& place,
    const std::vector<fs::path>& folders,
    const std::vector<std::string>& options,
    const std::vector<std::string>& quietOptions)
{
    std::string story = "view " + mode + " at " + place.string() + " of";
    for (const fs::path& folder : folders)
        story += ' ' + folder.string();
    for (const std::string& option : options)
        story += ' ' + option;
    return raise({story, place, [=](bool isQuiet) {
                      const auto mount = std::make_shared<test::OddMount>(
                          mode, place, folders, isQuiet ? quietOptions : options);
                      Mounted mounted = held(mount);
                      mounted.die = [mount] { mount->die(); };
                      return mounted;
                  }});
}

std::size_t World::overlay(const fs::path& place, const fs::path& lower, const Disk& upper)
{
    return raise({"overlay at " + place.string() + " over " + lower.string(),
        place,
        [place, lower, shelf = upper.shelf](bool) {
            return held(std::make_shared<test::OverlayMount>(
                place, lower, shelf / "upper", shelf / "work"));
        }});
}

std::size_t World::secondLook(const Disk& disk, const fs::path& place)
{
    flush();
    return raise({"second look at " + disk.image.string() + " at " + place.string(),
        place,
        [place, image = disk.image](
            bool) { return held(std::make_shared<test::LoopMount>(place, image, kImage, true)); }});
}

void World::bindForNow(const fs::path& from, const fs::path& place)
{
    m_passing.push_back(std::make_unique<test::BindMount>(from, place));
}

bool World::detach(std::size_t number)
{
    try {
        m_steps[number].now.detach();
        return true;
    } catch (const std::runtime_error&) {
        return false; // what it lies in went before
    }
}

bool World::die(std::size_t number)
{
    MountStep& step = m_steps[number];
    Disk* const disk = find(step.disk);
    if (step.now.die)
        step.now.die();
    else if (disk && disk->loop && !disk->isDead)
        disk->loop->die();
    else
        return false;
    if (!step.now.die)
        disk->isDead = true;
    return true;
}

void World::flush() const
{
    for (const Disk& disk : m_disks) {
        const int folder = disk.loop ? ::open(disk.shelf.c_str(), O_RDONLY | O_CLOEXEC) : -1;
        if (folder >= 0) {
            ::syncfs(folder);
            ::close(folder);
        }
    }
}

// The last one first: some lie in others.
void World::takeDown()
{
    m_passing.clear();
    for (auto step = m_steps.rbegin(); step != m_steps.rend(); ++step)
        step->now = {};
}

void World::restore()
{
    takeDown();
    for (Disk& disk : m_disks) {
        if (std::exchange(disk.isDead, false)) {
            disk.loop.reset();
            disk.loop = std::make_unique<test::LoopMount>(disk.shelf, disk.image, kImage);
        }
    }
    flush(); // for those that look twice
    for (MountStep& step : m_steps)
        step.now = step.raise(true);
}

} // namespace e2e::hunt
