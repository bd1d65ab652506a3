#include "messaging/mailbox/PrivateData.h"

#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"

#include <cstring>
#include <new>
#include <system_error>
#include <utility>

namespace ScObjects::TevoroTalkData {

namespace {

using MsgHandler = TevoroTalk::MsgHandler;

// Of the whole process, so that a message learns by one look that nobody subscribed.
constinit std::atomic<int> gForwardHandlers{0};

bool isForwardHandler(const MsgHandler& handler)
{
    return std::string_view(handler.getMsgType()).starts_with("FWD");
}

// In their order; whether there were any. Without a lock: a handler's end may need those that come
// before the handlers' own.
bool deleteAll(SoVector<MsgHandler>& gone)
{
    const bool found = gone.length() != 0;
    while (const MsgHandler* const handler = gone.removeAt(0))
        delete handler;
    return found;
}

void appendHandler(SoString& out, const SoString& node, const MsgHandler& handler)
{
    out << node << "/" << handler.getMsgType() << ";0;" << handler.getMsgType() << ";";
    if (handler.getSerialNumber() == QK_INVALID_MESSAGE_NUMBER)
        out << "for all messages";
    else
        out << "for only msg #" << handler.getSerialNumber();
    out << ";\n";
}

} // namespace

bool hasForwardHandlers()
{
    return gForwardHandlers != 0;
}

long callHandler(MsgHandler& handler, int reason, TevoroTalk::Message& message, SoString* result)
{
    // The code that docs/bus.md gives for an exception in a handler.
    constexpr long kException = -29;
    try {
        return handler.handleMessage(reason, message, result);
    } catch (...) {
        if (result != nullptr)
            *result = "Exception";
        return kException;
    }
}

PrivateData::PrivateData(InterAppStream* itsStream)
{
    makeSignals();
    // After the signals: the stream's wait is to end for them as well.
    adopt(itsStream);
    registerNumberedInstance();
}

void PrivateData::makeSignals()
{
    try {
        m_signals = std::make_unique<Signals>();
        m_signals->all.add(m_signals->flag.descriptor());
        m_signals->all.add(m_signals->timer.descriptor());
        incoming.setSignals(&m_signals->flag, &m_signals->timer);
    } catch (const std::system_error&) {
        // No descriptors left: the instance works, and waitDescriptor() says that it cannot be
        // waited on.
        m_signals.reset();
    }
}

PrivateData::~PrivateData()
{
    SoVector<MsgHandler> gone;
    {
        const ObjectLock lock(*this);
        // The name is given up first: nothing may arrive for handlers that are going.
        delete std::exchange(stream, nullptr);
        for (long i = handlers.length() - 1; i >= 0; --i)
            gone.append(takeFromHandlers(i));
    }
    deleteAll(gone);
}

void PrivateData::openStream(const SoString& name)
{
    const ObjectLock lock(*this);
    // The old name goes first: the new one may be the same.
    delete std::exchange(stream, nullptr);
    adopt(TevoroTalkUtils::createNextAvailableInterAppStream(name));
}

void PrivateData::adopt(InterAppStream* itsStream)
{
    stream = itsStream;
    if (stream != nullptr && m_signals != nullptr)
        m_signals->all.add(stream->waitDescriptor());
    // If one of them cannot be added, the slower set of descriptors is waited on instead.
    m_streamWakes = stream != nullptr && m_signals != nullptr
        && stream->wakeOn(m_signals->flag.descriptor())
        && stream->wakeOn(m_signals->timer.descriptor());
    const Pt::Locked lock(m_portWatchLock);
    if (m_streamWakes && m_portWatch != nullptr)
        stream->wakeOn(m_portWatch->descriptor());
}

void PrivateData::registerNumberedInstance()
{
    if (stream == nullptr)
        return;
    TevoroTalk::Specifier numbered(stream->getSpecifier(), false);
    // A second copy of an application is not in the registry, and others find it only there.
    if (numbered.instance().isEmpty() || numbered.isInstalled())
        return;
    TevoroTalk::Specifier base(numbered);
    base.setInstance("");
    const SoString path = TevoroTalk::Specifier::getApplicationPath(base);
    unregisterApp = numbered.registerApplication(path, nullptr, false);
}

bool PrivateData::sendAnswer(const TevoroTalk::Message& message, const SoString& head, bool mayWait)
{
    using std::chrono::milliseconds;
    if (stream == nullptr)
        return false;
    retryLateAnswers();
    // Answers to one target keep their order.
    if (!m_lateAnswers.holdsFor(message.target)
        && stream->sendUnlessSilent(
            mayWait ? kSendPatience : milliseconds(0), message.target, head, message.body))
        return true;
    if (stream->silentTargets().isSilent(message.target.view())
        || stream->canOpen(message.target, true))
        return false;
    SoString text(head);
    text << message.body;
    try {
        return !text.hasFailed() && m_lateAnswers.keep(message.target, text, kSendPatience);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void PrivateData::retryLateAnswers()
{
    if (m_lateAnswers.isEmpty() || stream == nullptr)
        return;
    m_lateAnswers.retry(
        [this](const SoString& target, const SoString& text) {
            return stream->sendUnlessSilent(std::chrono::milliseconds(0), target, text);
        },
        [this](const SoString& target) {
            stream->silentTargets().hasNotRead(target.view(), kSendPatience);
        });
}

bool PrivateData::queueOutgoing(TevoroTalk::Message* message)
{
    if (!outgoing.append(message)) {
        delete message;
        return false;
    }
    const Pt::Locked lock(m_portWatchLock);
    if (m_portWatch != nullptr || m_signals == nullptr)
        return true;
    try {
        m_portWatch = std::make_unique<Pt::PortWatch>();
        m_signals->all.add(m_portWatch->descriptor());
        if (m_streamWakes)
            stream->wakeOn(m_portWatch->descriptor());
    } catch (const std::system_error&) {
        // Not to be had: the thread of the bus tries now and then all the same.
        m_portWatch.reset();
    }
    return true;
}

void PrivateData::awaitNextPort()
{
    const Pt::Locked lock(m_portWatchLock);
    if (m_portWatch == nullptr)
        return;
    m_portWatch->clear();
    // Whoever queues a message looks for the watch afterwards, with the lock.
    if (outgoing.isEmpty())
        m_portWatch.reset();
}

int PrivateData::waitDescriptor() const
{
    return m_signals != nullptr ? m_signals->all.descriptor() : -1;
}

bool PrivateData::waitForMessage(std::chrono::milliseconds limit) const
{
    if (m_streamWakes)
        return stream->wait(limit);
    if (m_signals != nullptr)
        return m_signals->all.wait(limit);
    TevoroTalkUtils::sleep(static_cast<unsigned int>(limit.count()));
    return true; // as far as it can tell
}

void PrivateData::addToHandlers(MsgHandler* handler)
{
    if (isForwardHandler(*handler)) {
        m_forwardHandlers.append(handler);
        ++gForwardHandlers;
    }
    handlers.append(handler);
}

MsgHandler* PrivateData::takeFromHandlers(long index)
{
    MsgHandler* const handler = handlers.removeAt(index);
    // What was counted is what is taken off, whatever type the handler says that it has by now.
    const long before = m_forwardHandlers.length();
    m_forwardHandlers.remove(handler);
    gForwardHandlers -= static_cast<int>(before - m_forwardHandlers.length());
    return handler;
}

void PrivateData::takeAllFromHandlers(std::uint32_t serialNumber, SoVector<MsgHandler>& taken)
{
    for (long i = handlers.length() - 1; i >= 0; --i)
        if (handlers[i]->getSerialNumber() == serialNumber)
            taken.append(takeFromHandlers(i));
}

long PrivateData::placeOf(const MsgHandler* handler) const
{
    long place = handlers.length() - 1;
    while (place >= 0 && handlers[place] != handler)
        --place;
    return place;
}

MsgHandler* PrivateData::findHandler(const char* type, std::uint32_t serialNumber)
{
    const ObjectLock lock(*this);
    MsgHandler* fallback = nullptr;
    for (long i = handlers.length() - 1; i >= 0; --i) {
        MsgHandler* const handler = handlers[i];
        const bool hasType = std::strcmp(type, handler->getMsgType()) == 0;
        const bool hasNumber = handler->getSerialNumber() == serialNumber;
        // A handler for just this message comes before one for all of its type, wherever it stands.
        if (hasNumber && (hasType || *type == '\0'))
            return handler;
        if (hasType && handler->getSerialNumber() == QK_INVALID_MESSAGE_NUMBER)
            fallback = handler;
    }
    return fallback;
}

MsgHandler* PrivateData::changeHandler(MsgHandler* handler)
{
    const ObjectLock lock(*this);
    MsgHandler* former = findHandler(handler->getMsgType(), handler->getSerialNumber());
    // One for all messages is not the one for this message.
    if (former != nullptr && former->getSerialNumber() != handler->getSerialNumber())
        former = nullptr;
    if (former == handler)
        return nullptr;
    if (former != nullptr)
        takeFromHandlers(placeOf(former));
    addToHandlers(handler);
    return former;
}

void PrivateData::addHandler(MsgHandler* handler)
{
    delete changeHandler(handler);
}

MsgHandler* PrivateData::removeHandler(const SoString& type, std::uint32_t serialNumber)
{
    const ObjectLock lock(*this);
    MsgHandler* const handler = findHandler(type, serialNumber);
    // No handler has the place -1, and nothing is taken.
    return takeFromHandlers(placeOf(handler));
}

bool PrivateData::deleteHandler(const MsgHandler* handler)
{
    const MsgHandler* found = nullptr;
    {
        const ObjectLock lock(*this);
        found = takeFromHandlers(placeOf(handler));
    }
    delete found;
    return found != nullptr;
}

bool PrivateData::deleteHandlers(std::uint32_t serialNumber)
{
    if (serialNumber == QK_INVALID_MESSAGE_NUMBER)
        return false;
    SoVector<MsgHandler> gone;
    {
        const ObjectLock lock(*this);
        takeAllFromHandlers(serialNumber, gone);
        // The exchange is over, so nobody is to be told any more that it took too long. Handlers
        // before queues: the lock order of docs/bus.md.
        incoming.removeTimeoutMessage(serialNumber);
    }
    return deleteAll(gone);
}

void PrivateData::appendDiagnostics(SoString& out, const SoString& path) const
{
    const ObjectLock lock(*this);
    SoString node(path);
    node << "/" << (stream != nullptr ? stream->getSpecifier() : SoString()) << "/handler";
    out << node << ";1;Handler;" << handlers.length() << ";\n";
    for (long i = 0; i < handlers.length(); ++i)
        appendHandler(out, node, *handlers[i]);
}

} // namespace ScObjects::TevoroTalkData
