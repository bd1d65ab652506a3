// What stands behind a LocalPort: a listening socket, the connections of its senders, and the epoll
// set that they are in. Threads as for LocalPort.
//
// A connection is read in one of three ways, each of which a later call goes on with before
// anything else, so that texts stay in their order:
//
//   kept      a text was read, but there was no memory for it; it is passed on again
//   retired   the connection was shut, and its rest is read before it is closed: its sender
//             connects afresh for what comes next, and that is read later
//   turn      the sender whose texts are taken to their end, see SenderTurn
#pragma once

#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Waiting.h"
#include "platform/platforms/linux/ports/HeldName.h"
#include "platform/platforms/linux/ports/PacketReader.h"
#include "platform/platforms/linux/ports/ReceiverConnections.h"
#include "platform/platforms/linux/ports/SenderTurn.h"

#include <atomic>
#include <chrono>
#include <optional>
#include <vector>

#include <sys/epoll.h>

namespace Pt {

class PortReceiver {
public:
    using Taker = LocalPort::Taker;
    using Bound = LocalPort::Bound;

    explicit PortReceiver(HeldName held)
        : m_name(std::move(held))
    {
    }

    // To be called once, before anything else.
    bool open();

    // As the methods of LocalPort.
    std::size_t receive(const Taker& take, const Bound& bound);
    std::size_t receiveAwaited(const Taker& take, const Bound& bound);
    bool hasMore() const { return m_isCut || isHeldUp(); }
    bool wait(std::chrono::milliseconds limit);
    void wakeOn(int other) { waitSet().add(other); }
    int descriptor() const { return m_watcher.get(); }
    const std::string& name() const { return m_name.name(); }
    bool keepName();
    void giveUpName() { m_name.giveUp(); }

private:
    using Outcome = PacketReader::Outcome;

    // More than the packets that find room in one connection: what was there when a call began is
    // taken, and a sender that never pauses does not hold the call for ever.
    static constexpr int kMaxPackets = 16384;

    bool hasRoom() const { return m_room.texts != 0 && m_room.bytes != 0; }
    bool isKept() const { return m_kept != Outcome::kNothing; }
    // Whether something comes before all connections but one.
    bool isHeldUp() const { return isKept() || m_retired != ReceiverConnections::kNone; }

    std::size_t receiveReady(const Taker& take);
    const std::vector<int>& allReady();
    std::size_t serve(const std::vector<int>& ready, bool isOthersTurn, const Taker& take);
    std::size_t finish(const Taker& take);
    std::size_t drain(int connection, int most, const Taker& take);
    void pass(const Taker& take);
    void keep(Outcome outcome);
    void keepOn(Outcome outcome);
    void drop();
    std::size_t passKept(const Taker& take);
    void trim();

    std::size_t acceptConnections(const Taker& take);
    std::size_t welcome(Descriptor socket, const Taker& take);
    std::size_t makeRoom(int newcomer, const Taker& take);
    std::size_t retire(int connection, const Taker& take);
    std::size_t drainRetired(const Taker& take);

    bool watch(int descriptor);
    void unwatch(int descriptor);
    void close(int connection);
    bool listenFor(unsigned int wanted);
    void pauseListening();
    void resumeListening();
    bool setTimer();
    void stopTimer();
    DescriptorSet& waitSet();
    bool listenAnew();
    bool acceptWaiting();

    // Freed last: nobody finds a new holder while an old connection still takes texts.
    HeldName m_name;
    PacketReader m_reader;
    Descriptor m_watcher;
    Descriptor m_listener;
    Descriptor m_retryTimer; // made early: it is needed when no more can be made
    ReceiverConnections m_connections;
    std::vector<epoll_event> m_events;
    std::vector<int> m_ready;
    bool m_isListening = true;
    bool m_isTimerSet = false;
    std::atomic<int> m_awaited{-1}; // the connection that the last wait ended for
    SenderTurn m_turn;
    std::vector<int> m_notReached; // were ready in the last call, and had to wait
    bool m_isCut = false; // the last receive() left texts of the sender that has the turn
    int m_retired = ReceiverConnections::kNone;
    Outcome m_kept = Outcome::kNothing; // of the text in the reader; kText or kNoMemory
    std::chrono::steady_clock::time_point m_keptUntil; // counts for kNoMemory
    Bound m_room; // what is left of the bound of the call
    // Of whoever waits here: all that the watcher has, and what was added. Made on first use.
    std::optional<DescriptorSet> m_waited;
};

} // namespace Pt
