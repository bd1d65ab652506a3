// A folder that stands for a card, made for one test and removed with it.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/card/ItemGroups.h"
#include "support/TestFolder.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace mfx::tests {

class TestCard {
public:
    enum class Device { kOfTests, kOther };

    // Another device than that of other test folders is one in memory.
    explicit TestCard(Device device = Device::kOfTests)
        : m_folder(device == Device::kOther ? "/dev/shm" : std::filesystem::temp_directory_path())
    {
    }

    const std::string& path() const { return m_path; }
    std::string path(const std::string& name) const { return m_path + '/' + name; }

    void addFolder(const std::string& name) const
    {
        std::filesystem::create_directories(path(name));
    }

    // Makes the folders on the way, too.
    void add(const std::string& name, const std::string& content = "x") const
    {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream file(path(name), std::ios::binary);
        file << content;
        if (!file)
            throw std::runtime_error("cannot write " + path(name));
    }

    // Seconds since 1970.
    void setFileTime(const std::string& name, std::int64_t seconds) const
    {
        const timespec time{seconds, 0};
        const timespec times[]{time, time};
        if (utimensat(AT_FDCWD, path(name).c_str(), times, 0) != 0)
            throw std::runtime_error("cannot set the time of " + path(name));
    }

    CardContents scan(const std::vector<std::string>& only = {}) const
    {
        ScanOptions options;
        options.only = NameFilter(only);
        return scanCard(m_path, options);
    }

private:
    const test::TestFolder m_folder;
    const std::string m_path{std::filesystem::canonical(m_folder.path()).native()};
};

// Paths of the items below the card, in the order of the scan.
inline std::vector<std::string> itemPaths(const CardContents& card)
{
    std::vector<std::string> paths;
    for (const MediaItem& item : card.items)
        paths.push_back(card.pathOf(item).substr(card.root.size() + 1));
    return paths;
}

// Names of the members of each group.
inline std::vector<std::vector<std::string>> groupNames(const CardContents& card)
{
    std::vector<std::vector<std::string>> names;
    for (const ItemGroup& group : groupItems(card)) {
        names.emplace_back();
        for (const std::uint32_t member : group.members)
            names.back().push_back(card.items[member].name);
    }
    return names;
}

// The folder of sample media with a file's part of the path; empty when there is none on this
// machine.
inline std::string samplePath(const std::string& name)
{
    const char* folder = std::getenv("MFX_SAMPLES");
    const std::string path = folder == nullptr ? std::string() : std::string(folder) + '/' + name;
    return !path.empty() && std::filesystem::exists(path) ? path : std::string();
}

} // namespace mfx::tests
