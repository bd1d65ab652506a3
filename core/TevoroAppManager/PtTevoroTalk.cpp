#include "TevoroAppManager/PtTevoroTalk.h"

#include "TevoroAppManager/HelloHandler.h"
#include "messaging/Message.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/TevoroTalkUtils.h"

#include <chrono>
#include <memory>
#include <new>
#include <utility>

using ScObjects::TevoroTalk;

namespace {

constexpr char kTarget[] = "tevoro";
constexpr char kOwnName[] = "mfx-4.0";
constexpr unsigned long kLaunchWait = 300; // seconds
constexpr std::int32_t kPingWait = 2; // seconds
// The last of them is not waited for.
constexpr int kAnswerRounds = 30;
constexpr std::chrono::seconds kAnswerPause{1};
// Seconds, not milliseconds: long on purpose.
constexpr int kPendingRounds = 60;
constexpr std::chrono::seconds kPendingPause{1000};

// Sinks of this process that are on the bus.
int gSinksOnBus = 0;
bool gStartedBus = false;

void startBusForFirst()
{
    if (gSinksOnBus == 0)
        gStartedBus = TevoroTalk::InitTerm::init(kOwnName, false);
    ++gSinksOnBus;
}

// A bus that was there before the first sink is its starter's to end, instances and all.
void endBusForLast()
{
    if (--gSinksOnBus == 0 && gStartedBus)
        TevoroTalk::InitTerm::exit();
}

} // namespace

int PtTevoroTalk::Initialize()
{
    startBusForFirst();
    const TevoroTalk::Specifier name(kOwnName, false);
    m_instance = new TevoroTalk(name.get(), new HelloHandler, true, nullptr);
    if (m_instance)
        return 1;
    endBusForLast();
    throw std::bad_alloc(); // the bus's own objects say so with a null pointer
}

void PtTevoroTalk::Terminate() noexcept
{
    const TevoroTalk* const instance = std::exchange(m_instance, nullptr);
    if (!instance)
        return;
    try {
        delete instance;
        endBusForLast();
    } catch (...) {
        // The sink ends all the same, and nobody waits for news of the bus any more.
    }
}

bool PtTevoroTalk::targetIsRunning() const
{
    return TevoroTalk::targetIsRunning(kTarget);
}

bool PtTevoroTalk::isTevoroBusy() const
{
    return TevoroTalk::Thread::ping(kTarget, "STATUS", kPingWait, nullptr) == "BUSY";
}

int PtTevoroTalk::DoLaunchTevoro(const QByteArray& script, bool bringToFront)
{
    const TevoroTalk::Specifier target(kTarget, true);
    if (!target.isRunning() && !target.isInstalled())
        return -1;
    return sendScript(script) && awaitAnswer(bringToFront) ? 0 : -2;
}

// False when there is no memory for the message. What else becomes of it, the answer says, or its
// absence.
bool PtTevoroTalk::sendScript(const QByteArray& script) const
{
    const std::unique_ptr<TevoroTalk::Message> message(new TevoroTalk::Message);
    if (!message)
        return false;
    message->target = kTarget;
    message->body.assign(
        std::string_view(script.constData(), static_cast<std::size_t>(script.size())));
    // The last statement's value is what comes back.
    message->body.append("'done';");
    message->responseRequest = "Result";
    gMessageReceived = 0;
    m_instance->send(*message, true, kLaunchWait, nullptr);
    return true;
}

// The flag is looked at before anything is pumped: the answer may have come while the message was
// sent.
bool PtTevoroTalk::awaitAnswer(bool bringToFront)
{
    for (int counter = kAnswerRounds; gMessageReceived == 0; --counter) {
        if (counter == 1 || !ScObjects::TevoroTalkUtils::waitsForOthers())
            return false;
        m_clock.sleepFor(kAnswerPause);
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
    }
    if (bringToFront)
        TevoroTalk::bringToFront(kTarget, nullptr);
    return true;
}

void PtTevoroTalk::sendPending()
{
    for (int round = 0; round < kPendingRounds && m_instance->outgoingMessagePending(); ++round) {
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
        m_clock.sleepFor(kPendingPause);
    }
    TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
}
