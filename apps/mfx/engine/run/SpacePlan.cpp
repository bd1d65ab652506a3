#include "mfx/engine/run/SpacePlan.h"

#include "mfx/engine/card/TwinCheck.h"
#include "mfx/engine/dates/CaptureDate.h"
#include "mfx/engine/dng/DNGSearch.h"
#include "mfx/engine/names/NumberedFiles.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace mfx {

namespace {

struct Needs {
    std::uint64_t target = 0;
    std::uint64_t backup = 0;
    std::uint64_t dng = 0; // on top, in the target
};

// Shares of a raw file's size by which its DNG may be larger, as measured on camera files: the
// mosaic is as large as a compressed raw file has it, or up to three times that without
// compression, and interpolated colours take three times as much. A full preview is a sixth.
std::uint64_t extraForDNG(std::uint64_t raw, const DNGSizes& sizes)
{
    const std::uint64_t mosaic = sizes.uncompressed ? raw * 3 : raw;
    return (sizes.linear ? mosaic * 3 : mosaic) - raw + raw / 2 + (sizes.embedsRaw ? raw : 0);
}

// Which items are in their place already, by name and size. That is a guess, and a cheap one:
// nothing is read. Where it is wrong, the run finds the disk full in the middle, and loses nothing
// by it.
struct Standing {
    explicit Standing(std::size_t items)
        : inTarget(items)
        , inBackup(items)
    {
    }

    std::vector<bool> inTarget;
    std::vector<bool> inBackup;
};

bool isRaw(const std::string& name)
{
    const std::size_t stem = stemLength(name, [](std::string_view) { return false; });
    return stem < name.size() && mediaKind(name.substr(stem + 1)) == MediaKind::kRaw;
}

// The DNG is made beside its raw file, which goes when the DNG is verified: for a while both are
// there, one pair at a time, so that the largest raw file is needed once on top of all.
Needs needsOf(const CardContents& card,
    const DownloadRequest& request,
    const DNGSizes& sizes,
    const Standing& standing)
{
    Needs needs;
    std::uint64_t largestRaw = 0;
    for (std::size_t i = 0; i < card.items.size(); ++i) {
        const std::uint64_t size = card.items[i].status.size;
        if (request.backupFolder && !standing.inBackup[i])
            needs.backup += size;
        if (standing.inTarget[i])
            continue;
        needs.target += size;
        if (!request.convertsToDNG || !isRaw(card.items[i].name))
            continue;
        needs.dng += extraForDNG(size, sizes);
        largestRaw = std::max(largestRaw, size);
    }
    needs.dng += largestRaw;
    return needs;
}

// Looks for items under their names and numbered forms of these; no file stands for two items.
class StandingFiles {
public:
    // With a pattern that numbers, `allNumbers` knows all names that it gives.
    explicit StandingFiles(std::optional<NumberMatcher> allNumbers)
        : m_allNumbers(std::move(allNumbers))
    {
    }

    template <typename PathOf>
    bool take(std::uint64_t size, PathOf pathOf)
    {
        std::error_code error;
        for (std::uint64_t number = 0;; ++number) {
            const std::string path = pathOf(number);
            const auto there = Pt::fileStatus(path, error);
            if (!there)
                return false;
            if (there->kind == Pt::FileStatus::Kind::kRegular && there->size == size
                && m_taken.insert(path).second)
                return true;
        }
    }

    // A DNG in its place, by what its record tells of the size.
    template <typename PathOf>
    bool takeDNG(std::uint64_t size, PathOf pathOf)
    {
        std::error_code error;
        for (std::uint64_t number = 0;; ++number) {
            const std::string path =
                std::filesystem::path(pathOf(number)).replace_extension("dng").string();
            if (!Pt::fileStatus(path, error))
                return false;
            if (originalSizeIn(path) == size && m_taken.insert(path).second)
                return true;
        }
    }

    // Under whatever number.
    bool takeNumbered(std::uint64_t size,
        const std::string& folder,
        const std::string& extension,
        const NumberMatcher& names)
    {
        const auto [entry, isNew] = m_numbered.try_emplace(folder);
        if (isNew)
            entry->second.read(folder, *m_allNumbers);
        const std::vector<std::string> stems = entry->second.stemsOf(size, extension, names);
        return std::any_of(stems.begin(), stems.end(), [&](const std::string& stem) {
            return m_taken.insert(folder + '/' + stem + '.' + extension).second;
        });
    }

private:
    const std::optional<NumberMatcher> m_allNumbers;
    std::set<std::string> m_taken;
    std::map<std::string, NumberedFiles> m_numbered; // by folder
};

// What the members of a group would be called.
struct GroupNames {
    GroupTarget target;
    std::optional<NumberMatcher> numbered; // where {seq} makes them differ
};

// None where the pattern gives no name: such a group fails in its turn.
std::optional<GroupNames> namesOf(
    const CardContents& card, const ItemGroup& group, const DownloadRequest& request)
try {
    const NamingRules& rules = request.rules;
    const CaptureDate date = groupCaptureDate(card, group);
    GroupNames names{groupTarget(card, group, date, rules, request.firstSequence), std::nullopt};
    if (rules.useNumbers())
        names.numbered = rules.rename->numberMatcher(nameFields(card, group, date, 0));
    return names;
} catch (const PatternError&) {
    return std::nullopt;
}

void findGroupInTarget(const CardContents& card,
    const DownloadRequest& request,
    const ItemGroup& group,
    const GroupNames& names,
    StandingFiles& files,
    Standing& found)
{
    const GroupTarget& target = names.target;
    const std::string folder =
        target.subfolder().empty() ? request.target : request.target + '/' + target.subfolder();
    for (std::size_t i = 0; i < group.members.size(); ++i) {
        const std::uint32_t item = group.members[i];
        const std::uint64_t size = card.items[item].status.size;
        const auto pathOf = [&](std::uint64_t number) {
            return folder + '/' + target.fileName(i, number);
        };
        found.inTarget[item] = names.numbered
            ? files.takeNumbered(size, folder, target.extension(i), *names.numbered)
            : files.take(size, pathOf);
        if (!found.inTarget[item] && request.convertsToDNG && isRaw(card.items[item].name))
            found.inTarget[item] = files.takeDNG(size, pathOf);
    }
}

void findInTarget(
    const CardContents& card, const DownloadRequest& request, StandingFiles& files, Standing& found)
{
    for (const ItemGroup& group : TwinCheck(card).groups())
        if (const auto names = namesOf(card, group, request))
            findGroupInTarget(card, request, group, *names, files, found);
}

// By the names that the sink gives in the backup: the device's own, numbered from 1.
void findInBackup(
    const CardContents& card, const std::string& folder, StandingFiles& files, Standing& found)
{
    for (std::size_t i = 0; i < card.items.size(); ++i) {
        const std::string name = Pt::displayName(card.items[i].name);
        const std::size_t stem = stemLength(name, [](std::string_view) { return false; });
        found.inBackup[i] = files.take(card.items[i].status.size, [&](std::uint64_t number) {
            return folder + '/' + numberedStem(name.substr(0, stem), number) + name.substr(stem);
        });
    }
}

Standing findStanding(const CardContents& card, const DownloadRequest& request)
{
    Standing standing(card.items.size());
    StandingFiles files(request.rules.useNumbers()
            ? std::optional(request.rules.rename->numberMatcher())
            : std::nullopt);
    findInTarget(card, request, files, standing);
    if (request.backupFolder)
        findInBackup(card, *request.backupFolder, files, standing);
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

// In two steps: where all of the card fits, nobody has to look for what is there already, which
// means to date and name each group and so to read into each file.
std::optional<SpaceShortage> findShortage(
    const CardContents& card, const DownloadRequest& request, const DNGSizes& dng)
{
    auto shortage = compare(request, needsOf(card, request, dng, Standing(card.items.size())));
    if (shortage)
        shortage = compare(request, needsOf(card, request, dng, findStanding(card, request)));
    return shortage;
}

} // namespace mfx
