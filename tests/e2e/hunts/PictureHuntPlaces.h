// Draws where card, target and backup lie: disks of their own, of every kind, and places that are
// part of one another under other names. One thread.
#pragma once

#include "e2e/hunts/PictureHuntDraw.h"
#include "e2e/hunts/PictureHuntWorld.h"

#include <string>
#include <vector>

namespace e2e::hunt {

struct Place {
    std::string kind;
    fs::path path; // as the program is told
    std::vector<fs::path> reals; // the folders on shelves that it is made of; new files: the first
    std::vector<std::size_t> steps; // mounts that it needs
    bool isOwn = true; // no part of another place
};

class PlaceMaker {
public:
    PlaceMaker(World& world, Draw& draw)
        : m_world(world)
        , m_draw(draw)
    {
    }

    // The folders of all are there when it returns.
    Place makeOwn(const std::string& role);
    Place makeAlias(const std::string& role, const Place& other);

    // Below the place, where pictures may be saved or found, the other one is shown.
    void addTrap(const Place& place, const Place& other);

private:
    Place plain(const std::string& role);
    Place onDisk(const std::string& role, const std::string& kind);
    Place view(const std::string& role, const std::string& mode);
    Place boundTo(const std::string& role, const Place& other, const fs::path& real);
    Place parentOf(const Place& other);
    Place linkTo(const std::string& role, const Place& other);
    Place viewOf(const std::string& role, const Place& other);
    Place overlayOf(const std::string& role, const Place& other);
    Place poolWith(const std::string& role, const Place& other);
    Place boundBelow(const std::string& role, const Place& other);
    Place siblingOf(const std::string& role, const Place& other);
    std::vector<std::string> oddities();

    World& m_world;
    Draw& m_draw;
};

// The disk on whose shelf this lies.
const Disk& diskOf(const World& world, const fs::path& real);

bool isBelow(const fs::path& path, const fs::path& folder);

} // namespace e2e::hunt
