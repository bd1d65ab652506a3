#include "platform/common/ports/LocalPort.h"

#include "platform/common/ports/Waiting.h"
#include "platform/platforms/linux/ports/HeldName.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/ports/PacketReader.h"
#include "platform/platforms/linux/ports/SenderTurn.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <unordered_map>

#include <sys/epoll.h>
#include <sys/timerfd.h>

namespace Pt {

namespace {

// Asks for more than the kernel allows (net.core.somaxconn), which caps the backlog itself.
constexpr int kBacklog = 4096;

// More than the packets that find room in one connection: what was there when a call began is
// taken, and a sender that never pauses does not hold the call for ever.
constexpr int kMaxPackets = 16384;

// From one connection in one call, but for its last text: large texts that were handled one by one
// leave their memory, still in the caches, to the next.
constexpr std::size_t kMaxBytes = std::size_t{512} * 1024;

// Between two attempts to accept connections when the system has no descriptors left.
constexpr long kRetryNanoseconds = 100'000'000;

} // namespace

struct LocalPort::State {
    explicit State(HeldName held)
        : name(std::move(held))
    {
    }

    bool open();
    bool watch(int descriptor);
    bool hasRoom() const { return room.texts != 0 && room.bytes != 0; }
    std::size_t receive(const Taker& take, const Bound& bound);
    std::size_t receiveReady(const Taker& take);
    std::size_t acceptConnections(const Taker& take);
    std::size_t receiveAwaited(const Taker& take, const Bound& bound);
    std::size_t finish(const Taker& take);
    std::size_t drain(int connection, int most, const Taker& take);
    void pauseListening();
    void resumeListening();
    void listenFor(unsigned int wanted);
    DescriptorSet& waitSet();
    bool keepName();
    bool listenAnew();
    bool letIn();

    // Freed last: nobody finds a new holder while an old connection still takes texts.
    HeldName name;
    PacketReader reader;
    Descriptor watcher;
    Descriptor listener;
    Descriptor retryTimer; // made early: it is needed when no more can be made
    std::unordered_map<int, Descriptor> connections;
    std::vector<epoll_event> events;
    bool isListening = true;
    std::atomic<int> awaited{-1}; // the connection that the last wait ended for
    SenderTurn turn;
    bool isCut = false; // the last receive() left texts of the sender that has the turn
    Bound room; // what is left of the bound of the call
    // Of whoever waits here: all that `watcher` has, and what was added. Made on first use.
    std::optional<DescriptorSet> waited;
};

bool LocalPort::State::open()
{
    watcher = Descriptor(::epoll_create1(EPOLL_CLOEXEC));
    listener = makeLocalSocket(SOCK_NONBLOCK);
    retryTimer = Descriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    return watcher.isOpen() && listener.isOpen() && retryTimer.isOpen() && name.bind(listener.get())
        && ::listen(listener.get(), kBacklog) == 0 && watch(listener.get())
        && watch(retryTimer.get());
}

bool LocalPort::State::watch(int descriptor)
{
    try {
        if (waited)
            waited->add(descriptor);
    } catch (const std::system_error&) {
        return false;
    }
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    return ::epoll_ctl(watcher.get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

std::size_t LocalPort::State::receive(const Taker& take, const Bound& bound)
{
    room = bound;
    const std::size_t count = hasRoom() ? receiveReady(take) : 0;
    isCut = isCut || !hasRoom();
    return count;
}

std::size_t LocalPort::State::receiveReady(const Taker& take)
{
    const bool isOthersTurn = turn.isLong();
    std::size_t count = finish(take);
    if (isCut)
        return count;
    // Tried at each call, as descriptors may be free again; the timer only wakes whoever waits.
    if (!isListening) {
        resumeListening();
        count += acceptConnections(take);
    }
    // All that can be ready at once: the connections, the listener and the timer.
    events.resize(connections.size() + 2);
    const int ready = retryInterrupted([this] {
        return ::epoll_wait(watcher.get(), events.data(), static_cast<int>(events.size()), 0);
    });
    for (int i = 0; i < ready && hasRoom() && (!isCut || isOthersTurn); ++i) {
        const int descriptor = events[static_cast<std::size_t>(i)].data.fd;
        if (descriptor == listener.get())
            count += acceptConnections(take);
        else if (descriptor != retryTimer.get())
            count += drain(descriptor, kMaxPackets, take);
    }
    return count;
}

std::size_t LocalPort::State::acceptConnections(const Taker& take)
{
    std::size_t count = 0;
    for (int i = 0; i < kBacklog; ++i) {
        Descriptor connection(retryInterrupted([this] {
            return ::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        }));
        // That sender has left again; the next one may be there.
        if (!connection.isOpen() && errno == ECONNABORTED)
            continue;
        if (!connection.isOpen()) {
            // No descriptors or no memory left; EAGAIN only says that nobody waits.
            if (errno != EAGAIN)
                pauseListening();
            break;
        }
        const int number = connection.get();
        // The folder keeps strangers out; this holds also if it was opened to them for a moment.
        if (!isPeerOfThisUser(number) || !watch(number))
            continue;
        connections[number] = std::move(connection);
        count += drain(number, kMaxPackets, take);
        if (isCut || !hasRoom())
            break;
    }
    return count;
}

// The rest of what was begun, before anybody else's.
std::size_t LocalPort::State::finish(const Taker& take)
{
    isCut = false;
    const int connection = turn.owner();
    if (connections.contains(connection))
        return drain(connection, kMaxPackets, take);
    turn.end();
    return 0;
}

std::size_t LocalPort::State::receiveAwaited(const Taker& take, const Bound& bound)
{
    room = bound;
    if (!hasRoom())
        return 0;
    // Once only: the next call looks at everything again.
    const int connection = awaited.exchange(-1);
    if (!connections.contains(connection)) // it may have gone since
        return 0;
    if (turn.isAnothers(connection)) {
        if (const std::size_t count = finish(take))
            return count;
    }
    return drain(connection, 1, take);
}

std::size_t LocalPort::State::drain(int connection, int most, const Taker& take)
{
    std::size_t count = 0;
    std::size_t bytes = 0;
    turn.begin(connection);
    // Until the end of the connection's texts is seen, more may be there. A call for one text says
    // nothing about it.
    isCut = most != 1;
    for (int i = 0; i < most && bytes < kMaxBytes && hasRoom(); ++i) {
        const auto outcome = reader.read(connection);
        // Closing takes it out of both sets as well.
        if (outcome == PacketReader::Outcome::kEnd)
            connections.erase(connection);
        if (outcome == PacketReader::Outcome::kEnd || outcome == PacketReader::Outcome::kNothing) {
            turn.end();
            isCut = false;
            break;
        }
        if (outcome == PacketReader::Outcome::kText) {
            ++count;
            bytes += reader.size();
            turn.took(reader.size());
            room.texts -= 1;
            room.bytes -= std::min(room.bytes, reader.size());
            take(reader.text(), reader.size());
        }
    }
    return count;
}

void LocalPort::State::listenFor(unsigned int wanted)
{
    if (waited && wanted == 0)
        waited->remove(listener.get());
    else if (waited)
        waited->add(listener.get());
    epoll_event event = {};
    event.events = wanted;
    event.data.fd = listener.get();
    ::epoll_ctl(watcher.get(), EPOLL_CTL_MOD, listener.get(), &event);
}

// Newcomers that cannot be let in would keep the port readable, and whoever waits on it busy.
void LocalPort::State::pauseListening()
{
    itimerspec next = {};
    next.it_value.tv_nsec = kRetryNanoseconds;
    if (::timerfd_settime(retryTimer.get(), 0, &next, nullptr) != 0)
        return;
    listenFor(0);
    isListening = false;
}

void LocalPort::State::resumeListening()
{
    const itimerspec never = {};
    ::timerfd_settime(retryTimer.get(), 0, &never, nullptr);
    listenFor(EPOLLIN);
    isListening = true;
}

DescriptorSet& LocalPort::State::waitSet()
{
    if (!waited) {
        waited.emplace();
        for (const int descriptor : {listener.get(), retryTimer.get()})
            waited->add(descriptor);
        for (const auto& connection : connections)
            waited->add(connection.first);
    }
    return *waited;
}

bool LocalPort::State::keepName()
{
    return name.keep() && (name.hasSocket() || listenAnew());
}

// A socket gets its path only by bind, and only once.
bool LocalPort::State::listenAnew()
{
    Descriptor fresh = makeLocalSocket(SOCK_NONBLOCK);
    if (!fresh.isOpen() || !letIn() || !name.bind(fresh.get()))
        return false;
    if (::listen(fresh.get(), kBacklog) != 0 || !watch(fresh.get())) {
        name.dropSocket();
        return false;
    }
    listener = std::move(fresh);
    if (!isListening)
        resumeListening();
    return true;
}

// All who wait at the listener: they may have sent already, and nobody finds it any more. False
// when the system refuses; some may be in then.
bool LocalPort::State::letIn()
{
    for (;;) {
        Descriptor connection(retryInterrupted([this] {
            return ::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        }));
        const int number = connection.get();
        if (!connection.isOpen() && errno != ECONNABORTED)
            return errno == EAGAIN;
        // Read by the next receive(), for which it is ready.
        if (connection.isOpen() && isPeerOfThisUser(number) && watch(number))
            connections[number] = std::move(connection);
    }
}

std::unique_ptr<LocalPort> LocalPort::hold(std::string_view name)
{
    std::error_code error;
    auto folder = LocalPortFolder::openOrMake(error);
    auto held = folder ? HeldName::take(std::move(*folder), name) : std::nullopt;
    if (!held)
        return nullptr;
    auto state = std::make_unique<State>(std::move(*held));
    if (!state->open())
        return nullptr;
    return std::unique_ptr<LocalPort>(new LocalPort(std::move(state)));
}

LocalPort::LocalPort(std::unique_ptr<State> state)
    : m_state(std::move(state))
{
}

LocalPort::~LocalPort() = default;

std::size_t LocalPort::receive(const Taker& take)
{
    return receive(take, Bound());
}

std::size_t LocalPort::receive(const Taker& take, const Bound& room)
{
    const std::size_t count = m_state->receive(take, room);
    m_state->reader.trim();
    return count;
}

std::size_t LocalPort::receiveAwaited(const Taker& take)
{
    return receiveAwaited(take, Bound());
}

std::size_t LocalPort::receiveAwaited(const Taker& take, const Bound& room)
{
    const std::size_t count = m_state->receiveAwaited(take, room);
    m_state->reader.trim();
    return count;
}

bool LocalPort::hasMore() const
{
    return m_state->isCut;
}

bool LocalPort::wait(std::chrono::milliseconds limit)
{
    const int fd = m_state->waitSet().waitForOne(limit);
    m_state->awaited = fd;
    return fd != -1;
}

void LocalPort::wakeOn(int other)
{
    m_state->waitSet().add(other);
}

int LocalPort::descriptor() const
{
    return m_state->watcher.get();
}

bool LocalPort::keepName()
{
    return m_state->keepName();
}

void LocalPort::giveUpName()
{
    m_state->name.giveUp();
}

const std::string& LocalPort::name() const
{
    return m_state->name.name();
}

} // namespace Pt
