#include "commandline/JsonLine.h"
#include "commandline/Output.h"
#include "messaging/Specifier.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "registry/TevoroTalkConnector.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"
#include "velmo_caps/CurrentStores.h"

#include <set>
#include <string>

namespace tevorotalk {

using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;

namespace {

using Names = std::set<std::string, std::less<>>;

Names heldNames()
{
    Names names;
    for (const Pt::HeldPort& port : Pt::heldLocalPorts())
        if (port.name.starts_with(kPortPrefix))
            names.insert(port.name.substr(kPortPrefix.size()));
    return names;
}

// Only those who hold a name are asked, as each question costs some time.
bool isRunning(const TevoroTalk::Specifier& application, const Names& held)
{
    const std::string name = application.get();
    return (held.contains(name) || held.contains(name + "#thread")) && application.isRunning();
}

void print(const TevoroTalk::Specifier& application, const Names& held, bool json)
{
    const bool runs = isRunning(application, held);
    const std::string name(application.view());
    const std::string status(runs ? application.status().view() : "not running");
    const std::string path(TevoroTalk::Specifier::getApplicationPath(name.c_str()).view());
    if (json)
        commandline::printJson({{"specifier", Pt::displayName(name)},
            {"running", runs},
            {"status", status},
            {"path", Pt::displayName(path)}});
    else
        commandline::printLine(Pt::terminalText(Pt::displayName(name)) + "\t"
            + Pt::terminalText(status) + "\t" + Pt::terminalText(Pt::displayName(path)));
}

// The bus has no words for why its registry lacks something; the store has.
bool tellProblems()
{
    velmo_caps::CurrentStores stores;
    static_cast<void>(stores.view()); // looks
    const auto problems = stores.problems();
    for (const std::string& text : problems)
        commandline::printMessage("tevorotalk", text);
    return !problems.empty();
}

} // namespace

ExitCode runApps(const CommandLine& line)
{
    const BusSession session(ownName());
    const TevoroTalkConnector* const registry = TevoroTalkConnector::get();
    if (registry == nullptr || !registry->isGood())
        throw CommandError(ExitCode::kSystemPart,
            "the registry of applications cannot be read; 'velmo-caps list' says why");
    const Names held = heldNames();
    const int count = registry->getNumberOfRegisteredApplications();
    for (int i = 0; i < count && !Pt::wasInterrupted(); ++i)
        print(TevoroTalk::Specifier(registry->getApplicationSpecifier(i), false), held, line.json);
    if (Pt::wasInterrupted())
        return ExitCode::kInterrupted;
    if (tellProblems())
        return ExitCode::kPlaceUnusable;
    if (count == 0)
        commandline::printMessage(
            "tevorotalk", "no application is registered; 'velmo-caps add' registers one");
    return ExitCode::kDone;
}

} // namespace tevorotalk
