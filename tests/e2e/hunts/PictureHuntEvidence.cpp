#include "e2e/hunts/PictureHuntEvidence.h"

#include "e2e/hunts/PictureHuntCard.h"

#include <algorithm>

#include <sys/stat.h>

namespace e2e::hunt {

namespace {

// The next run removes what is there.
bool isPassing(const fs::path& path)
{
    const bool isStaged = path.parent_path().parent_path().filename() == ".mfxdownload";
    return isStaged || path.filename().string().starts_with(".unfinished-");
}

} // namespace

bool isLeftover(const fs::path& path)
{
    const std::string name = path.filename().string();
    return name == ".mfxdownload" || name == ".mfxdelete" || name.starts_with(".unfinished-");
}

Evidence::Evidence(const World& world)
{
    for (const Disk& disk : world.disks())
        look(disk);
}

void Evidence::look(const Disk& disk)
{
    std::error_code error;
    fs::recursive_directory_iterator entry(disk.shelf, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error))
        if (entry->is_regular_file(error) && !entry->is_symlink(error))
            add(disk, entry->path());
}

void Evidence::add(const Disk& disk, const fs::path& path)
{
    static const std::string kDNG = "DNG of ";
    struct stat status { };
    if (::stat(path.c_str(), &status) != 0)
        return;
    const std::string& bytes = m_files.emplace(path, readFile(path)).first->second;
    if (bytes.empty() || isPassing(path))
        return;
    const Found found{&disk, path, status.st_dev, status.st_ino};
    m_copies[bytes].push_back(found);
    if (bytes.starts_with(kDNG))
        m_copies[bytes.substr(kDNG.size())].push_back(found);
}

const std::vector<Found>& Evidence::copiesOf(const std::string& bytes) const
{
    static const std::vector<Found> kNone;
    const auto found = m_copies.find(bytes);
    return found == m_copies.end() ? kNone : found->second;
}

} // namespace e2e::hunt
