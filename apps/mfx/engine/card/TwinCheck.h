// Takes apart what shares a stem by chance: when a camera's counter rolls over, or two cameras
// write to one card, a photo may stand beside another's raw file. Nothing but their EXIF tells.
//
// A raw file and an image, or two images, are no twins when their dates, of one kind, are more than
// ten seconds apart, or when they name different cameras. What one of them does not say is no
// evidence. The headers of such pairs are read once, and their dates are kept in the groups.
// Borrows the card. Blocks while it reads; any thread.
#pragma once

#include "mfx/engine/card/ItemGroups.h"

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace mfx {

class TwinCheck {
public:
    explicit TwinCheck(
        const CardContents& card, std::function<bool()> shouldStop = [] { return false; })
        : m_card(card)
        , m_shouldStop(std::move(shouldStop))
    {
    }

    // The card's groups as groupItems() makes them, with strangers in groups of their own. A
    // chained sidecar goes with its parent, everything else stays with the first. Told to stop, it
    // leaves the rest as it is.
    std::vector<ItemGroup> groups() const;

private:
    std::vector<ItemGroup> takenApart(ItemGroup group) const;
    std::vector<ItemGroup> split(const ItemGroup& group,
        const std::vector<PhotoFacts>& photos,
        const std::vector<std::string_view>& extensions,
        const std::vector<std::size_t>& sets) const; // for each photo the number of its set
    std::vector<PhotoFacts> readPhotos(const ItemGroup& group) const;

    const CardContents& m_card;
    const std::function<bool()> m_shouldStop;
};

} // namespace mfx
