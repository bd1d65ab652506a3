// Gathers what a download leaves on the card, by kind, with the first few names of each. One
// thread.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/sink/DownloadEvents.h"

#include <string>
#include <vector>

namespace mfx {

class PassedOverList {
public:
    // An item that would be missed, for something else than a reason of the scan.
    void add(PassedOverKind kind, const std::string& name);

    // An entry of the card that was passed over: itself or the pictures in it; nothing where it is
    // harmless.
    void add(const CardContents& card, const NotHandled& notHandled);

    std::vector<PassedOver> take() { return std::move(m_kinds); }

private:
    PassedOver& entryOf(PassedOverKind kind, NotHandledReason reason);
    static void addName(PassedOver& entry, const std::string& name);

    std::vector<PassedOver> m_kinds;
};

} // namespace mfx
