#include "tevoro/Application.h"

#include "commandline/JsonLine.h"
#include "commandline/Output.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/Specifier.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <sstream>

namespace tevoro {

using commandline::CommandError;
using commandline::Json;
using ScObjects::SoString;
using ScObjects::TevoroTalk;

namespace {

constexpr char kUsualName[] = "tevoro-2.0";
// A signal is noticed that late: waitForMessage does not return for one.
constexpr int kRound = 200; // milliseconds

class ScriptHandler final : public TevoroTalk::MsgHandler {
public:
    explicit ScriptHandler(bool prints)
        : m_prints(prints)
    {
    }

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        if (reason != kRequest)
            return 1; // no script: whoever asked gets this number back as an error
        const std::string script(message.body.view());
        if (result != nullptr)
            *result = message.body;
        if (m_prints)
            commandline::printJson(
                Json{{"script", script}, {"result", script}, {"folder", nullptr}, {"status", 0}});
        return 0;
    }

private:
    bool m_prints;
};

// What a launcher asked for, in front of what stands on the command line.
CommandLine withLaunchOptions(CommandLine line)
{
    std::istringstream words(TevoroTalk::getLaunchOptions().get());
    for (std::string word; words >> word;) {
        if (word == "-specifier")
            words >> line.name;
        else if (word == "-instance")
            words >> line.instance;
    }
    return line;
}

std::string nameFrom(const CommandLine& line)
{
    TevoroTalk::Specifier name(line.name.empty() ? kUsualName : line.name.c_str(), false);
    if (!line.instance.empty())
        name.setInstance(line.instance.c_str());
    if (name.isEmpty())
        throw CommandError(ExitCode::kUsage,
            "'" + line.name + "' is no name on the bus; take one like tevoro-2.0");
    return name.get();
}

} // namespace

Application::Application(const CommandLine& line)
{
    const std::string asked = nameFrom(line);
    if (!TevoroTalk::InitTerm::init(asked.c_str(), true))
        throw CommandError(ExitCode::kSystemPart, "the message bus cannot be started");
    const std::string name = nameFrom(withLaunchOptions(line));
    m_bus =
        std::make_unique<TevoroTalk>(name.c_str(), new ScriptHandler(line.headless), true, nullptr);
    if (!m_bus->getAppName().isEmpty())
        return;
    m_bus.reset();
    TevoroTalk::InitTerm::exit();
    throw CommandError(ExitCode::kSystemPart,
        "the name '" + name
            + "' cannot be held: it and its instances 1 to 8 are taken, or the"
              " folder of the bus cannot be used");
}

Application::~Application()
{
    // The instance first: the exit of the bus would delete it a second time.
    m_bus.reset();
    TevoroTalk::InitTerm::exit();
}

std::string Application::name() const
{
    return std::string(m_bus->getAppName().view());
}

ExitCode Application::run()
{
    while (!Pt::wasInterrupted()) {
        if (m_bus->waitForMessage(kRound))
            TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
        if (commandline::lostOutput())
            return ExitCode::kPlaceUnusable;
    }
    return ExitCode::kInterrupted;
}

} // namespace tevoro
