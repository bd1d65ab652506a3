// Deletes originals from the card, one by one, each after a last look at its copies.
//
// The original first steps aside, into a folder of our own beside it: its copies must not mind. One
// that vanishes or changes at that moment was the original itself under another name, and the
// original goes back to its place. So nothing is lost even where nobody could tell two places
// apart. What a killed process left aside, the next scan for a download puts back.
//
// Borrows card and places. One thread.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/saving/KeptItem.h"
#include "mfx/engine/saving/PlaceWatch.h"

#include <set>
#include <string>
#include <system_error>

namespace mfx {

class OriginalDeletion {
public:
    OriginalDeletion(const CardContents& card, const PlaceWatch& places);
    ~OriginalDeletion();
    OriginalDeletion(const OriginalDeletion&) = delete;
    OriginalDeletion& operator=(const OriginalDeletion&) = delete;

    // Deletes one original. Empty when it is gone, else why it is still there. Notes in `kept` what
    // it found when it had to read a copy anew.
    std::string remove(std::uint32_t item, KeptItem& kept);

    // Whether originals and copies turned out to be the same files: nothing more may be deleted.
    bool foundAlias() const { return m_foundAlias; }

private:
    std::string objection(std::uint32_t item, KeptItem& kept) const;
    std::string copyObjection(KeptItem& kept) const;
    std::string copyGone(const std::optional<KeptCopy>& copy) const;
    std::error_code makeAsideFolder(const std::string& folder);
    bool copiesStand(const KeptItem& kept) const;
    std::string removeWhereCopiesStand(const std::string& aside, const KeptItem& kept);
    std::string removeAside(const std::string& path, const KeptItem& kept);

    const CardContents& m_card;
    const PlaceWatch& m_places;
    bool m_foundAlias = false;
    std::set<std::string> m_asideFolders;
};

} // namespace mfx
