#include "mfx/engine/saving/CardRoom.h"

#include <optional>

namespace mfx {

CardRoom::CardRoom(const CardContents& card, bool looksOnly)
    : m_card(card)
    , m_looksOnly(looksOnly)
{
    for (const CardFolderId& folder : card.folderIds)
        m_devices.insert(folder.device);
    for (const std::uint64_t device : m_devices)
        if (const auto image = Pt::imageFile(device))
            m_images.insert(*image);
}

bool CardRoom::isOnDevice(std::uint64_t device) const
{
    // From a device to the file that it is an image of, to the device on which that file lies, and
    // so on. A limit, for nothing forbids a chain that ends in itself.
    constexpr int kLayers = 8;
    std::optional<std::uint64_t> layer = device;
    for (int depth = 0; layer && depth < kLayers; ++depth) {
        if (m_devices.contains(*layer))
            return true;
        const auto image = Pt::imageFile(*layer);
        // One image may be attached twice: two devices with different numbers, and one room.
        if (image && m_images.contains(*image))
            return true;
        layer = image ? std::optional(image->device) : std::nullopt;
    }
    return false;
}

bool CardRoom::isTakenBy(const std::string& folder) const
{
    // A pool or an overlay has a device number of its own, whichever disk a file ends up on.
    const bool isLayered = !m_card.keepsOwnFiles || !Pt::keepsItsOwnFiles(folder);
    return isLayered && !m_looksOnly && Pt::sharesRoom(folder, m_card.root);
}

} // namespace mfx
