#include "tevoro/BusLink.h"

#include "commandline/Output.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/Specifier.h"

#include <sstream>
#include <utility>

namespace tevoro {

using commandline::CommandError;
using ScObjects::SoString;
using ScObjects::TevoroTalk;

namespace {

constexpr char kUsualName[] = "tevoro-2.0";
// What the sender of a script that failed gets as a number.
constexpr long kScriptFailed = 1;

class ScriptMessages final : public TevoroTalk::MsgHandler {
public:
    explicit ScriptMessages(BusLink::ScriptHandler handler)
        : m_handler(std::move(handler))
    {
    }

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        if (reason != kRequest)
            return 1; // no script: whoever asked gets this number back as an error
        const BusLink::Answer answer = m_handler(message.body.view());
        if (result != nullptr)
            *result = SoString(answer.text.toUtf8().constData());
        return answer.ok ? 0 : kScriptFailed;
    }

private:
    BusLink::ScriptHandler m_handler;
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

BusLink::BusLink(const CommandLine& line)
{
    const std::string asked = nameFrom(line);
    if (!TevoroTalk::InitTerm::init(asked.c_str(), true))
        throw CommandError(ExitCode::kSystemPart, "the message bus cannot be started");
    const std::string name = nameFrom(withLaunchOptions(line));
    m_wasLaunched = !TevoroTalk::getLaunchOptions().isEmpty();
    m_bus = std::make_unique<TevoroTalk>(name.c_str(), nullptr, true, nullptr);
    if (m_bus->getAppName().isEmpty()) {
        m_bus.reset();
        TevoroTalk::InitTerm::exit();
        throw CommandError(ExitCode::kSystemPart,
            "the name '" + name
                + "' cannot be held: it and its instances 1 to 8 are taken, or the"
                  " folder of the bus cannot be used");
    }
}

void BusLink::drive(ScriptHandler handler)
{
    delete m_bus->changeHandler(new ScriptMessages(std::move(handler)));
    m_notifier = std::make_unique<QSocketNotifier>(m_bus->waitDescriptor(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [] {
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
    });
}

BusLink::~BusLink()
{
    leave();
}

void BusLink::leave()
{
    if (!m_bus)
        return;
    m_notifier.reset();
    // The instance first: the exit of the bus would delete it a second time.
    m_bus.reset();
    TevoroTalk::InitTerm::exit();
}

std::string BusLink::name() const
{
    return std::string(m_bus->getAppName().view());
}

} // namespace tevoro
