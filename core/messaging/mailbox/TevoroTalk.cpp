#include "messaging/TevoroTalk.h"

#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/MainStream.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/TevoroTalkSetupThread.h"
#include "messaging/process/TevoroTalkThread.h"

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

// The name taken apart and built again, which drops what its grammar does not know.
TevoroTalk::Specifier canonical(const char* appName)
{
    TevoroTalk::Specifier specifier(appName, true);
    specifier.setInstance(specifier.instance());
    return specifier;
}

InterAppStream* openStreamFor(const TevoroTalk::Specifier& name, bool isMain)
{
    if (!isMain)
        return TevoroTalkUtils::createNextAvailableInterAppStream(name);
    const TevoroTalkContext* const context = TevoroTalkContext::getCurrentContext();
    // The thread may be just about to open its own port.
    const TevoroTalkContext::PausedThread pause(context);
    return openMainStream(name, context != nullptr ? context->getThread()->getSpecifier() : "");
}

} // namespace

TevoroTalk::TevoroTalk(
    const char* appName, MsgHandler* handler, bool mainInstance, TevoroTalkContext* context)
{
    // The instance belongs to the context that is being made.
    if (TevoroTalkSetupThread::isSetupThreadRunning())
        TevoroTalkSetupThread::syncWithSetupThread();
    if (mainInstance && context == nullptr && TevoroTalkContext::getCurrentContext() == nullptr)
        startForInstance(appName);
    m_data = new PrivateData(openStreamFor(canonical(appName), mainInstance));
    // An instance of the current context asks for it anew each time, and so follows a change of
    // contexts.
    if (context != TevoroTalkContext::getCurrentContext())
        m_data->context = context;
    // After the stream is open: the path has the name that was really taken.
    m_data->incoming.setDiagnosticsRoot(getInfoRoot("in"));
    m_data->outgoing.setDiagnosticsRoot(getInfoRoot("out"));
    // From here on the bus's thread serves the instance: its stream and its queues are there by
    // now.
    if (TevoroTalkContext* const ours = getContext()) {
        ours->appendInstance(this);
        if (mainInstance) {
            ours->setMainInstance(this);
            ours->followMainInstance();
        }
    }
    if (handler != nullptr) {
        m_data->addHandler(handler);
        handler->initialize(this);
    }
}

TevoroTalk::~TevoroTalk()
{
    if (m_data->unregisterApp) {
        Specifier specifier(getAppName(), true);
        specifier.unregisterApplication(nullptr);
    }
    // Out of the context before anything is deleted: the bus's thread may be at work on it.
    setContext(nullptr);
    delete m_data;
}

TevoroTalkContext* TevoroTalk::getContext() const
{
    TevoroTalkContext* const own = m_data->context;
    return own != nullptr ? own : TevoroTalkContext::getCurrentContext();
}

void TevoroTalk::setContext(TevoroTalkContext* context)
{
    if (context != nullptr && m_data->context == context)
        return;
    TevoroTalkContext* const former = getContext();
    if (former != nullptr && former != context) {
        bool wasLast = false;
        {
            // The thread first, then the context: the lock order of docs/bus.md.
            const TevoroTalkContext::PausedThread pause(former);
            const ObjectLock lock(*former);
            if (former->getMainInstance() == this)
                former->setMainInstance(nullptr);
            former->removeInstance(this);
            // Not a context that somebody else made, and owns.
            wasLast = contextOfFirstInstance() == former && former->getNumberOfInstances() == 0;
        }
        // After both locks were released: it waits for its thread, which needs them.
        if (wasLast)
            delete former;
    }
    m_data->context = context;
}

SoString TevoroTalk::getAppName() const
{
    const ObjectLock lock(*m_data);
    return m_data->stream != nullptr ? m_data->stream->getSpecifier() : SoString();
}

void TevoroTalk::setAppName(const char* name)
{
    if (getAppName() == name)
        return;
    // The thread of the bus must not use the stream that is being replaced.
    const TevoroTalkContext::PausedThread pause(getContext());
    m_data->openStream(name);
}

TevoroTalk::MsgHandler* TevoroTalk::findHandler(const SoString& type, std::uint32_t serialNumber)
{
    return m_data->findHandler(type, serialNumber);
}

TevoroTalk::MsgHandler* TevoroTalk::findHandler(const char* type, std::uint32_t serialNumber)
{
    return m_data->findHandler(type, serialNumber);
}

TevoroTalk::MsgHandler* TevoroTalk::changeHandler(MsgHandler* handler)
{
    return m_data->changeHandler(handler);
}

TevoroTalk::MsgHandler* TevoroTalk::removeHandler(const SoString& type, std::uint32_t serialNumber)
{
    return m_data->removeHandler(type, serialNumber);
}

bool TevoroTalk::deleteHandler(const MsgHandler* handler)
{
    return m_data->deleteHandler(handler);
}

bool TevoroTalk::deleteHandlers(std::uint32_t serialNumber)
{
    return m_data->deleteHandlers(serialNumber);
}

bool TevoroTalk::messagePending() const
{
    if (incomingMessagePending() || outgoingMessagePending())
        return true;
    // An application that asks and finds nothing counts as one that pumps.
    if (TevoroTalkThread* const thread = TevoroTalkThread::getMainThread())
        thread->setStatus(TevoroTalkThread::QK_IDLE);
    return false;
}

bool TevoroTalk::incomingMessagePending() const
{
    // The stream first, and always: watchers for answers stand in the queue until the answer comes.
    return textPending() || !m_data->incoming.isEmpty();
}

bool TevoroTalk::textPending() const
{
    const InterAppStream* const stream = m_data->stream;
    // messagePending() also looks into the port; what was collected before is still to be read.
    return stream != nullptr && (stream->messagePending() || !stream->isEmpty());
}

bool TevoroTalk::outgoingMessagePending() const
{
    return !m_data->outgoing.isEmpty();
}

bool TevoroTalk::outgoingMessagePending(const SoString& target) const
{
    return m_data->outgoing.findMessageForTarget(target) != nullptr;
}

bool TevoroTalk::removeIncomingMessage(std::uint32_t serialNumber)
{
    return m_data->incoming.removeMessage(serialNumber);
}

int TevoroTalk::waitDescriptor() const
{
    return m_data->waitDescriptor();
}

bool TevoroTalk::waitForMessage(int milliseconds) const
{
    return m_data->waitForMessage(std::chrono::milliseconds(milliseconds));
}

bool TevoroTalk::isCalled(const SoString& name) const
{
    const ObjectLock lock(*m_data);
    return m_data->stream != nullptr ? m_data->stream->getSpecifier() == name : name.isEmpty();
}

bool TevoroTalk::hasUnreadTexts() const
{
    return m_data->stream != nullptr && m_data->stream->hasUnreadTexts();
}

long TevoroTalk::unreadTexts() const
{
    return m_data->stream != nullptr ? m_data->stream->unreadTexts() : 0;
}

// Whether the queue has room for what the thread of the bus takes in for it.
bool TevoroTalk::canTakeIn() const
{
    // Not while another thread takes a text in, which may wait for an asker that does not read.
    const std::unique_lock lock(m_data->intake, std::try_to_lock);
    if (!lock.owns_lock())
        return false;
    const UnreadBound bound = UnreadBound::now();
    return static_cast<std::size_t>(m_data->incoming.length()) < bound.texts
        && m_data->incoming.bytes() < bound.bytes;
}

bool TevoroTalk::canReadPort() const
{
    return m_data->stream != nullptr && m_data->stream->hasRoom();
}

int TevoroTalk::portDescriptor() const
{
    return m_data->stream != nullptr ? m_data->stream->waitDescriptor() : -1;
}

void TevoroTalk::keepName() const
{
    if (m_data->stream != nullptr)
        m_data->stream->keepName();
}

void TevoroTalk::giveUpName() const
{
    if (m_data->stream != nullptr)
        m_data->stream->giveUpName();
}

SoString TevoroTalk::getInfoRoot(const char* queue) const
{
    const SoString name = getAppName();
    Specifier specifier(name, false);
    // The tree has one node for an application, and below it one for each of its names.
    specifier.setSuffix("");
    SoString root = "/messages/";
    root << specifier << "/" << name << "/" << queue;
    return root;
}

} // namespace ScObjects
