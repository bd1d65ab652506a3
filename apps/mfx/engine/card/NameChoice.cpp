#include "mfx/engine/card/NameChoice.h"

#include "mfx/engine/card/MediaItem.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <functional>
#include <unordered_map>

namespace mfx {

namespace {

struct File {
    std::string_view name;
    std::string_view extension;
    MediaKind kind = MediaKind::kOther;
    bool isCompanion = false; // thumbnail or small version
    bool isTaken = false;
};

using Files = std::vector<File>; // of one stem

File fileOf(std::string_view name, std::size_t stem, bool isTaken)
{
    File file{name, name.substr(std::min(stem + 1, name.size()))};
    file.kind = mediaKind(file.extension);
    file.isCompanion = isMovieCompanion(file.extension);
    file.isTaken = isTaken;
    return file;
}

// The views are of `names`, which outlives the choice.
std::unordered_map<std::string_view, Files> filesByStem(
    const NameFilter& only, const std::vector<std::string>& names)
{
    const std::unordered_set<std::string_view> all(names.begin(), names.end());
    const auto isThere = [&all](std::string_view name) { return all.contains(name); };
    std::unordered_map<std::string_view, Files> files;
    for (const std::string& name : names) {
        const std::string_view whole = name;
        const std::size_t stem = stemLength(name, isThere);
        files[whole.substr(0, stem)].push_back(fileOf(whole, stem, only.accepts(name)));
    }
    return files;
}

bool isChained(const File& file)
{
    return file.kind == MediaKind::kSidecar && file.extension.find('.') != std::string_view::npos;
}

bool isFollower(const File& file)
{
    return file.kind == MediaKind::kSidecar || file.kind == MediaKind::kAudio || file.isCompanion;
}

bool hasMovie(const Files& files)
{
    return std::any_of(files.begin(), files.end(), [](const File& file) {
        return file.kind == MediaKind::kMovie;
    });
}

// A leader brings what stands behind it in the order of kinds. A movie's thumbnail goes with the
// movie alone where there is one: a photo of the same stem was taken by chance.
bool brings(const File& leader, const File& follower, const Files& all)
{
    if (!leader.isTaken || leader.isCompanion || leader.kind >= follower.kind)
        return false;
    return !follower.isCompanion || leader.kind == MediaKind::kMovie || !hasMovie(all);
}

bool isParent(const File& parent, const File& chained)
{
    const std::string_view extension = chained.extension.substr(0, chained.extension.rfind('.'));
    return parent.isTaken && Pt::equalIgnoringAsciiCase(parent.extension, extension);
}

// Marks the followers that somebody brings; those who do are marked before.
void markFollowers(Files& files, const std::function<bool(const File&, const File&)>& isBrought)
{
    const Files before = files;
    for (File& file : files) {
        file.isTaken =
            file.isTaken || std::any_of(before.begin(), before.end(), [&](const File& leader) {
                return isBrought(leader, file);
            });
    }
}

} // namespace

NameChoice::NameChoice(const NameFilter& only, const std::vector<std::string>& names)
    : m_only(only)
{
    if (only.acceptsAll())
        return;
    for (auto& [stem, files] : filesByStem(only, names)) {
        markFollowers(files, [&all = files](const File& leader, const File& file) {
            return isFollower(file) && !isChained(file) && brings(leader, file, all);
        });
        // These come last: their parents may have been brought.
        markFollowers(files, [](const File& parent, const File& file) {
            return isChained(file) && isParent(parent, file);
        });
        for (const File& file : files)
            if (file.isTaken)
                m_taken.emplace(file.name);
    }
}

bool NameChoice::takes(const std::string& name) const
{
    return m_only.acceptsAll() || m_taken.contains(name);
}

} // namespace mfx
