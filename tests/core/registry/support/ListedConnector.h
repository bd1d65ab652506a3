#pragma once

#include "registry/QKConnectorAppInfo.h"
#include "registry/QKConnectorAppInfoList.h"
#include "registry/TevoroTalkConnector.h"

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

// A connector over lists that a test writes down. What it is told to change it writes into `calls`,
// and answers with `answer`.
class ListedConnector : public ScObjects::TevoroTalkConnector {
public:
    using SoString = ScObjects::SoString;
    using Info = ScObjects::QKConnectorAppInfo;
    using TevoroTalkConnector::doRegisterApplication;
    using TevoroTalkConnector::getAppInfoList;
    using TevoroTalkConnector::getGroupsCache;

    explicit ListedConnector(std::vector<Info> applications = {},
        std::vector<std::string> groups = {},
        const SoString& appName = "self-1.0")
        : TevoroTalkConnector(appName)
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
    bool registerApplication(const Specifier& specifier,
        const SoString& path,
        const SoString* displayName,
        bool first,
        bool second) override
    {
        return note("register",
            {specifier, path, orNull(displayName), first ? "1" : "0", second ? "1" : "0"});
    }
    bool unregisterApplication(const Specifier& specifier, const SoString* displayName) override
    {
        return note("unregister", {specifier, orNull(displayName)});
    }
    bool registerApplication(Info& info) override
    {
        return note("record", {info.specifier, info.path, info.displayName});
    }
    bool unregisterApplication(const Info&) override { return false; }
    bool addToGroup(
        const Specifier& specifier, const SoString& group, const SoString* version) override
    {
        return note("add", {specifier, group, orNull(version)});
    }
    bool removeFromGroup(
        const Specifier& specifier, const SoString& group, const SoString* version) override
    {
        return note("remove", {specifier, group, orNull(version)});
    }

    std::string name = "listed";
    std::vector<Info> records;
    std::vector<std::string> entries;
    bool isReadable = true;
    bool answer = true;
    int timesRead = 0;
    std::vector<std::string> calls;

private:
    static SoString orNull(const SoString* text) { return text != nullptr ? *text : "(null)"; }

    bool note(const char* what, const std::vector<SoString>& arguments)
    {
        std::string call = what;
        for (const SoString& argument : arguments)
            call.append(" ").append(argument.get());
        calls.push_back(call);
        return answer;
    }
};

} // namespace test
