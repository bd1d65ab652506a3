#pragma once

#include "registry/TevoroTalkConnector.h"

#include <string>
#include <vector>

namespace test {

// A connector that writes what it is told to change into `calls`, and answers with `answer`.
class RecordingConnector : public ScObjects::TevoroTalkConnector {
public:
    using SoString = ScObjects::SoString;
    using TevoroTalkConnector::registerApplication;
    using TevoroTalkConnector::TevoroTalkConnector;
    using TevoroTalkConnector::unregisterApplication;

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

    bool answer = true;
    std::vector<std::string> calls;

protected:
    bool note(const char* what, const std::vector<SoString>& arguments)
    {
        std::string call = what;
        for (const SoString& argument : arguments)
            call.append(" ").append(argument.get());
        calls.push_back(call);
        return answer;
    }

private:
    static SoString orNull(const SoString* text) { return text != nullptr ? *text : "(null)"; }
};

} // namespace test
