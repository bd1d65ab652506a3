#pragma once

#include "registry/QKConnectorAppInfoList.h"
#include "registry/TevoroTalkConnector.h"

#include <map>
#include <string>

namespace test {

// A connector that knows applications by specifier and path, and launches them as every connector
// does. Owned by the bus once it was set.
class LaunchRegistry final : public ScObjects::TevoroTalkConnector {
public:
    using SoString = ScObjects::SoString;
    using ScObjects::TevoroTalkConnector::registerApplication;
    using ScObjects::TevoroTalkConnector::unregisterApplication;
    using Paths = std::map<std::string, std::string>;

    explicit LaunchRegistry(Paths paths)
        : TevoroTalkConnector("self-1.0")
        , m_paths(std::move(paths))
    {
    }

    // Makes one the connector of this process.
    static LaunchRegistry& install(Paths paths)
    {
        auto* const registry = new LaunchRegistry(std::move(paths));
        set(registry);
        return *registry;
    }

    SoString getName() const override { return "launching"; }
    bool addToGroup(const Specifier&, const SoString&, const SoString*) override { return false; }
    bool removeFromGroup(const Specifier&, const SoString&, const SoString*) override
    {
        return false;
    }
    bool initLists(ScObjects::QKConnectorAppInfoList& list, ScObjects::SoVector<SoString>&) override
    {
        for (const auto& [specifier, path] : m_paths) {
            auto* const record = new ScObjects::QKConnectorAppInfo;
            record->specifier = specifier.c_str();
            record->path = path.c_str();
            list.append(record);
        }
        return hasLists;
    }
    // Nothing changes; a fresh start would forget the processes.
    bool updateCache(bool) override { return hasLists; }
    bool registerApplication(ScObjects::QKConnectorAppInfo&) override { return false; }
    bool unregisterApplication(const ScObjects::QKConnectorAppInfo&) override { return false; }

    bool hasLists = true; // set it before the first question

private:
    Paths m_paths;
};

} // namespace test
