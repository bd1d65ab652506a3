#include "commandline/JsonLine.h"
#include "commandline/Output.h"
#include "messaging/BusWords.h"
#include "messaging/Specifier.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "registry/TevoroTalkConnector.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"
#include "velmo_caps/CurrentStores.h"

#include <set>
#include <string>
#include <vector>

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

// What applications answer, all of them within a bound: one that is stuck takes two seconds, and
// there may be many.
class Questions {
public:
    struct Answer {
        bool runs;
        std::string status;
    };

    Answer ask(const TevoroTalk::Specifier& application)
    {
        const std::string name = application.get();
        // Only those who hold a name are asked.
        if (!m_held.contains(name) && !m_held.contains(name + "#thread"))
            return {false, kNotRunning};
        if (hasPassed(m_deadline)) {
            m_notAsked.push_back(name);
            return {true, "not asked"};
        }
        if (!application.isRunning())
            return {false, kNotRunning};
        const std::string status(application.status().view());
        if (status == ScObjects::TevoroTalkData::QK_TIMEOUT)
            m_silent.push_back(name);
        return {true, status};
    }

    void tellWhoWasNotHeard() const
    {
        tell(m_silent, "no answer from ");
        tell(m_notAsked, "not asked, as others did not answer: ");
    }

private:
    static constexpr const char* kNotRunning = "not running";
    static constexpr unsigned long kSeconds = 4; // for all; a question that has begun is finished

    static void tell(const std::vector<std::string>& names, std::string text)
    {
        if (names.empty())
            return;
        for (const std::string& name : names)
            text += (&name == &names.front() ? "" : ", ") + Pt::displayName(name);
        commandline::printMessage("tevorotalk", text);
    }

    const Names m_held = heldNames();
    const std::optional<SteadyTime> m_deadline = deadlineAfter(kSeconds);
    std::vector<std::string> m_silent;
    std::vector<std::string> m_notAsked;
};

void print(const TevoroTalk::Specifier& application, const Questions::Answer& answer, bool json)
{
    const std::string name(application.view());
    const std::string path(TevoroTalk::Specifier::getApplicationPath(name.c_str()).view());
    if (json)
        commandline::printJson({{"specifier", Pt::displayName(name)},
            {"running", answer.runs},
            {"status", answer.status},
            {"path", Pt::displayName(path)}});
    else
        commandline::printLine(Pt::terminalText(Pt::displayName(name)) + "\t"
            + Pt::terminalText(answer.status) + "\t" + Pt::terminalText(Pt::displayName(path)));
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
    if (!hasRegistry())
        throw CommandError(ExitCode::kSystemPart, kNoRegistry);
    const TevoroTalkConnector* const registry = TevoroTalkConnector::get();
    Questions questions;
    const int count = registry->getNumberOfRegisteredApplications();
    for (int i = 0; i < count && !Pt::wasInterrupted(); ++i) {
        const TevoroTalk::Specifier application(registry->getApplicationSpecifier(i), false);
        print(application, questions.ask(application), line.json);
    }
    if (Pt::wasInterrupted())
        return ExitCode::kInterrupted;
    questions.tellWhoWasNotHeard();
    if (tellProblems())
        return ExitCode::kPlaceUnusable;
    if (count == 0)
        commandline::printMessage(
            "tevorotalk", "no application is registered; 'velmo-caps add' registers one");
    return ExitCode::kDone;
}

} // namespace tevorotalk
