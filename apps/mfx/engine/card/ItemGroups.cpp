#include "mfx/engine/card/ItemGroups.h"

#include "platform/common/text/NameText.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <utility>

namespace mfx {

namespace {

std::string_view extensionOf(std::string_view name, std::size_t stemBytes)
{
    return name.size() > stemBytes ? name.substr(stemBytes + 1) : std::string_view();
}

// The extension as the saved files of a file system that folds case would be compared.
std::string comparedExtension(std::string_view name, std::size_t stemBytes)
{
    return Pt::asciiLower(Pt::displayName(extensionOf(name, stemBytes)));
}

// Groups the items [begin, end), which all lie in one folder and are sorted by name.
class FolderGroups {
public:
    FolderGroups(const CardContents& card, std::uint32_t begin, std::uint32_t end);

    std::vector<ItemGroup> take();

private:
    bool contains(std::string_view name) const;
    ItemGroup& groupFor(std::string_view name, std::size_t stemBytes);
    bool hasExtension(const ItemGroup& group, const std::string& extension) const;
    void arrange(ItemGroup& group) const;

    const CardContents& m_card;
    std::uint32_t m_begin;
    std::uint32_t m_end;
    std::vector<ItemGroup> m_groups;
    std::map<std::string_view, std::vector<std::size_t>> m_byStem; // indexes into m_groups
};

FolderGroups::FolderGroups(const CardContents& card, std::uint32_t begin, std::uint32_t end)
    : m_card(card)
    , m_begin(begin)
    , m_end(end)
{
}

std::vector<ItemGroup> FolderGroups::take()
{
    for (std::uint32_t item = m_begin; item < m_end; ++item) {
        const std::string& name = m_card.items[item].name;
        const std::size_t bytes =
            stemLength(name, [this](std::string_view other) { return contains(other); });
        groupFor(name, bytes).members.push_back(item);
    }
    for (ItemGroup& group : m_groups)
        arrange(group);
    return std::move(m_groups);
}

// By halving: the items of a folder are sorted by name.
bool FolderGroups::contains(std::string_view name) const
{
    const auto first = m_card.items.begin() + m_begin;
    const auto last = m_card.items.begin() + m_end;
    const auto found =
        std::lower_bound(first, last, name, [](const MediaItem& item, std::string_view wanted) {
            return item.name < wanted;
        });
    return found != last && found->name == name;
}

// The first group of the stem in which the extension is still free. Two members that differ in the
// case of their extension only would be one file on a disk that folds case, and one of them would
// be lost.
ItemGroup& FolderGroups::groupFor(std::string_view name, std::size_t stemBytes)
{
    const std::string extension = comparedExtension(name, stemBytes);
    std::vector<std::size_t>& groups = m_byStem[name.substr(0, stemBytes)];
    for (const std::size_t group : groups)
        if (!hasExtension(m_groups[group], extension))
            return m_groups[group];
    groups.push_back(m_groups.size());
    m_groups.push_back({{}, static_cast<std::uint32_t>(stemBytes), {}});
    return m_groups.back();
}

bool FolderGroups::hasExtension(const ItemGroup& group, const std::string& extension) const
{
    return std::any_of(group.members.begin(), group.members.end(), [&](std::uint32_t member) {
        return comparedExtension(m_card.items[member].name, group.stemBytes) == extension;
    });
}

// Stable: within a kind the order by name stays.
void FolderGroups::arrange(ItemGroup& group) const
{
    const auto kindOf = [&](std::uint32_t member) {
        return mediaKind(extensionOf(m_card.items[member].name, group.stemBytes));
    };
    std::stable_sort(group.members.begin(),
        group.members.end(),
        [&kindOf](std::uint32_t a, std::uint32_t b) { return kindOf(a) < kindOf(b); });
}

// Of the group's member: as it was read before, or read now.
CaptureDate memberDate(const CardContents& card, const ItemGroup& group, std::size_t member)
{
    return member < group.ownDates.size()
        ? group.ownDates[member]
        : ownCaptureDate(card.pathOf(card.items[group.members[member]]));
}

} // namespace

std::vector<ItemGroup> groupItems(const CardContents& card)
{
    std::vector<ItemGroup> groups;
    const auto count = static_cast<std::uint32_t>(card.items.size());
    for (std::uint32_t begin = 0, end = 0; begin < count; begin = end) {
        while (end < count && card.items[end].folder == card.items[begin].folder)
            ++end;
        std::vector<ItemGroup> found = FolderGroups(card, begin, end).take();
        std::move(found.begin(), found.end(), std::back_inserter(groups));
    }
    return groups;
}

std::string_view groupStem(const CardContents& card, const ItemGroup& group)
{
    return std::string_view(card.items[group.members.front()].name).substr(0, group.stemBytes);
}

std::string_view memberExtension(
    const CardContents& card, const ItemGroup& group, std::size_t member)
{
    return extensionOf(card.items[group.members[member]].name, group.stemBytes);
}

// One date for all members, so that a raw file and its JPEG go into the same sub-folder though the
// movie beside them ended after midnight.
CaptureDate groupCaptureDate(const CardContents& card, const ItemGroup& group)
{
    bool readFailed = false;
    for (std::size_t member = 0; member < group.members.size(); ++member) {
        CaptureDate date = memberDate(card, group, member);
        readFailed = readFailed || date.readFailed;
        if (date.moment) {
            date.readFailed = readFailed;
            return date;
        }
    }
    CaptureDate date = fileTimeDate(card.items[group.members.front()].status);
    date.readFailed = readFailed;
    return date;
}

} // namespace mfx
