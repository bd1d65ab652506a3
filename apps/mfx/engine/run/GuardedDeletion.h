// The deletion of originals, with all that may forbid it: a place that was lost or turned out to be
// another's, a card that was taken out, an item whose copies are not proven. Places and card are
// looked at before the question, after its answer, and before each original.
//
// Borrows all that it is given. One thread.
#pragma once

#include "mfx/engine/card/CardWatch.h"
#include "mfx/engine/run/DownloadAccount.h"
#include "mfx/engine/saving/FinalFolders.h"
#include "mfx/engine/saving/OriginalDeletion.h"
#include "mfx/engine/saving/PlaceWatch.h"
#include "mfx/engine/sink/DownloadRequest.h"
#include "mfx/engine/sink/SinkSession.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mfx {

class GuardedDeletion {
public:
    GuardedDeletion(const DownloadRequest& request,
        const CardContents& card,
        PlaceWatch& places,
        FinalFolders& folders,
        DownloadAccount& account);

    // What the download itself makes on the card is no news there.
    void passOver(const std::string& path) { m_cardWatch.passOver(path); }

    // No original may go, for this reason. Who tells it elsewhere refuses; else it is told here.
    void refuse(const std::string& reason) { m_objection = reason; }
    bool isRefused() const { return !m_objection.empty(); }

    // Whether the places are where they were and still places of their own, and what is new on the
    // card.
    void lookAgain();
    bool isCardGone() const;

    // Items whose originals may go, and the question about them.
    std::vector<std::uint32_t> deletable() const;
    std::string question(const std::vector<std::uint32_t>& items) const;

    DeletionOutcome remove(std::uint32_t item);

private:
    void noteNews();
    bool hasOtherBytes(std::uint32_t item) const;
    void noteKept(std::uint32_t item, const std::string& reason);
    std::string copiesText() const;
    void forbid(const std::string& reason);
    std::string objectionTo(const SavedItem& item) const;

    const DownloadRequest& m_request;
    const CardContents& m_card;
    PlaceWatch& m_places;
    FinalFolders& m_folders;
    DownloadAccount& m_account;
    OriginalDeletion m_originals;
    CardWatch m_cardWatch;
    std::string m_objection; // why no original may go; empty while they may
    bool m_hasLookedAgain = false; // since the question was answered
};

} // namespace mfx
