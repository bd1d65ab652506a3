#include "mfx/engine/SpacePlan.h"

#include "commandline/NameText.h"
#include "mfx/engine/CaptureDate.h"
#include "mfx/engine/TwinCheck.h"
#include "platform/common/FileStatus.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace mfx {

using namespace commandline;

namespace {

struct Needs {
    std::uint64_t target = 0;
    std::uint64_t backup = 0;
    std::uint64_t dng = 0; // on top, in the target
};

// Shares of a raw file's size by which its DNG may be larger, as measured on camera files.
std::uint64_t extraForDNG(std::uint64_t raw, const DNGSizes& sizes)
{
    return (sizes.uncompressed ? raw * 3 : raw / 2) + (sizes.embedsRaw ? raw : 0);
}

// Which items stand in their place already, by name and size.
struct Standing {
    explicit Standing(std::size_t items)
        : inTarget(items)
        , inBackup(items)
    {
    }

    std::vector<bool> inTarget;
    std::vector<bool> inBackup;
};

Needs needsOf(const CardContents& card,
    const DownloadRequest& request,
    const DNGSizes& sizes,
    const Standing& standing)
{
    Needs needs;
    std::uint64_t largestRaw = 0;
    for (std::size_t i = 0; i < card.items.size(); ++i) {
        const std::string& name = card.items[i].name;
        const std::uint64_t size = card.items[i].status.size;
        if (request.backupFolder && !standing.inBackup[i])
            needs.backup += size;
        if (standing.inTarget[i])
            continue;
        needs.target += size;
        const std::size_t stem = stemLength(name, [](std::string_view) { return false; });
        const bool isRaw = stem < name.size() && mediaKind(name.substr(stem + 1)) == MediaKind::Raw;
        if (!request.convertsToDNG || !isRaw)
            continue;
        needs.dng += extraForDNG(size, sizes);
        largestRaw = std::max(largestRaw, size); // stands beside its DNG for a while
    }
    needs.dng += largestRaw;
    return needs;
}

// Looks for items under their names and numbered forms of these; no file stands for two items.
class StandingFiles {
public:
    template <typename PathOf>
    bool take(std::uint64_t size, PathOf pathOf)
    {
        std::error_code error;
        for (std::uint64_t number = 0;; ++number) {
            const std::string path = pathOf(number);
            const auto there = Pt::fileStatus(path, error);
            if (!there)
                return false;
            if (there->kind == Pt::FileStatus::Kind::Regular && there->size == size
                && m_taken.insert(path).second)
                return true;
        }
    }

private:
    std::set<std::string> m_taken;
};

// None where the pattern gives no name: such a group fails in its turn.
std::optional<GroupTarget> targetOf(const CardContents& card,
    const ItemGroup& group,
    const DownloadRequest& request,
    std::uint64_t sequence)
{
    try {
        return groupTarget(card, group, groupCaptureDate(card, group), request.rules, sequence);
    } catch (const PatternError&) {
        return std::nullopt;
    }
}

Standing findStanding(const CardContents& card, const DownloadRequest& request)
{
    Standing standing(card.items.size());
    StandingFiles files;
    std::uint64_t sequence = request.firstSequence;
    for (const ItemGroup& group : TwinCheck(card).groups()) {
        const auto target = targetOf(card, group, request, sequence++);
        if (!target)
            continue;
        const std::string folder = target->subfolder().empty()
            ? request.target
            : request.target + '/' + target->subfolder();
        for (std::size_t i = 0; i < group.members.size(); ++i) {
            const std::uint32_t item = group.members[i];
            const std::uint64_t size = card.items[item].status.size;
            standing.inTarget[item] = files.take(size,
                [&](std::uint64_t number) { return folder + '/' + target->fileName(i, number); });
        }
    }
    for (std::size_t i = 0; request.backupFolder && i < card.items.size(); ++i) {
        const std::string name = displayName(card.items[i].name);
        const std::size_t stem = stemLength(name, [](std::string_view) { return false; });
        standing.inBackup[i] = files.take(card.items[i].status.size, [&](std::uint64_t number) {
            return *request.backupFolder + '/' + numberedStem(name.substr(0, stem), number)
                + name.substr(stem);
        });
    }
    return standing;
}

std::optional<SpaceShortage> compare(const DownloadRequest& request, const Needs& needs)
{
    std::vector<SpaceNeed> all{{request.target, needs.target + needs.dng}};
    if (request.backupFolder)
        all.push_back({*request.backupFolder, needs.backup});
    return findShortage(all);
}

} // namespace

std::optional<SpaceShortage> findShortage(
    const CardContents& card, const DownloadRequest& request, const DNGSizes& dng)
{
    auto shortage = compare(request, needsOf(card, request, dng, Standing(card.items.size())));
    if (shortage)
        shortage = compare(request, needsOf(card, request, dng, findStanding(card, request)));
    return shortage;
}

} // namespace mfx
