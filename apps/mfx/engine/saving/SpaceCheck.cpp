#include "mfx/engine/saving/SpaceCheck.h"

#include "mfx/engine/saving/FolderStatus.h"
#include "mfx/texts/Texts.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>

namespace mfx {

namespace fs = std::filesystem;

namespace {

constexpr std::array kUnits{"$$$/Mfx/Size/Bytes=%1 bytes",
    "$$$/Mfx/Size/Kilobytes=%1 kB",
    "$$$/Mfx/Size/Megabytes=%1 MB",
    "$$$/Mfx/Size/Gigabytes=%1 GB",
    "$$$/Mfx/Size/Terabytes=%1 TB"};

struct Volume {
    std::string folder;
    std::uint64_t needed = 0;
};

// The folder itself or the nearest one above it that is there: what will be made below it takes its
// room, for a new folder begins on the file system of the one that it is made in.
fs::path existing(fs::path folder)
{
    while (!deviceOf(folder.string()) && folder.has_relative_path())
        folder = folder.parent_path();
    return folder;
}

// Target and backup may be two folders of one disk, where each would fit alone.
std::map<std::uint64_t, Volume> volumesOf(const std::vector<SpaceNeed>& needs)
{
    std::map<std::uint64_t, Volume> volumes;
    for (const SpaceNeed& need : needs) {
        const fs::path folder = existing(need.folder);
        const auto device = deviceOf(folder.string());
        if (!device)
            continue;
        Volume& volume = volumes[*device];
        if (volume.folder.empty())
            volume.folder = folder.string();
        volume.needed += need.bytes;
    }
    return volumes;
}

// With one decimal. Which mark stands before it is a matter of the texts' language; numbers are
// written with points, whatever the locale.
std::string numberText(double value)
{
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%.1f", value);
    const std::string number = digits.data();
    const std::size_t point = number.find('.');
    return text("$$$/Mfx/Size/Decimal=%1.%2", {number.substr(0, point), number.substr(point + 1)});
}

} // namespace

// A file system that has no capacity to tell of (some network shares) does not tell its free space
// either: the run begins, and ends in good order should the disk be full.
std::optional<SpaceShortage> findShortage(const std::vector<SpaceNeed>& needs)
{
    for (const auto& [device, volume] : volumesOf(needs)) {
        std::error_code error;
        const fs::space_info space = fs::space(volume.folder, error);
        const bool tells = !error && space.capacity != 0;
        if (tells && volume.needed > space.available)
            return SpaceShortage{volume.folder, volume.needed, space.available};
    }
    return std::nullopt;
}

std::string sizeText(std::uint64_t bytes)
{
    constexpr double kStep = 1000;
    std::size_t unit = 0;
    auto value = static_cast<double>(bytes);
    while (value >= kStep && unit + 1 < kUnits.size()) {
        value /= kStep;
        ++unit;
    }
    if (unit == 0)
        return countedText(bytes, "$$$/Mfx/Size/BytesOne=%1 byte", kUnits[0]);
    return text(kUnits[unit], {numberText(value)});
}

} // namespace mfx
