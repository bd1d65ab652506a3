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
    // One that would be missed; `kind` is the word for programs, `label` the one for people.
    void add(const std::string& kind, const std::string& label, const std::string& name);

    // An entry of the card that was passed over: itself or the pictures in it; nothing where it is
    // harmless.
    void add(const CardContents& card, const NotHandled& entry);

    std::vector<PassedOver> take() { return std::move(m_kinds); }

private:
    PassedOver& kindOf(const std::string& kind, const std::string& label);

    std::vector<PassedOver> m_kinds;
};

} // namespace mfx
