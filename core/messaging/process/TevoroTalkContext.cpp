#include "messaging/TevoroTalkContext.h"

#include "messaging/BusWords.h"
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/process/TevoroTalkSetupThread.h"
#include "messaging/process/TevoroTalkThread.h"
#include "platform/common/ports/Sha1.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>

namespace ScObjects {

namespace {

constinit std::atomic<TevoroTalkContext*> gCurrentContext{nullptr};
// Numbers go on over the contexts of a process: an answer to the former one must not match a
// message of the new one.
constinit std::atomic<std::uint32_t> gLastSerialNumber{1};
constinit std::atomic<TevoroTalkContext*> gDeleteContextWithLastInstance{nullptr};
constinit std::atomic<bool> gFirstCall{true};

// A process may end, by exit() or by the end of its main function, with the bus up. What is static
// in this library and in those below it is destroyed then, so the thread that uses it ends before.
// The objects of the bus are not, as others may still use them; but the files of their ports go.
class EndsThreadAtExit {
public:
    // Statics are destroyed in the reverse of the order in which they came: the digest's come
    // first.
    EndsThreadAtExit() { Pt::sha1({}); }
    ~EndsThreadAtExit()
    {
        constexpr std::chrono::seconds kLimit{2};
        // A child that was forked has the context, and not the thread, and the names are not its
        // own.
        if (m_process != Pt::processId())
            return;
        const TevoroTalkContext* const context = gCurrentContext;
        // Its lock is the thread's own as long as that works: the files then stay for the next
        // holder.
        if (context != nullptr && context->getThread()->stopWithin(kLimit))
            context->getThread()->giveUpNames();
        InterAppStream::InitTerm::giveUpName();
    }
    EndsThreadAtExit(const EndsThreadAtExit&) = delete;
    EndsThreadAtExit& operator=(const EndsThreadAtExit&) = delete;

private:
    const long m_process = Pt::processId();
};

SoString withoutSuffix(const SoString& name)
{
    TevoroTalk::Specifier specifier(name, false);
    specifier.setSuffix("");
    return specifier;
}

} // namespace

TevoroTalkContext* TevoroTalkData::contextOfFirstInstance()
{
    return gDeleteContextWithLastInstance;
}

void TevoroTalkData::setContextOfFirstInstance(TevoroTalkContext* context)
{
    gDeleteContextWithLastInstance = context;
}

TevoroTalkContext::PausedThread::PausedThread(const TevoroTalkContext* context)
{
    if (context != nullptr && context->m_thread != nullptr)
        m_lock.emplace(*context->m_thread);
}

TevoroTalkContext::TevoroTalkContext(const TevoroTalk::Specifier& specifier, bool awaitsInstance)
    : m_nextSerialNumber(gLastSerialNumber)
    , m_logging(TevoroTalkUtils::isLoggingAskedFor())
{
    // Without a lock: nobody else knows the context before its thread starts, and the thread's own
    // lock is taken before the context's.
    static const EndsThreadAtExit atExit;
    m_thread = new TevoroTalkThread(this, specifier);
    if (!awaitsInstance)
        m_thread->start();
}

TevoroTalkContext::~TevoroTalkContext()
{
    // First: the thread works on the instances that are deleted below.
    if (m_thread->stop())
        delete std::exchange(m_thread, nullptr);
    TevoroTalkContext* self = this;
    // Only if it is still this one: a successor may be the current one by now.
    gCurrentContext.compare_exchange_strong(self, nullptr);
    self = this;
    gDeleteContextWithLastInstance.compare_exchange_strong(self, nullptr);
    TevoroTalkSetupThread::forgetContext(this);
    while (TevoroTalk* const instance = getNthInstance(0)) {
        // Its own destructor finds no current context any more.
        removeInstance(instance);
        delete instance;
    }
}

TevoroTalkContext* TevoroTalkContext::getCurrentContext()
{
    // The first caller joins the set-up thread even if the context is there, so that its object is
    // cleaned up.
    if (gCurrentContext == nullptr || gFirstCall.exchange(false))
        TevoroTalkSetupThread::syncWithSetupThread();
    return gCurrentContext;
}

void TevoroTalkContext::setCurrentContext(TevoroTalkContext* context)
{
    TevoroTalkContext* const former = gCurrentContext;
    if (context == former)
        return;
    if (former != nullptr && context != nullptr)
        context->succeed(former);
    else
        delete former;
    gCurrentContext = context;
    if (context == nullptr)
        gFirstCall = true;
}

// Counts on behind the former one. Its instances are here only as long as they are anywhere: they
// go with it, before the thread of this one sees them.
void TevoroTalkContext::succeed(TevoroTalkContext* former)
{
    const PausedThread pause(this);
    TevoroTalk* const ownMain = getMainInstance();
    SoVector<TevoroTalk> passing;
    {
        // Threads before contexts: the lock order of docs/bus.md.
        const PausedThread formerPause(former);
        const ObjectLock lock(*this);
        for (long i = 0; i < former->getNumberOfInstances(); ++i)
            passing.append(former->getNthInstance(i));
        appendContext(*former);
        gLastSerialNumber = m_nextSerialNumber;
    }
    // After the former thread's lock was released: that thread needs it to end, and the destructor
    // waits for the end.
    delete former;
    while (const TevoroTalk* const gone = passing.removeAt(0))
        removeInstance(gone);
    setMainInstance(ownMain);
}

std::uint32_t TevoroTalkContext::getNextSerialNumber()
{
    const ObjectLock lock(*this);
    // 0 means not yet numbered, and the highest number means none.
    if (m_nextSerialNumber == 0 || m_nextSerialNumber == QK_INVALID_MESSAGE_NUMBER)
        m_nextSerialNumber = 1;
    gLastSerialNumber = m_nextSerialNumber;
    return m_nextSerialNumber++;
}

std::uint32_t TevoroTalk::Message::getNextSerialNumber(TevoroTalkContext* context)
{
    if (context == nullptr)
        context = TevoroTalkContext::getCurrentContext();
    return context != nullptr ? context->getNextSerialNumber() : 0;
}

std::uint32_t TevoroTalkContext::nextSerialNumber() const
{
    const ObjectLock lock(*this);
    return m_nextSerialNumber;
}

TevoroTalk* TevoroTalkContext::getMainInstance() const
{
    return m_mainInstance;
}

void TevoroTalkContext::setMainInstance(TevoroTalk* instance)
{
    const ObjectLock lock(*this);
    m_mainInstance = instance;
}

void TevoroTalkContext::followMainInstance()
{
    // A copy that is just starting may hold one of the names until it has found its own number.
    // Each gives up what is not its own before it waits, so that they do not wait for each other.
    constexpr int kAttempts = 20;
    constexpr unsigned int kPause = 25; // milliseconds
    const SoString name = getAppSpecifier();
    for (int i = 0; i < kAttempts && !name.isEmpty(); ++i) {
        const bool isLast = i == kAttempts - 1;
        const bool hasThread = m_thread->follow(name, isLast);
        if (InterAppStream::InitTerm::follow(name, isLast) && hasThread)
            break;
        TevoroTalkUtils::sleep(kPause);
    }
    // Does nothing if it was started before.
    m_thread->start();
}

long TevoroTalkContext::getNumberOfInstances() const
{
    const ObjectLock lock(*this);
    return m_instances.length();
}

TevoroTalk* TevoroTalkContext::getNthInstance(long n) const
{
    const ObjectLock lock(*this);
    return n < m_instances.length() ? m_instances[n] : nullptr;
}

TevoroTalk* TevoroTalkContext::findInstance(TevoroTalk* instance) const
{
    const ObjectLock lock(*this);
    for (long i = 0; i < m_instances.length(); ++i)
        if (m_instances[i] == instance)
            return instance;
    return nullptr;
}

TevoroTalk* TevoroTalkContext::findInstance(const SoString& name) const
{
    const ObjectLock lock(*this);
    for (long i = 0; i < m_instances.length(); ++i)
        if (m_instances[i]->isCalled(name))
            return m_instances[i];
    return nullptr;
}

void TevoroTalkContext::appendInstance(TevoroTalk* instance)
{
    const ObjectLock lock(*this);
    m_instances.append(instance);
}

void TevoroTalkContext::removeInstance(const TevoroTalk* instance)
{
    const ObjectLock lock(*this);
    m_instances.remove(instance);
}

void TevoroTalkContext::appendContext(const TevoroTalkContext& other)
{
    const ObjectLock lock(*this);
    m_nextSerialNumber = std::max(m_nextSerialNumber, other.nextSerialNumber());
    for (long i = 0; i < other.getNumberOfInstances(); ++i)
        if (TevoroTalk* const instance = other.getNthInstance(i); findInstance(instance) == nullptr)
            m_instances.append(instance);
    m_mainInstance = other.getMainInstance();
}

TevoroTalkThread* TevoroTalkContext::getThread() const
{
    return m_thread;
}

TevoroTalkConnector* TevoroTalkContext::getConnector() const
{
    const ObjectLock lock(*this);
    return TevoroTalkConnector::get();
}

SoString TevoroTalkContext::getAppSpecifier() const
{
    if (const TevoroTalk* const instance = getMainInstance())
        return withoutSuffix(instance->getAppName());
    // Not completed: completion asks who is running, and that asks for this name again.
    return m_thread != nullptr ? withoutSuffix(m_thread->getSpecifier()) : SoString();
}

SoString TevoroTalkContext::getSignature() const
{
    const ObjectLock lock(*this);
    if (m_signature.isEmpty())
        m_signature = TevoroTalkUtils::getSignature();
    return m_signature;
}

bool TevoroTalkContext::isLogging() const
{
    return m_logging;
}

void TevoroTalkContext::setLogging(bool on)
{
    m_logging = on;
}

} // namespace ScObjects
