// The books of a download: what became of each item, and the summary that is told at the end.
// Borrows the card. One thread.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/saving/FinalFolders.h"
#include "mfx/engine/saving/GroupWork.h"
#include "mfx/engine/saving/KeptItem.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "mfx/engine/sink/DownloadRequest.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mfx {

struct SavedItem {
    bool isProven = false; // saved, and backed up if asked for, as far as its whole group is
    FinalFolder* folder = nullptr; // null: not saved
    std::string finalName;
    KeptItem kept;
};

class DownloadAccount {
public:
    // Counts what the card holds beside its items, too.
    DownloadAccount(const DownloadRequest& request, const CardContents& card);

    DownloadSummary summary;
    std::vector<SavedItem> items; // one for each of the card's

    std::uint64_t bytesOnCard() const;
    std::vector<std::uint32_t> savedItems() const;

    // A member of a group whose work is done.
    void countMember(const GroupWork& work, const MemberWork& member, const ItemEvent& event);

    // Something that is not safe, as a failure or beside the failures that were counted.
    void addUnsafe(const std::string& name, const std::string& reason);
    void addNotSafe(const std::string& name, const std::string& reason);

    // The disk did not take the names: nothing counts as proven.
    void distrustAll();

private:
    void countNotHandled();
    void listPassedOver();

    const CardContents& m_card;
};

} // namespace mfx
