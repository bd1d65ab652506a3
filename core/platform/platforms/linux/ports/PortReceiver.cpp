#include "platform/platforms/linux/ports/PortReceiver.h"

#include "platform/platforms/linux/ports/LocalSocket.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>

namespace Pt {

namespace {

// What the system itself takes for a packet, however short.
constexpr std::size_t kLeastOfPacket = 512;

// From one connection in one call, but for its last text: large texts that were handled one by one
// leave their memory, still in the caches, to the next.
constexpr std::size_t kMaxBytes = std::size_t{512} * 1024;

// How long the system is given to have memory for a text.
constexpr std::chrono::milliseconds kMaxKept{250};

} // namespace

std::size_t PortReceiver::receive(const Taker& take, const Bound& bound)
{
    m_room = bound;
    const std::size_t count = hasRoom() ? receiveReady(take) : 0;
    m_isCut = m_isCut || !hasRoom();
    trim();
    return count;
}

std::size_t PortReceiver::receiveReady(const Taker& take)
{
    const bool isOthersTurn = m_turn.isLong();
    std::size_t count = finish(take);
    if (m_isCut)
        return count;
    // Tried at each call, as descriptors may be free again; the timer only wakes whoever waits.
    if (m_isTimerSet)
        stopTimer();
    if (!m_isListening) {
        resumeListening();
        count += acceptConnections(take);
    }
    // Those that the last call had no room for come before all others: the system keeps its order,
    // in which a sender that writes again at once would always be read first.
    const std::vector<int> waiting = std::exchange(m_notReached, {});
    count += serve(waiting, isOthersTurn, take);
    if (m_notReached.empty())
        count += serve(allReady(), isOthersTurn, take);
    return count;
}

const std::vector<int>& PortReceiver::allReady()
{
    // All that can be ready at once: the connections, the listener and the timer.
    m_events.resize(m_connections.size() + 2);
    const int count = retryInterrupted([this] {
        return ::epoll_wait(m_watcher.get(), m_events.data(), static_cast<int>(m_events.size()), 0);
    });
    m_ready.clear();
    m_ready.reserve(m_events.size());
    for (int i = 0; i < count; ++i)
        m_ready.push_back(m_events[static_cast<std::size_t>(i)].data.fd);
    return m_ready;
}

std::size_t PortReceiver::serve(const std::vector<int>& ready, bool isOthersTurn, const Taker& take)
{
    std::size_t count = 0;
    for (const int descriptor : ready) {
        if (!hasRoom() || isHeldUp() || (m_isCut && !isOthersTurn))
            m_notReached.push_back(descriptor);
        else if (descriptor == m_listener.get())
            count += acceptConnections(take);
        else if (m_connections.contains(descriptor)) // it may have been closed for a newcomer
            count += drain(descriptor, kMaxPackets, take);
    }
    return count;
}

// Out of the sets first: in a forked child the connection may live on, and would go on being
// ready.
void PortReceiver::close(int connection)
{
    unwatch(connection);
    m_connections.close(connection);
}

void PortReceiver::unwatch(int descriptor)
{
    epoll_event unused = {};
    ::epoll_ctl(m_watcher.get(), EPOLL_CTL_DEL, descriptor, &unused);
    if (m_waited)
        m_waited->remove(descriptor);
}

// The rest of what was begun, before anything else.
std::size_t PortReceiver::finish(const Taker& take)
{
    m_isCut = false;
    std::size_t count = passKept(take);
    if (!m_isCut && m_retired != ReceiverConnections::kNone)
        count += drainRetired(take);
    if (m_isCut)
        return count;
    const int connection = m_turn.owner();
    if (m_connections.contains(connection))
        return count + drain(connection, kMaxPackets, take);
    m_turn.end();
    return count;
}

std::size_t PortReceiver::receiveAwaited(const Taker& take, const Bound& bound)
{
    m_room = bound;
    if (!hasRoom())
        return 0;
    // Once only: the next call looks at everything again.
    const int connection = m_awaited.exchange(-1);
    const bool isThere = m_connections.contains(connection); // it may have gone since
    std::size_t count = isHeldUp() || (isThere && m_turn.isAnothers(connection)) ? finish(take) : 0;
    if (count == 0 && !isHeldUp() && m_connections.contains(connection))
        count = drain(connection, 1, take);
    trim();
    return count;
}

std::size_t PortReceiver::drain(int connection, int most, const Taker& take)
{
    std::size_t count = 0;
    std::size_t bytes = 0;
    m_turn.begin(connection);
    m_connections.use(connection);
    // Until the end of the connection's texts is seen, more may be there. A call for one text says
    // nothing about it.
    m_isCut = most != 1;
    for (int i = 0; i < most && bytes < kMaxBytes && hasRoom(); ++i) {
        const Outcome outcome = m_reader.read(connection);
        // Closing takes it out of both sets as well.
        if (outcome == Outcome::kEnd)
            close(connection);
        if (outcome == Outcome::kEnd || outcome == Outcome::kNothing) {
            m_turn.end();
            m_isCut = false;
            break;
        }
        if (outcome == Outcome::kNoMemory) {
            keep(outcome);
            break;
        }
        // Also one that holds nothing takes its time.
        bytes += kLeastOfPacket;
        m_turn.took(kLeastOfPacket);
        if (outcome == Outcome::kText) {
            bytes += m_reader.size();
            pass(take);
            ++count;
        }
    }
    return count;
}

void PortReceiver::pass(const Taker& take)
{
    const std::size_t size = m_reader.size();
    m_room.texts -= 1;
    m_room.bytes -= std::min(m_room.bytes, size);
    m_turn.took(size);
    try {
        take(m_reader.text(), size);
    } catch (const std::bad_alloc&) {
        keep(Outcome::kText);
        throw;
    }
}

// The text stays in the reader, which reads nothing until it was passed on. A text for which there
// is never room would keep everything behind it away.
void PortReceiver::keep(Outcome outcome)
{
    m_keptUntil = std::chrono::steady_clock::now() + kMaxKept;
    keepOn(outcome);
}

void PortReceiver::drop()
{
    m_reader.forget();
    std::fputs("A local port has no memory for a text, which is dropped.\n", stderr);
}

void PortReceiver::keepOn(Outcome outcome)
{
    m_kept = outcome;
    m_isCut = true;
    setTimer(); // its socket may have nothing more that would wake whoever waits
}

std::size_t PortReceiver::passKept(const Taker& take)
{
    if (!isKept())
        return 0;
    const Outcome outcome = m_kept == Outcome::kNoMemory ? m_reader.readAgain() : m_kept;
    m_kept = Outcome::kNothing;
    if (outcome == Outcome::kNoMemory && std::chrono::steady_clock::now() < m_keptUntil)
        keepOn(outcome);
    else if (outcome == Outcome::kNoMemory)
        drop();
    if (outcome != Outcome::kText)
        return 0;
    pass(take);
    return 1;
}

void PortReceiver::trim()
{
    if (!isKept())
        m_reader.trim();
}

// From here on a send on it fails, so that its sender connects afresh; nothing of what was sent
// before is lost.
std::size_t PortReceiver::retire(int connection, const Taker& take)
{
    ::shutdown(connection, SHUT_RD);
    m_turn.end();
    m_retired = connection;
    return drainRetired(take);
}

std::size_t PortReceiver::drainRetired(const Taker& take)
{
    const std::size_t count = drain(m_retired, kMaxPackets, take);
    if (m_connections.contains(m_retired))
        m_isCut = true;
    else
        m_retired = ReceiverConnections::kNone;
    return count;
}

bool PortReceiver::wait(std::chrono::milliseconds limit)
{
    const int fd = waitSet().waitForOne(limit);
    m_awaited = fd;
    return fd != -1;
}

DescriptorSet& PortReceiver::waitSet()
{
    if (!m_waited) {
        DescriptorSet set; // which may fail on the way
        for (const int descriptor : {m_listener.get(), m_retryTimer.get()})
            set.add(descriptor);
        m_connections.forEach([&](int connection) { set.add(connection); });
        m_waited = std::move(set);
    }
    return *m_waited;
}

} // namespace Pt
