#include "mfx/engine/card/Sources.h"

#include "platform/common/files/FileStatus.h"
#include "platform/common/files/MountedVolumes.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace mfx {

namespace fs = std::filesystem;

namespace {

// By the folders that cameras make: photos, movies of two kinds. A disk with "DCIM" on it, a
// telephone's say, is a source as well.
bool isCard(const std::string& folder)
{
    for (const char* name : {"DCIM", "PRIVATE", "MP_ROOT"}) {
        std::error_code error;
        if (fs::is_directory(fs::path(folder) / name, error))
            return true;
    }
    return false;
}

std::string nameOf(const Pt::MountedVolume& volume)
{
    if (!volume.label.empty())
        return Pt::displayName(volume.label);
    const std::string last = fs::path(volume.folder).filename().string();
    return Pt::displayName(last.empty() ? volume.folder : last);
}

// Cards out of one packet have the same label, and each must be told from the other.
std::string unusedName(const std::string& name, const std::vector<MediaSource>& sources)
{
    const auto isUsed = [&sources](const std::string& wanted) {
        return std::any_of(sources.begin(), sources.end(), [&wanted](const MediaSource& source) {
            return source.name == wanted;
        });
    };
    std::string unused = name;
    for (int number = 2; isUsed(unused); ++number)
        unused = name + '-' + std::to_string(number);
    return unused;
}

} // namespace

// A volume that is mounted at several places is listed once, at the first of them.
std::vector<MediaSource> findSources()
{
    std::vector<MediaSource> sources;
    std::set<std::pair<std::uint64_t, std::uint64_t>> seen; // device and inode of the top folder
    for (const Pt::MountedVolume& volume : Pt::mountedVolumes()) {
        std::error_code error;
        const auto top = Pt::fileStatus(volume.folder, error);
        if (!top || !isCard(volume.folder) || !seen.insert({top->device, top->inode}).second)
            continue;
        sources.push_back({unusedName(nameOf(volume), sources), volume.folder});
    }
    return sources;
}

// A folder before a name: what is in the working folder is nearer than a card that happens to have
// this label.
std::optional<MediaSource> resolveSource(const std::string& text)
{
    std::error_code error;
    if (fs::is_directory(text, error)) {
        const fs::path path = fs::absolute(text).lexically_normal();
        const fs::path last = path.has_filename() ? path.filename() : path.parent_path().filename();
        return MediaSource{Pt::displayName(last.empty() ? "/" : last.string()), path.string()};
    }
    for (MediaSource& source : findSources())
        if (source.name == text)
            return std::move(source);
    return std::nullopt;
}

} // namespace mfx
