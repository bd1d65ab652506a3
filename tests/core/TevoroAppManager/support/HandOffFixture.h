// A process on the bus beside a browser application that is an instance of the same process: what
// the one sends, the other handles inside the next pump. Pauses take no time, and the registry is
// the test's own.
#pragma once

#include "core/TevoroAppManager/support/PassingClock.h"
#include "core/messaging/support/BusFixture.h"

#include <string>
#include <vector>

namespace test {

// Knows applications, and starts them as the test says.
class HandOffRegistry final : public TestRegistry {
public:
    void add(const std::string& specifier)
    {
        specifiers.push_back(specifier);
        paths[specifier] = "/there/" + specifier;
    }
    bool bringToFront(const char* specifier, ScObjects::TevoroTalkContext*) const override
    {
        broughtToFront.emplace_back(specifier);
        return true;
    }
    bool launchTarget(
        const SoString& specifier, const SoString&, bool, ScObjects::TevoroTalkContext*) override
    {
        launched.emplace_back(specifier.get());
        if (whenLaunched)
            whenLaunched();
        return true;
    }

    mutable std::vector<std::string> broughtToFront;
    std::vector<std::string> launched;
    std::function<void()> whenLaunched;
};

class HandOffFixture : public BusFixture {
protected:
    static constexpr const char* kTevoro = "tevoro-2.0";

    HandOffFixture() { ScObjects::TevoroTalkConnector::set(&registry); }

    // The browser application is there, and notes in `inbox` what it gets.
    InboxHandler& runTevoro()
    {
        auto* const itsHandler = new InboxHandler(inbox);
        another(kTevoro, itsHandler);
        return *itsHandler;
    }

    HandOffRegistry& registry = *new HandOffRegistry; // owned by the bus
    PassingClock clock;
};

} // namespace test
