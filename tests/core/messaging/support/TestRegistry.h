#pragma once

#include "core/registry/support/RecordingConnector.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

// A connector whose applications a test writes down. Owned by the bus once it was set.
class TestRegistry : public RecordingConnector {
public:
    using RecordingConnector::registerApplication;
    using RecordingConnector::unregisterApplication;

    struct Group {
        std::string name;
        std::string version;
    };

    explicit TestRegistry(const SoString& appName = "self-1.0")
        : RecordingConnector(appName)
        , self(appName.get())
    {
    }

    // Makes one the connector of this process.
    static TestRegistry& install(std::vector<std::string> specifiers = {})
    {
        auto* const registry = new TestRegistry;
        registry->specifiers = std::move(specifiers);
        set(registry);
        return *registry;
    }

    int getNumberOfRegisteredApplications() const override
    {
        return static_cast<int>(specifiers.size());
    }
    SoString getApplicationSpecifier(int index) const override
    {
        if (index == -1)
            return self.c_str();
        const auto place = static_cast<std::size_t>(index);
        return place < specifiers.size() ? SoString(specifiers[place].c_str()) : SoString();
    }
    SoString findGroupForSpecifier(const Specifier& specifier, SoString* version) override
    {
        const auto found = groups.find(specifier.get());
        if (found == groups.end())
            return {};
        if (version != nullptr)
            *version = found->second.version.c_str();
        return found->second.name.c_str();
    }
    SoString findPreferredApp(
        const SoString& from, const SoString& target, const SoString& group) override
    {
        const auto found =
            preferences.find(std::string(from.get()) + " " + target.get() + " " + group.get());
        return found != preferences.end() ? SoString(found->second.c_str()) : SoString();
    }
    SoString getApplicationPath(const SoString& specifier, const char*) const override
    {
        const auto found = paths.find(specifier.get());
        return found != paths.end() ? SoString(found->second.c_str()) : SoString();
    }
    bool getMessageAuthentication(const SoString& specifier) const override
    {
        return specifier != self.c_str() || authenticates;
    }
    bool getMessageDigest(const SoString& specifier) const override
    {
        return specifier != self.c_str() || digests;
    }
    std::uint32_t getProcessID(const SoString& specifier) override
    {
        const auto found = processes.find(specifier.get());
        return found != processes.end() ? found->second : 0;
    }

    SoString getName() const override { return "test"; }
    bool initLists(ScObjects::QKConnectorAppInfoList&, ScObjects::SoVector<SoString>&) override
    {
        return true;
    }
    bool registerApplication(ScObjects::QKConnectorAppInfo&) override { return answer; }
    bool unregisterApplication(const ScObjects::QKConnectorAppInfo&) override { return answer; }

    std::string self;
    std::vector<std::string> specifiers;
    std::map<std::string, Group> groups; // by specifier
    std::map<std::string, std::string> preferences; // by "FROM TARGET GROUP"
    std::map<std::string, std::string> paths;
    std::map<std::string, std::uint32_t> processes;
    bool authenticates = true;
    bool digests = true;
};

} // namespace test
