#include "messaging/mailbox/InterAppStream.h"

#include "messaging/BusWords.h"
#include "messaging/Message.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/MainStream.h"
#include "messaging/runtime/OutOfMemory.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/threads/Lock.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

namespace ScObjects {

namespace {

// Bytes; grows to the largest text.
constexpr long kFirstBufferSize = 4096;

constexpr UnreadBound kUnread{4096, std::size_t{8} << 20};
constexpr UnreadBound kUnreadWhileSending{8 * kUnread.texts, 8 * kUnread.bytes};

// Of the whole process, those that may have to wait.
constinit std::atomic<int> gSendsUnderWay{0};

class SendUnderWay {
public:
    SendUnderWay() { ++gSendsUnderWay; }
    ~SendUnderWay() { --gSendsUnderWay; }
    SendUnderWay(const SendUnderWay&) = delete;
    SendUnderWay& operator=(const SendUnderWay&) = delete;
};

std::string portName(const SoString& prefix, const SoString& name)
{
    std::string result(prefix.view());
    result += name.view();
    return result;
}

// A search for each NUL instead of a look at each byte: large texts have none.
void replaceNuls(char* text, long length)
{
    char* const end = text + length;
    while (void* const nul = std::memchr(text, '\0', static_cast<std::size_t>(end - text))) {
        text = static_cast<char*>(nul);
        *text++ = '\n';
    }
}

} // namespace

UnreadBound UnreadBound::now()
{
    return gSendsUnderWay == 0 ? kUnread : kUnreadWhileSending;
}

const char* const gPortName = TevoroTalkData::kPortPrefix;

BaseInterAppStream::BaseInterAppStream(const SoString& specifier, bool)
    : m_bufferSize(kFirstBufferSize)
    , m_specifier(specifier)
    , m_portPrefix(gPortName)
    , m_queueName(specifier)
{
}

BaseInterAppStream::~BaseInterAppStream() = default;

long BaseInterAppStream::bufferSize() const
{
    const ObjectLock lock(*this);
    return m_bufferSize;
}

void BaseInterAppStream::collect(char* text, long length)
{
    // Before anybody reads it: to readers of messages a NUL is the end of the text.
    replaceNuls(text, length);
    m_bufferSize = std::max(m_bufferSize, length);
    if (m_messages.isEmpty()) {
        m_messages.adopt(text, length); // as it is: a copy by way of a buffer would be the same
        return;
    }
    if (m_messages.reserve(m_messages.length() + length))
        m_messages.append(text, length);
    else
        tellOutOfMemory(length);
    freeThis(text);
}

MacInterAppStream::DataRef::DataRef(const char* text, long textLength)
    : data(SoString::mallocText(textLength))
    // receive() drops what has no length.
    , length(data != nullptr ? textLength : 0)
{
    if (data != nullptr)
        std::memcpy(data, text, static_cast<std::size_t>(length));
}

MacInterAppStream::DataRef::~DataRef()
{
    freeThis(data);
}

char* MacInterAppStream::DataRef::release()
{
    return std::exchange(data, nullptr);
}

MacInterAppStream::MacInterAppStream(const SoString& specifier, bool flag)
    : BaseInterAppStream(specifier, flag)
    , m_port(Pt::LocalPort::hold(portName(m_portPrefix, m_queueName)))
    , m_sender(std::make_unique<Pt::LocalPortSender>())
{
}

MacInterAppStream::~MacInterAppStream()
{
    const ObjectLock lock(*this);
    while (const DataRef* const unread = m_msgQueue.removeAt(0))
        delete unread;
    m_port.reset();
}

bool MacInterAppStream::isEmpty() const
{
    const ObjectLock lock(*this);
    return m_messages.isEmpty();
}

SoString MacInterAppStream::getMessages()
{
    const ObjectLock lock(*this);
    return std::exchange(m_messages, SoString());
}

bool MacInterAppStream::isGood() const
{
    const ObjectLock lock(*this);
    return m_port != nullptr;
}

bool MacInterAppStream::send(const SoString& target, const SoString& text) const
{
    return send(target, text, SoString());
}

bool MacInterAppStream::send(
    const SoString& target, const SoString& head, const SoString& rest) const
{
    return sendWithin(kSendPatience, target, head, rest);
}

bool MacInterAppStream::sendWithin(std::chrono::milliseconds patience,
    const SoString& target,
    const SoString& head,
    const SoString& rest) const
{
    if (!isGood())
        return false;
    // Without a lock of the stream: a send may wait for ten seconds, and others go on meanwhile.
    std::optional<SendUnderWay> underWay;
    if (patience.count() > 0)
        underWay.emplace();
    try {
        return m_sender->send(portName(m_portPrefix, target), head.view(), rest.view(), patience);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void MacInterAppStream::closePort()
{
    const ObjectLock lock(*this);
    m_port.reset();
}

bool MacInterAppStream::sendUnlessSilent(std::chrono::milliseconds patience,
    const SoString& target,
    const SoString& head,
    const SoString& rest) const
{
    bool isSent = false;
    try {
        const auto start = std::chrono::steady_clock::now();
        const auto allowed = m_silentTargets.patienceFor(target.view(), patience);
        isSent = sendWithin(allowed, target, head, rest);
        if (isSent)
            m_silentTargets.hasRead(target.view());
        // Whoever is not there at all says so at once.
        else if (allowed.count() > 0 && std::chrono::steady_clock::now() - start >= allowed)
            m_silentTargets.hasNotRead(target.view(), allowed);
    } catch (const std::bad_alloc&) {
        // Nothing could be noted, then.
    }
    return isSent;
}

bool MacInterAppStream::sendMessageUnlessSilent(
    std::chrono::milliseconds patience, const TevoroTalk::Message& message) const
{
    SoString head;
    return isGood() && message.writeHeadToString(head)
        && sendUnlessSilent(patience, message.target, head, message.body);
}

bool MacInterAppStream::sendMessage(const TevoroTalk::Message& message) const
{
    // The body, which may be large, goes as it lies there. Without a port a digest would be for
    // nothing.
    SoString head;
    return isGood() && message.writeHeadToString(head) && send(message.target, head, message.body);
}

bool MacInterAppStream::messagePending() const
{
    const ObjectLock lock(*this);
    if (m_port == nullptr)
        return false;
    const auto take = [this](char* text, std::size_t size)
                          TEVOROTALK_REQUIRES(this) { keepUnread(text, static_cast<long>(size)); };
    try {
        // The text that ended a wait first, alone: an answer is dispatched before the notices
        // behind it are read.
        const Pt::LocalPort::Bound room = roomLeft();
        if (m_port->receiveAwaited(take, room) == 0)
            m_port->receive(take, room);
    } catch (const std::bad_alloc&) {
        // It waits in the port, which passes it on again.
    }
    return m_msgQueue.length() != 0;
}

// A text for which there is no memory stays in the port as long as others wait here, and give
// theirs back when they are read; else it is dropped.
void MacInterAppStream::keepUnread(const char* text, long length) const
{
    auto* const unread = new DataRef(text, length);
    if (unread != nullptr && unread->data != nullptr && m_msgQueue.append(unread)) {
        m_unreadBytes += static_cast<std::size_t>(length);
        return;
    }
    delete unread;
    if (m_msgQueue.length() != 0)
        throw std::bad_alloc();
    tellOutOfMemory(length);
}

Pt::LocalPort::Bound MacInterAppStream::roomLeft() const
{
    const UnreadBound bound = UnreadBound::now();
    const auto texts = static_cast<std::size_t>(m_msgQueue.length());
    return {bound.texts - std::min(texts, bound.texts),
        bound.bytes - std::min(m_unreadBytes, bound.bytes)};
}

bool MacInterAppStream::hasRoom() const
{
    const ObjectLock lock(*this);
    const Pt::LocalPort::Bound room = roomLeft();
    return room.texts != 0 && room.bytes != 0;
}

bool MacInterAppStream::hasUnreadTexts() const
{
    const ObjectLock lock(*this);
    return m_msgQueue.length() != 0;
}

long MacInterAppStream::unreadTexts() const
{
    const ObjectLock lock(*this);
    return m_msgQueue.length();
}

bool MacInterAppStream::hasMore() const
{
    const ObjectLock lock(*this);
    return m_port != nullptr && m_port->hasMore();
}

bool MacInterAppStream::receive()
{
    const ObjectLock lock(*this);
    if (m_port == nullptr)
        return false;
    // The oldest first: texts of one sender stay in their order.
    const autoPtr<DataRef> text(m_msgQueue.removeAt(0));
    if (text.get() == nullptr)
        return false;
    const long length = text->length;
    m_unreadBytes -= static_cast<std::size_t>(length);
    if (length == 0)
        return false;
    // Hands the block over, so that a large text is not copied.
    collect(text->release(), length);
    return true;
}

bool MacInterAppStream::canOpen(const SoString& name, bool) const
{
    return Pt::isLocalPortFree(portName(m_portPrefix, name));
}

int MacInterAppStream::waitDescriptor() const
{
    const ObjectLock lock(*this);
    return m_port != nullptr ? m_port->descriptor() : -1;
}

bool MacInterAppStream::wakeOn(int descriptor)
{
    const ObjectLock lock(*this);
    try {
        if (m_port != nullptr)
            m_port->wakeOn(descriptor);
        return m_port != nullptr;
    } catch (const std::system_error&) {
        // No descriptors left; the caller then waits in another way.
        return false;
    }
}

void MacInterAppStream::keepName() const
{
    const ObjectLock lock(*this);
    if (m_port != nullptr)
        m_port->keepName(); // what cannot be had now is asked for again in a while
}

void MacInterAppStream::giveUpName() const
{
    const ObjectLock lock(*this);
    if (m_port != nullptr)
        m_port->giveUpName();
}

bool MacInterAppStream::wait(std::chrono::milliseconds limit) const
{
    // Without the lock, which others need meanwhile.
    return m_port->wait(limit);
}

InterAppStream::InterAppStream(const SoString& specifier, bool flag)
    : MacInterAppStream(specifier, flag)
{
}

} // namespace ScObjects
