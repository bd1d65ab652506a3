#include "messaging/TevoroTalk.h"

#include "messaging/TevoroTalkContext.h"
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

} // namespace

TevoroTalk::TevoroTalk(
    const char* appName, MsgHandler* handler, bool mainInstance, TevoroTalkContext* context)
{
    if (TevoroTalkSetupThread::isSetupThreadRunning())
        TevoroTalkSetupThread::syncWithSetupThread();
    if (mainInstance && context == nullptr && TevoroTalkContext::getCurrentContext() == nullptr) {
        InitTerm::init(appName, true);
        setContextOfFirstInstance(TevoroTalkContext::getCurrentContext());
    }
    m_data = new PrivateData(canonical(appName));
    if (context != TevoroTalkContext::getCurrentContext())
        m_data->context = context;
    m_data->incoming.setDiagnosticsRoot(getInfoRoot("in"));
    m_data->outgoing.setDiagnosticsRoot(getInfoRoot("out"));
    if (TevoroTalkContext* const ours = getContext()) {
        ours->appendInstance(this);
        if (mainInstance)
            ours->setMainInstance(this);
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
            const TevoroTalkContext::PausedThread pause(former);
            const ObjectLock lock(*former);
            if (former->getMainInstance() == this)
                former->setMainInstance(nullptr);
            former->removeInstance(this);
            // Not a context that somebody else made, and owns.
            wasLast = contextOfFirstInstance() == former && former->getNumberOfInstances() == 0;
        }
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
    return stream != nullptr && (stream->messagePending() || !stream->isEmpty());
}

bool TevoroTalk::outgoingMessagePending() const
{
    return !m_data->outgoing.isEmpty();
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

int TevoroTalk::portDescriptor() const
{
    return m_data->stream != nullptr ? m_data->stream->waitDescriptor() : -1;
}

SoString TevoroTalk::getInfoRoot(const char* queue) const
{
    const SoString name = getAppName();
    Specifier specifier(name, false);
    specifier.setSuffix("");
    SoString root = "/messages/";
    root << specifier << "/" << name << "/" << queue;
    return root;
}

} // namespace ScObjects
