#include "tevorotalk/BusSession.h"

#include "commandline/ExitCode.h"
#include "messaging/Message.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/TevoroTalkUtils.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Waiting.h"
#include "platform/common/services/Clock.h"
#include "platform/common/services/ProcessControl.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <array>
#include <future>
#include <system_error>

namespace tevorotalk {

using commandline::CommandError;
using commandline::ExitCode;
using ScObjects::SoString;
using ScObjects::TevoroTalk;

namespace {

// A signal is noticed that late.
constexpr std::chrono::milliseconds kMaxPause{100};

// A bus thread is up some milliseconds after its start; five seconds mean that it never will be.
constexpr std::chrono::milliseconds kReachablePoll{5};
constexpr std::chrono::seconds kReachableLimit{5};

// Each sender takes one, and those who ask something more.
void requireDescriptors()
{
    constexpr std::size_t kSpare = 8;
    try {
        const std::array<Pt::WaitableFlag, kSpare> spare;
    } catch (const std::system_error& error) {
        throw CommandError(ExitCode::kSystemPart,
            std::string("it could not be reached, as it may not open enough files (ulimit -n): ")
                + error.code().message());
    }
}

[[noreturn]] void throwWhyNotStarted(const std::string& name)
{
    if (Pt::wasInterrupted())
        throw Interrupted();
    if (TevoroTalk::Specifier(name.c_str(), false).isEmpty())
        throw CommandError(
            ExitCode::kUsage, "'" + name + "' is no name on the bus; take one like echo-1.0");
    throw CommandError(ExitCode::kSystemPart,
        "'" + name + "' was launched, and the parameters of the launch did not arrive");
}

[[noreturn]] void throwWhyNotHeld(const std::string& name)
{
    throw CommandError(ExitCode::kSystemPart,
        "the name '" + name + "' cannot be held: it and its instances 1 to 8 are taken, or "
            + Pt::localPortFolder() + " cannot be used");
}

} // namespace

std::string ownName()
{
    // The process id is the instance, so that commands that run at once never meet at one name.
    return "tevorotalk_" + std::to_string(Pt::processId()) + "-1.0";
}

bool hasRegistry()
{
    const auto* const registry = ScObjects::TevoroTalkConnector::get();
    return registry != nullptr && registry->isGood();
}

void requireOneLine(const std::string& text)
{
    if (text.find('\n') != std::string::npos)
        throw CommandError(ExitCode::kUsage, "'" + text + "' has line feeds; only the text may");
}

std::string whyStuck(const std::string& target)
{
    TevoroTalk::Specifier thread(target.c_str(), false);
    thread.setSuffix("thread");
    const std::string name = std::string(kPortPrefix) + thread.get();
    for (const Pt::HeldPort& port : Pt::heldLocalPorts())
        if (port.name == name && Pt::isProcessStopped(static_cast<unsigned long>(port.processId)))
            return "its process, " + std::to_string(port.processId) + ", was stopped";
    return {};
}

BusSession::BusSession(const std::string& name)
{
    // From the beginning: a process that was launched may wait minutes for its parameters.
    m_watch = std::jthread([this](const std::stop_token& stop) { watchForInterrupt(stop); });
    // Started here and not by the instance, so that an unusable name can be told from one that is
    // taken.
    if (!TevoroTalk::InitTerm::init(name.c_str(), true))
        throwWhyNotStarted(name);
    m_instance = std::make_unique<TevoroTalk>(name.c_str(), nullptr, true, nullptr);
    if (!m_instance->getAppName().isEmpty())
        return;
    end(); // there is no object yet that would
    throwWhyNotHeld(name);
}

BusSession::~BusSession()
{
    end();
}

void BusSession::end()
{
    // The instance first: the exit of the bus would delete it a second time.
    m_instance.reset();
    TevoroTalk::InitTerm::exit();
}

void BusSession::watchForInterrupt(const std::stop_token& stop)
{
    std::unique_lock lock(m_watchLock);
    while (!stop.stop_requested() && !Pt::wasInterrupted())
        m_watchEnd.wait_for(lock, stop, kMaxPause, [] { return Pt::wasInterrupted(); });
    if (Pt::wasInterrupted())
        ScObjects::TevoroTalkUtils::stopWaitingForOthers();
}

std::string BusSession::name() const
{
    return std::string(m_instance->getAppName().view());
}

void BusSession::waitUntilReachable() const
{
    requireDescriptors(); // without them the answer would never come
    const auto deadline = std::chrono::steady_clock::now() + kReachableLimit;
    // Asks itself: the thread that answers is the one that others will ask.
    while (TevoroTalk::Thread::ping(name().c_str(), "", 1, nullptr) != "ECHO_RESPONSE") {
        if (hasPassed(deadline))
            throw CommandError(ExitCode::kSystemPart,
                "'" + name() + "' cannot be reached: its port for questions does not answer");
        Pt::systemClock().sleepFor(kReachablePoll);
    }
    requireDescriptors(); // the question and its answer have taken some
}

SoString BusSession::ask(const std::string& target,
    const std::string& command,
    std::int32_t seconds,
    const std::string& body) const
{
    const SoString text{std::string_view(body)};
    // On a thread of its own, because a ping blocks and no signal interrupts it.
    auto answer = std::async(std::launch::async,
        [&] { return TevoroTalk::Thread::ping(target.c_str(), command.c_str(), seconds, &text); });
    while (answer.wait_for(kMaxPause) == std::future_status::timeout)
        if (Pt::wasInterrupted())
            endQuestion();
    // Only after the other thread has ended: it refers to the arguments of this call.
    if (Pt::wasInterrupted())
        throw Interrupted();
    return answer.get();
}

// Any text at the port of the answers is taken for one.
void BusSession::endQuestion() const
{
    TevoroTalk::Message message;
    message.target = (name() + "#ping").c_str();
    // Every receiver drops a message of this type without an answer.
    message.type = "Ignore";
    m_instance->send(message, false, 0, nullptr);
}

void BusSession::pumpOnce(std::optional<SteadyTime> deadline)
{
    if (!TevoroTalk::pump(TevoroTalk::kBoth, nullptr))
        pause(deadline);
}

void BusSession::takeOne(std::optional<SteadyTime> deadline)
{
    // Incoming messages are left to the next line, which takes one and no more.
    TevoroTalk::pump(TevoroTalk::kOutgoing, nullptr);
    if (!m_instance->processIncomingMessage(ScObjects::QK_INVALID_MESSAGE_NUMBER, true))
        pause(deadline);
}

void BusSession::pause(std::optional<SteadyTime> deadline) const
{
    // Short rounds, because waitForMessage does not return for a signal.
    auto limit = kMaxPause;
    // Rounded up: rounded down, the last fraction of a millisecond would be spent in a loop without
    // any waiting.
    if (deadline)
        limit = std::clamp(std::chrono::ceil<std::chrono::milliseconds>(
                               *deadline - std::chrono::steady_clock::now()),
            std::chrono::milliseconds(0),
            limit);
    m_instance->waitForMessage(static_cast<int>(limit.count()));
}

ExitCode exitCodeForAnswer(const SoString& answer)
{
    const std::string_view word = answer.view();
    // A ping answers and fails in the same text, so a value that is one of these words is taken for
    // a failure.
    if (word == "Timeout" || word == "UNDEFINED")
        return ExitCode::kPartly;
    if (word == "ISNOTRUNNING" || word == "ISNOTINSTALLED")
        return ExitCode::kNotThere;
    if (word == "INVALIDSPEC" || word == "NOINTERAPPSTREAM" || word == "MSGTOSTRINGERROR"
        || word == "NOERROR")
        return ExitCode::kSystemPart;
    return ExitCode::kDone;
}

bool isPortFree(const std::string& target, const char* suffix)
{
    TevoroTalk::Specifier name(target.c_str(), true);
    name.setSuffix(suffix);
    return Pt::isLocalPortFree(std::string(kPortPrefix) + std::string(name.view()));
}

std::optional<SteadyTime> deadlineAfter(std::optional<unsigned long> seconds)
{
    if (!seconds)
        return std::nullopt;
    return std::chrono::steady_clock::now() + std::chrono::seconds(*seconds);
}

bool hasPassed(std::optional<SteadyTime> deadline)
{
    return deadline && std::chrono::steady_clock::now() >= *deadline;
}

} // namespace tevorotalk
