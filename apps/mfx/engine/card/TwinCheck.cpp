#include "mfx/engine/card/TwinCheck.h"

#include "platform/common/text/NameText.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace mfx {

namespace {

constexpr std::int64_t kTwinSeconds = 10; // a burst is written late, and clocks of sides differ

bool isExif(DateSource source)
{
    return source == DateSource::kExifOriginal || source == DateSource::kExifDigitized
        || source == DateSource::kExifImage;
}

bool areApart(const CaptureDate& a, const CaptureDate& b)
{
    // The date of an image's last change says nothing beside the date of a shot.
    if (!a.moment || !b.moment || a.source != b.source || !isExif(a.source))
        return false;
    return std::abs(clockSeconds(*a.moment) - clockSeconds(*b.moment)) > kTwinSeconds;
}

// A raw file may name its camera with blanks around or NULs behind, where the JPEG of the same shot
// does not.
std::string plainName(std::string_view name)
{
    std::string plain;
    std::copy_if(name.begin(), name.end(), std::back_inserter(plain), [](char c) {
        return c != ' ' && c != '\0';
    });
    return Pt::asciiLower(plain);
}

bool differ(const std::string& a, const std::string& b)
{
    const std::string plainA = plainName(a);
    const std::string plainB = plainName(b);
    return !plainA.empty() && !plainB.empty() && plainA != plainB;
}

bool areStrangers(const PhotoFacts& a, const PhotoFacts& b)
{
    return areApart(a.date, b.date) || differ(a.camera.make, b.camera.make)
        || differ(a.camera.model, b.camera.model);
}

using Sets = std::vector<std::size_t>; // for each photo the number of its set

// Which photos go together. Two raw files say nothing about each other.
Sets setsOf(const std::vector<PhotoFacts>& photos, std::size_t rawCount)
{
    Sets sets;
    for (std::size_t photo = 0; photo < photos.size(); ++photo) {
        const auto fits = [&](std::size_t set) {
            for (std::size_t other = 0; other < photo; ++other)
                if (sets[other] == set && photo >= rawCount
                    && areStrangers(photos[photo], photos[other]))
                    return false;
            return true;
        };
        std::size_t set = 0;
        while (!fits(set))
            ++set;
        sets.push_back(set);
    }
    return sets;
}

// Of a member that is no photo: the set of the photo that a chained sidecar names, else the first.
std::size_t setOfFollower(
    std::string_view extension, const std::vector<std::string_view>& photos, const Sets& sets)
{
    const std::size_t dot = extension.rfind('.');
    for (std::size_t photo = 0; dot != std::string_view::npos && photo < photos.size(); ++photo)
        if (Pt::equalIgnoringAsciiCase(photos[photo], extension.substr(0, dot)))
            return sets[photo];
    return 0;
}

} // namespace

// Parts of a group that was taken apart may begin with a later item than the group that follows:
// the order is made anew, since numbers are given in it.
std::vector<ItemGroup> TwinCheck::groups() const
{
    std::vector<ItemGroup> checked;
    for (ItemGroup& group : groupItems(m_card)) {
        std::vector<ItemGroup> parts = takenApart(std::move(group));
        std::move(parts.begin(), parts.end(), std::back_inserter(checked));
    }
    const auto firstItem = [](const ItemGroup& group) {
        return *std::min_element(group.members.begin(), group.members.end());
    };
    std::stable_sort(checked.begin(), checked.end(), [&](const auto& a, const auto& b) {
        return firstItem(a) < firstItem(b);
    });
    return checked;
}

std::vector<ItemGroup> TwinCheck::takenApart(ItemGroup group) const
{
    const std::vector<PhotoFacts> photos =
        m_shouldStop() ? std::vector<PhotoFacts>() : readPhotos(group);
    if (photos.empty())
        return {std::move(group)};
    std::vector<std::string_view> extensions;
    std::size_t rawCount = 0;
    for (std::size_t photo = 0; photo < photos.size(); ++photo) {
        extensions.push_back(memberExtension(m_card, group, photo));
        rawCount += mediaKind(extensions.back()) == MediaKind::kRaw ? 1 : 0;
    }
    return split(group, photos, extensions, setsOf(photos, rawCount));
}

// The order of members within a part is that of the group, so that the primary stays in front.
// Dates go along: the headers of photos are not read a second time for the names.
std::vector<ItemGroup> TwinCheck::split(const ItemGroup& group,
    const std::vector<PhotoFacts>& photos,
    const std::vector<std::string_view>& extensions,
    const std::vector<std::size_t>& sets) const
{
    std::vector<ItemGroup> parts(*std::max_element(sets.begin(), sets.end()) + 1);
    for (std::size_t member = 0; member < group.members.size(); ++member) {
        const bool isPhoto = member < photos.size();
        const std::string_view extension = memberExtension(m_card, group, member);
        ItemGroup& part =
            parts[isPhoto ? sets[member] : setOfFollower(extension, extensions, sets)];
        part.stemBytes = group.stemBytes;
        part.members.push_back(group.members[member]);
        if (isPhoto)
            part.ownDates.push_back(photos[member].date);
    }
    return parts;
}

// Raw files and images come first in a group. Nothing is read where there are no two that could be
// strangers: for most cards that is every group, and reading headers is what takes time.
std::vector<PhotoFacts> TwinCheck::readPhotos(const ItemGroup& group) const
{
    const auto kindOf = [&](std::size_t member) {
        return mediaKind(memberExtension(m_card, group, member));
    };
    std::size_t count = 0;
    while (count < group.members.size() && kindOf(count) <= MediaKind::kImage)
        ++count;
    std::vector<PhotoFacts> photos;
    if (count < 2 || kindOf(count - 1) != MediaKind::kImage)
        return photos;
    for (std::size_t member = 0; member < count; ++member)
        photos.push_back(ownFacts(m_card.pathOf(m_card.items[group.members[member]])));
    return photos;
}

} // namespace mfx
