#include "messaging/process/TevoroTalkThread.h"

#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/MainStream.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/TevoroTalkSetupThread.h"
#include "messaging/runtime/OutOfMemory.h"

#include <chrono>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

constexpr unsigned int kTick = 100; // milliseconds
constexpr unsigned int kSetupTick = 10;
constexpr unsigned int kEndTick = 1;
// Between two looks whether the files of the ports are there.
constexpr std::chrono::seconds kKeepingInterval{1};

// The handler of the store that is called in every round without work.
constexpr const char* kIdleKey = "Idle";

} // namespace

const char* const TevoroTalkThread::QK_FWDMESSAGES = "FWDMESSAGES";
const char* const TevoroTalkThread::QK_FWDLOGS = "FWDLOGS";
const char* const TevoroTalkThread::QK_FWDERRORS = "FWDERRORS";
const char* const TevoroTalkThread::QK_INFO = "INFO";
const char* const TevoroTalkThread::QK_SEEBODY = "SEE BODY";
const char* const TevoroTalkThread::QK_DIAGNOSTICS = "DIAGNOSTICS";
const char* const TevoroTalkThread::QK_ISNOTINSTALLED = "ISNOTINSTALLED";
const char* const TevoroTalkThread::QK_LAUNCHED = "LAUNCHED";
const char* const TevoroTalkThread::QK_UNDEFINED = "UNDEFINED";
const char* const TevoroTalkThread::QK_ISNOTRUNNING = "ISNOTRUNNING";
const char* const TevoroTalkThread::QK_NOERROR = "NOERROR";
const char* const TevoroTalkThread::QK_INVALIDSPEC = "INVALIDSPEC";
const char* const TevoroTalkThread::QK_MSGTOSTRINGERROR = "MSGTOSTRINGERROR";
const char* const TevoroTalkThread::QK_NOINTERAPPSTREAM = "NOINTERAPPSTREAM";
const char* const TevoroTalkThread::QK_PINGTYPE = "ping";
const char* const TevoroTalkThread::QK_PUMPING = "PUMPING";
const char* const TevoroTalkThread::QK_IDLE = "IDLE";
const char* const TevoroTalkThread::QK_BUSY = "BUSY";
const char* const TevoroTalkThread::QK_STATUS = "STATUS";
const char* const TevoroTalkThread::QK_ECHO_RESPONSE = "ECHO_RESPONSE";
const char* const TevoroTalkThread::QK_ECHO_REQUEST = "ECHO_REQUEST";
const char* const TevoroTalkThread::QK_NOP = "NOP";
const char* const TevoroTalkThread::QK_MAIN = "MAIN";

struct TevoroTalkThread::Waits {
    Pt::WaitableFlag wake; // raised once, to stop
    Pt::DescriptorSet ports;
};

TevoroTalkThread::TevoroTalkThread(TevoroTalkContext* context, const SoString& specifier)
    : m_threadSpecifier(createThreadSpecifier(specifier))
    , m_context(context)
{
    try {
        m_waits = std::make_unique<Waits>();
        m_waits->ports.add(m_waits->wake.descriptor());
    } catch (const std::system_error&) {
        // No descriptors left: the loop sleeps instead, and looks every 100 milliseconds.
        m_waits.reset();
    }
    // Before the thread runs, so that the first question finds its answer.
    fillStore();
}

TevoroTalkThread::~TevoroTalkThread()
{
    delete m_stream;
    for (long i = m_pingData.length() - 1; i >= 0; --i)
        delete m_pingData.removeAt(i);
}

SoString TevoroTalkThread::createThreadSpecifier(const SoString& specifier)
{
    TevoroTalk::Specifier name(specifier, false);
    if (name.isEmpty())
        return {};
    name.setSuffix("thread");
    return name;
}

TevoroTalkThread* TevoroTalkThread::getMainThread()
{
    const TevoroTalkContext* const context = TevoroTalkContext::getCurrentContext();
    return context != nullptr ? context->getThread() : nullptr;
}

void TevoroTalkThread::openStream(const SoString& name)
{
    const ObjectLock lock(*this);
    adopt(name, [&name] { return TevoroTalkUtils::createNextAvailableInterAppStream(name); });
}

void TevoroTalkThread::adopt(const SoString& name, const std::function<InterAppStream*()>& open)
{
    // First the old one: the new name may be the same. Closing its descriptor takes it out of what
    // is waited on.
    notePortName(SoString());
    delete std::exchange(m_stream, nullptr);
    m_threadSpecifier = name;
    m_stream = open();
    if (m_stream == nullptr)
        return;
    m_threadSpecifier = m_stream->getSpecifier();
    notePortName(m_threadSpecifier);
    if (m_waits != nullptr)
        m_waits->ports.add(m_stream->waitDescriptor());
}

bool TevoroTalkThread::setContext(TevoroTalkContext* context)
{
    const ObjectLock lock(*this);
    if (context == nullptr || context->getMainInstance() == nullptr) {
        m_context = nullptr;
        return true;
    }
    const SoString name = createThreadSpecifier(context->getAppSpecifier());
    if (m_stream == nullptr || name != m_stream->getSpecifier())
        openStream(name);
    m_context = context;
    return true;
}

bool TevoroTalkThread::follow(const SoString& appSpecifier, bool isLast)
{
    const ObjectLock lock(*this);
    const SoString wanted = createThreadSpecifier(appSpecifier);
    if (!isSameButForNumber(wanted, m_threadSpecifier)
        || (m_stream != nullptr && wanted == m_threadSpecifier))
        return true;
    adopt(wanted, [&wanted, isLast] {
        return isLast ? TevoroTalkUtils::createNextAvailableInterAppStream(wanted)
                      : openExactly(wanted);
    });
    return m_stream != nullptr && m_threadSpecifier == wanted;
}

SoString TevoroTalkThread::getSpecifier() const
{
    // Not the lock of the thread: whoever asks may hold one that the thread waits for.
    const Pt::Locked lock(m_portNameLock);
    return m_portName;
}

void TevoroTalkThread::notePortName(const SoString& name)
{
    const Pt::Locked lock(m_portNameLock);
    m_portName = name;
}

void TevoroTalkThread::requestStop()
{
    m_stopRequested = true;
    // After the flag is set: the thread looks at it when it wakes up.
    if (m_waits != nullptr)
        m_waits->wake.raise();
}

bool TevoroTalkThread::stop()
{
    requestStop();
    Thread::stop();
    return waitForRunExit();
}

bool TevoroTalkThread::stopWithin(std::chrono::milliseconds limit)
{
    requestStop();
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (isActive() && !isCurrent() && std::chrono::steady_clock::now() < deadline)
        Thread::sleep(kEndTick);
    if (!isActive())
        waitForRunExit(); // what is left of it takes no time
    return !isActive() || isCurrent();
}

void TevoroTalkThread::giveUpNames()
{
    const ObjectLock lock(*this);
    if (m_stream != nullptr)
        m_stream->giveUpName();
    if (m_context == nullptr)
        return;
    for (long i = 0; i < m_context->getNumberOfInstances(); ++i)
        if (const TevoroTalk* const instance = m_context->getNthInstance(i))
            instance->giveUpName();
}

bool TevoroTalkThread::openOwnStream()
{
    const ObjectLock lock(*this);
    if (m_stream == nullptr)
        openStream(SoString(m_threadSpecifier));
    return m_stream != nullptr;
}

void TevoroTalkThread::run()
{
    if (m_stopRequested || !openOwnStream())
        return;
    // A round asks for the current context, which would wait for the set-up with this thread's lock
    // held.
    while (TevoroTalkSetupThread::isSetupThreadRunning() && !m_stopRequested)
        Thread::wait(kSetupTick);
    while (!m_stopRequested) {
        try {
            const ObjectLock lock(*this);
            runLocked();
            // After the round, in which the application may have begun or ceased to pump.
            watchInstances();
            keepNames();
        } catch (const std::bad_alloc&) {
            tellOutOfMemory(0); // the next round may have it again
        }
        letPumpsPass();
        if (!m_stopRequested)
            wait(kTick);
    }
}

// A thread that has just released a lock gets it again before those who wait for it wake up.
void TevoroTalkThread::letPumpsPass() const
{
    constexpr int kLooks = 100;
    constexpr std::chrono::microseconds kPause{50};
    for (int i = 0; i < kLooks && m_waitingPumps != 0; ++i)
        std::this_thread::sleep_for(kPause);
}

void TevoroTalkThread::wait(unsigned int milliseconds)
{
    if (m_waits == nullptr)
        Thread::wait(milliseconds);
    else if (!hasUnreadTexts())
        m_waits->ports.wait(std::chrono::milliseconds(milliseconds));
}

void TevoroTalkThread::runLocked()
{
    readPings();
    serveInstances();
    removeExpiredPingData();
    if (isIdle())
        beIdle();
}

void TevoroTalkThread::serveInstances()
{
    if (m_context == nullptr)
        return;
    for (long i = 0; i < m_context->getNumberOfInstances(); ++i) {
        TevoroTalk* const instance = m_context->getNthInstance(i);
        if (instance == nullptr)
            return;
        // Takes in without dispatching: handlers run on the thread that pumps, and nowhere else.
        instance->processIncomingMessage(QK_INVALID_MESSAGE_NUMBER, false);
        instance->processOutgoingMessage();
    }
}

// Whatever clears old files away may have removed those of a port, and then nobody finds it.
void TevoroTalkThread::keepNames()
{
    const auto now = std::chrono::steady_clock::now();
    if (now < m_nextKeeping)
        return;
    m_nextKeeping = now + kKeepingInterval;
    if (m_stream != nullptr)
        m_stream->keepName();
    InterAppStream::InitTerm::keepName();
    if (m_context == nullptr)
        return;
    for (long i = 0; i < m_context->getNumberOfInstances(); ++i)
        if (const TevoroTalk* const instance = m_context->getNthInstance(i))
            instance->keepName();
}

void TevoroTalkThread::beIdle()
{
    TevoroTalk::MsgHandler* const handler = findHandler(kIdleKey);
    if (handler == nullptr)
        return;
    TevoroTalk::Message message;
    message.type = kIdleType;
    callHandler(*handler, TevoroTalk::MsgHandler::kIdle, message, nullptr);
}

// Texts that were looked at and not taken in do not make a port readable any more.
bool TevoroTalkThread::hasUnreadTexts() const
{
    const ObjectLock lock(*this);
    if (!m_rests.empty() || (m_stream != nullptr && m_stream->hasUnreadTexts()))
        return true;
    if (m_context == nullptr || isPumpedByApplication())
        return false;
    for (long i = 0; i < m_context->getNumberOfInstances(); ++i) {
        const TevoroTalk* const instance = m_context->getNthInstance(i);
        if (instance != nullptr && instance->hasUnreadTexts() && instance->canTakeIn())
            return true;
    }
    return false;
}

// An application that pumps takes its texts in itself; two that wake up for one text would cost as
// much again, and wait for each other. In a pump that takes long this thread still takes in one
// text a round.
bool TevoroTalkThread::isPumpedByApplication() const
{
    const PingData* const status = find(QK_STATUS);
    if (status != nullptr && status->value == QK_PUMPING)
        return true;
    const double passed = sinceLastPump();
    return m_lastPump > 0 && passed >= 0 && passed < kTick;
}

void TevoroTalkThread::watchInstances()
{
    if (m_waits == nullptr || m_context == nullptr)
        return;
    const bool watches = !isPumpedByApplication();
    for (long i = 0; i < m_context->getNumberOfInstances(); ++i) {
        const TevoroTalk* const instance = m_context->getNthInstance(i);
        const int port = instance != nullptr ? instance->portDescriptor() : -1;
        if (port == -1)
            continue;
        // A port that is not read stays readable.
        if (watches && instance->canReadPort())
            m_waits->ports.add(port);
        else
            // Taken out again, or each text would wake both threads.
            m_waits->ports.remove(port);
    }
}

} // namespace ScObjects
