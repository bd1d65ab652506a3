// Whether a folder takes its room from the card's own device: what is saved there goes when the
// card is wiped. Devices tell most of it; through pools, overlays and shares only a trial does.
//
// Borrows the card. Any thread may ask.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "platform/common/files/FileSystemFacts.h"

#include <cstdint>
#include <set>
#include <string>

namespace mfx {

class CardRoom {
public:
    // With `looksOnly`, there are no trials.
    CardRoom(const CardContents& card, bool looksOnly);

    // Whether it is one of the card's devices, or an image on one, at any depth; or looks at one
    // image with the card. Asks the system, and writes nothing.
    bool isOnDevice(std::uint64_t device) const;

    // Found out by a trial: writes a file into the folder for a moment. False without a trial where
    // devices tell all.
    bool isTakenBy(const std::string& folder) const;

private:
    const CardContents& m_card;
    const bool m_looksOnly;
    std::set<std::uint64_t> m_devices; // of the card's folders
    std::set<Pt::ImageFile> m_images; // that these devices are images of
};

} // namespace mfx
