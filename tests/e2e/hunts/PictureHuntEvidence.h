// What all disks of a round hold at one moment, looked at on their shelves: which bytes lie where,
// and how many files of their own hold them.
#pragma once

#include "e2e/hunts/PictureHuntWorld.h"

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include <sys/types.h>

namespace e2e::hunt {

struct Found {
    const Disk* disk;
    fs::path path;
    dev_t device;
    ino_t inode;
};

class Evidence {
public:
    explicit Evidence(const World& world);

    // Whole copies of these bytes that last: what lies in work folders or under a copier's
    // temporary name is none. A DNG that has the bytes in it is one.
    const std::vector<Found>& copiesOf(const std::string& bytes) const;

    // All files, with their bytes.
    const std::map<fs::path, std::string>& files() const { return m_files; }

private:
    void look(const Disk& disk);
    void add(const Disk& disk, const fs::path& path);

    std::unordered_map<std::string, std::vector<Found>> m_copies;
    std::map<fs::path, std::string> m_files;
};

// Of one disk or folder, as mfx leaves it in the middle of its work.
bool isLeftover(const fs::path& path);

} // namespace e2e::hunt
