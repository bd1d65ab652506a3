#include "mfx/engine/SpacePlan.h"

#include "mfx/engine/CaptureDate.h"
#include "mfx/engine/ItemGroups.h"
#include "mfx/engine/NameText.h"
#include "platform/common/FileStatus.h"

#include <algorithm>

namespace mfx {

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

Needs needsOfAll(const CardContents& card, const DownloadRequest& request, const DNGSizes& sizes)
{
    Needs needs;
    std::uint64_t largestRaw = 0;
    for (const MediaItem& item : card.items) {
        needs.target += item.status.size;
        const std::size_t stem = stemLength(item.name, [](std::string_view) { return false; });
        const bool isRaw =
            stem < item.name.size() && mediaKind(item.name.substr(stem + 1)) == MediaKind::Raw;
        if (!request.convertsToDNG || !isRaw)
            continue;
        needs.dng += extraForDNG(item.status.size, sizes);
        largestRaw = std::max(largestRaw, item.status.size); // stands beside its DNG for a while
    }
    needs.dng += largestRaw;
    if (request.backupFolder)
        needs.backup = needs.target;
    return needs;
}

bool standsThere(const std::string& path, std::uint64_t size)
{
    std::error_code error;
    const auto there = Pt::fileStatus(path, error);
    return there && there->kind == Pt::FileStatus::Kind::Regular && there->size == size;
}

void leaveOutExisting(const CardContents& card, const DownloadRequest& request, Needs& needs)
{
    std::uint64_t sequence = request.firstSequence;
    for (const ItemGroup& group : groupItems(card)) {
        const GroupTarget target =
            groupTarget(card, group, groupCaptureDate(card, group), request.rules, sequence++);
        const std::string folder =
            target.subfolder().empty() ? request.target : request.target + '/' + target.subfolder();
        for (std::size_t i = 0; i < group.members.size(); ++i) {
            const MediaItem& item = card.items[group.members[i]];
            const std::uint64_t size = item.status.size;
            if (standsThere(folder + '/' + target.fileName(i, 0), size))
                needs.target -= size;
            if (request.backupFolder
                && standsThere(*request.backupFolder + '/' + displayName(item.name), size))
                needs.backup -= size;
        }
    }
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
    Needs needs = needsOfAll(card, request, dng);
    auto shortage = compare(request, needs);
    if (shortage) {
        leaveOutExisting(card, request, needs);
        shortage = compare(request, needs);
    }
    return shortage;
}

} // namespace mfx
