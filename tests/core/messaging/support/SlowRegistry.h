#pragma once

#include "registry/TevoroTalkConnector.h"

#include <condition_variable>
#include <mutex>

namespace test {

// Holds up whoever loads it, until a test lets go. Owned by the bus once it was set.
class SlowRegistry final : public ScObjects::TevoroTalkConnector {
public:
    using SoString = ScObjects::SoString;
    using ScObjects::TevoroTalkConnector::registerApplication;
    using ScObjects::TevoroTalkConnector::unregisterApplication;

    // Outlives the registry.
    class Gate {
    public:
        void open()
        {
            const std::lock_guard lock(m_lock);
            m_isOpen = true;
            m_change.notify_all();
        }
        void pass()
        {
            std::unique_lock lock(m_lock);
            m_change.wait(lock, [this] { return m_isOpen; });
        }

    private:
        std::mutex m_lock;
        std::condition_variable m_change;
        bool m_isOpen = false;
    };

    explicit SlowRegistry(Gate& gate)
        : TevoroTalkConnector("self-1.0")
        , m_gate(gate)
    {
    }

    int getNumberOfRegisteredApplications() const override
    {
        m_gate.pass();
        return 0;
    }

    SoString getName() const override { return "slow"; }
    bool addToGroup(const Specifier&, const SoString&, const SoString*) override { return false; }
    bool removeFromGroup(const Specifier&, const SoString&, const SoString*) override
    {
        return false;
    }
    bool initLists(ScObjects::QKConnectorAppInfoList&, ScObjects::SoVector<SoString>&) override
    {
        return true;
    }
    bool registerApplication(ScObjects::QKConnectorAppInfo&) override { return false; }
    bool unregisterApplication(const ScObjects::QKConnectorAppInfo&) override { return false; }

private:
    Gate& m_gate;
};

} // namespace test
