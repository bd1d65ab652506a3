// How a port is reached: its listener, and who gets in there; PortReceiver.cpp reads what they
// send.
#include "platform/platforms/linux/ports/DescriptorBound.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/ports/PortReceiver.h"

#include <utility>

#include <sys/timerfd.h>

namespace Pt {

namespace {

// Newcomers that wait to be let in. Each may fill its buffer and send large texts before that, so a
// holder that has stopped keeps as many times that memory; whoever finds the queue full waits.
constexpr int kBacklog = 128;

// Let in in one call, so that newcomers who never pause do not hold it for ever.
constexpr int kMaxNewcomers = 4096;

// Between two attempts at what the system has no descriptors or no memory for.
constexpr long kRetryNanoseconds = 100'000'000;

bool addTo(DescriptorSet& set, int descriptor)
{
    try {
        set.add(descriptor);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

} // namespace

bool PortReceiver::open()
{
    m_watcher = Descriptor(::epoll_create1(EPOLL_CLOEXEC));
    m_listener = makeLocalSocket(SOCK_NONBLOCK);
    m_retryTimer = Descriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    const bool isOpen = m_watcher.isOpen() && m_listener.isOpen() && m_retryTimer.isOpen()
        && m_name.bind(m_listener.get()) && ::listen(m_listener.get(), kBacklog) == 0
        && watch(m_listener.get()) && watch(m_retryTimer.get());
    if (isOpen)
        m_name.announce();
    return isOpen;
}

bool PortReceiver::watch(int descriptor)
{
    if (m_waited && !addTo(*m_waited, descriptor))
        return false;
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    return ::epoll_ctl(m_watcher.get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

std::size_t PortReceiver::acceptConnections(const Taker& take)
{
    std::size_t count = 0;
    bool isRefused = false;
    for (int i = 0; i < kMaxNewcomers && hasRoom() && !isHeldUp(); ++i) {
        Descriptor socket(retryInterrupted([this] {
            return ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        }));
        const int error = socket.isOpen() ? 0 : errno;
        if (error == ECONNABORTED) // that one has left again; the next one may be there
            continue;
        const bool isShort = error == EMFILE || error == ENFILE;
        if (isShort && !isRefused && m_connections.size() != 0)
            count += makeRoom(ReceiverConnections::kNone, take);
        else if (error != 0) {
            if (error != EAGAIN) // which only says that nobody waits
                pauseListening();
            break;
        }
        isRefused = isShort;
        // The folder keeps strangers out; this holds also if it was opened to them for a moment.
        if (error == 0 && isPeerOfThisUser(socket.get()))
            count += welcome(std::move(socket), take);
        if (m_isCut || !m_isListening)
            break;
    }
    return count;
}

std::size_t PortReceiver::welcome(Descriptor socket, const Taker& take)
{
    const int number = socket.get();
    m_connections.add(std::move(socket));
    std::size_t count = 0;
    if (!watch(number)) {
        // Nobody would be woken for what it sends from now on; what it sent counts as delivered.
        count = retire(number, take);
        pauseListening();
    } else if (isAmongLastDescriptors(number))
        count = makeRoom(number, take);
    const bool isNext = m_connections.contains(number) && !isHeldUp() && !m_isCut;
    return isNext ? count + drain(number, kMaxPackets, take) : count;
}

// A connection goes for a newcomer: that which was idle for longest.
std::size_t PortReceiver::makeRoom(int newcomer, const Taker& take)
{
    const int idle = m_connections.leastLatelyUsed(newcomer);
    return idle != ReceiverConnections::kNone ? retire(idle, take) : 0;
}

bool PortReceiver::listenFor(unsigned int wanted)
{
    if (m_waited && wanted == 0)
        m_waited->remove(m_listener.get());
    else if (m_waited && !addTo(*m_waited, m_listener.get()))
        return false;
    epoll_event event = {};
    event.events = wanted;
    event.data.fd = m_listener.get();
    return ::epoll_ctl(m_watcher.get(), EPOLL_CTL_MOD, m_listener.get(), &event) == 0;
}

// Newcomers that cannot be let in would keep the port readable, and whoever waits on it busy.
void PortReceiver::pauseListening()
{
    if (setTimer() && listenFor(0))
        m_isListening = false;
}

void PortReceiver::resumeListening()
{
    m_isListening = listenFor(EPOLLIN);
    if (!m_isListening)
        setTimer();
}

bool PortReceiver::setTimer()
{
    itimerspec next = {};
    next.it_value.tv_nsec = kRetryNanoseconds;
    m_isTimerSet = ::timerfd_settime(m_retryTimer.get(), 0, &next, nullptr) == 0;
    return m_isTimerSet;
}

void PortReceiver::stopTimer()
{
    const itimerspec never = {};
    ::timerfd_settime(m_retryTimer.get(), 0, &never, nullptr);
    m_isTimerSet = false;
}

bool PortReceiver::keepName()
{
    return m_name.keep() && (m_name.hasSocket() || listenAnew());
}

// A socket gets its path only by bind, and only once.
bool PortReceiver::listenAnew()
{
    Descriptor fresh = makeLocalSocket(SOCK_NONBLOCK);
    if (!fresh.isOpen() || !acceptWaiting() || !m_name.bind(fresh.get()))
        return false;
    if (::listen(fresh.get(), kBacklog) != 0 || !watch(fresh.get())) {
        m_name.dropSocket();
        return false;
    }
    m_name.announce();
    unwatch(m_listener.get());
    m_listener = std::move(fresh);
    if (!m_isListening)
        resumeListening();
    return true;
}

// All who wait at the listener: they may have sent already, and nobody finds it any more. False
// when the system refuses; some may be in then.
bool PortReceiver::acceptWaiting()
{
    for (;;) {
        Descriptor socket(retryInterrupted([this] {
            return ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        }));
        if (!socket.isOpen() && errno != ECONNABORTED)
            return errno == EAGAIN;
        if (!socket.isOpen() || !isPeerOfThisUser(socket.get()))
            continue;
        // Read by the next receive(), for which it is ready.
        const int number = socket.get();
        m_connections.add(std::move(socket));
        if (watch(number))
            continue;
        // Nobody would be woken for it: its rest is read next, and then it is closed.
        if (m_retired == ReceiverConnections::kNone) {
            ::shutdown(number, SHUT_RD);
            m_retired = number;
            setTimer();
        }
        return false;
    }
}

} // namespace Pt
