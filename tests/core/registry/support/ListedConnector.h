#pragma once

#include "core/registry/support/RecordingConnector.h"
#include "registry/QKConnectorAppInfo.h"
#include "registry/QKConnectorAppInfoList.h"

#include <string>
#include <utility>
#include <vector>

namespace test {

inline ScObjects::QKConnectorAppInfo record(const char* specifier, const char* path)
{
    ScObjects::QKConnectorAppInfo info;
    info.specifier = specifier;
    info.path = path;
    return info;
}

// A connector over lists that a test writes down.
class ListedConnector : public RecordingConnector {
public:
    using Info = ScObjects::QKConnectorAppInfo;
    using RecordingConnector::registerApplication;
    using RecordingConnector::unregisterApplication;
    using TevoroTalkConnector::doRegisterApplication;
    using TevoroTalkConnector::getAppInfoList;
    using TevoroTalkConnector::getGroupsCache;

    explicit ListedConnector(std::vector<Info> applications = {},
        std::vector<std::string> groups = {},
        const SoString& appName = "self-1.0")
        : RecordingConnector(appName)
        , records(std::move(applications))
        , entries(std::move(groups))
    {
    }

    // Makes one the connector of this process, of applications that lie in places of their names.
    static ListedConnector& install(
        const std::vector<std::string>& specifiers, std::vector<std::string> groups = {})
    {
        std::vector<Info> applications;
        for (const std::string& specifier : specifiers)
            applications.push_back(record(specifier.c_str(), ("/" + specifier).c_str()));
        auto* const connector = new ListedConnector(std::move(applications), std::move(groups));
        set(connector);
        return *connector;
    }

    SoString getName() const override { return name.c_str(); }
    bool initLists(ScObjects::QKConnectorAppInfoList& applications,
        ScObjects::SoVector<SoString>& groups) override
    {
        ++timesRead;
        for (const Info& info : records)
            applications.append(new Info(info));
        for (const std::string& entry : entries)
            groups.append(new SoString(entry.c_str()));
        return isReadable;
    }
    bool registerApplication(Info& info) override
    {
        return note("record", {info.specifier, info.path, info.displayName});
    }
    bool unregisterApplication(const Info&) override { return false; }

    std::string name = "listed";
    std::vector<Info> records;
    std::vector<std::string> entries;
    bool isReadable = true;
    int timesRead = 0;
};

} // namespace test
