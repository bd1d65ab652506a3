// The disks of one round of the hunt, and what is mounted of them where the program sees it.
//
// A disk's shelf, in a vault that the program is never told of, shows what the disk holds at any
// time, whatever was detached, covered or killed. The program sees bound folders and views below
// `world`. Steps are mounted in their order and can be put right again. One thread.
#pragma once

#include "support/TestFolder.h"
#include "support/disks/Mounts.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace e2e::hunt {

namespace fs = std::filesystem;

struct Disk {
    std::string name;
    fs::path shelf;
    fs::path image; // empty for a disk in memory
    std::unique_ptr<test::LoopMount> loop;
    std::unique_ptr<test::MemoryMount> memory;
    bool isDead = false;
};

// Something mounted, and the blows it can be dealt; an empty function where it cannot.
struct Mounted {
    std::shared_ptr<void> hold;
    std::function<void()> detach;
    std::function<void()> die;
};

struct MountStep {
    std::string story;
    fs::path place;
    std::function<Mounted(bool isQuiet)> raise; // quiet: nothing dies of itself
    Mounted now{};
    std::string disk{}; // that dies with it
};

class World {
public:
    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    fs::path root() const { return m_root; }
    fs::path at(const std::string& name) const { return m_root / "world" / name; }

    // The disk of all plain folders; what lies on it beneath mount points is seen on its shelf.
    Disk& house() { return m_disks.front(); }
    Disk& addMemoryDisk(const std::string& name);
    Disk& addImageDisk(const std::string& name);
    const std::list<Disk>& disks() const { return m_disks; }

    // Mounts at once. The number of the step.
    std::size_t bind(const Disk& disk, const fs::path& from, const fs::path& place);
    std::size_t view(const std::string& mode,
        const fs::path& place,
        const std::vector<fs::path>& folders,
        const std::vector<std::string>& options,
        const std::vector<std::string>& quietOptions);
    std::size_t overlay(const fs::path& place, const fs::path& lower, const Disk& upper);

    // The disk's image once more, which others write to: read-only.
    std::size_t secondLook(const Disk& disk, const fs::path& place);

    // Until all is restored.
    void bindForNow(const fs::path& from, const fs::path& place);

    std::size_t stepCount() const { return m_steps.size(); }
    const MountStep& step(std::size_t number) const { return m_steps[number]; }
    bool detach(std::size_t number); // false where it is out of reach
    bool die(std::size_t number); // false where it cannot

    // What was written so far is on the disks, whatever dies.
    void flush() const;

    // Dead disks can be read again; then all is mounted as it was, and quiet.
    void restore();

private:
    std::size_t raise(MountStep step);
    void takeDown();
    Disk& addDisk(const std::string& name);
    Disk* find(const std::string& name);

    const test::TestFolder m_folder; // removed last, when nothing is mounted in it any more
    const fs::path m_root{fs::canonical(m_folder.path())};
    std::list<Disk> m_disks;
    std::unique_ptr<test::BindMount> m_floor; // the house, as the program sees it
    std::vector<MountStep> m_steps;
    std::vector<std::unique_ptr<test::BindMount>> m_passing;
};

} // namespace e2e::hunt
