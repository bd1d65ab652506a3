// The sending end of one connection to a local port. Any number of threads may send at once: each
// waits for room by itself, as long as it was told, and holds up no other. The texts of one thread
// keep their order.
//
// A text too long for a packet takes memory until it is read, and no room in the buffer of the
// socket. So a connection has kMaxUnread bytes of such texts on the way, or a single longer one;
// the next waits like a packet for room. The system tells only how much of the buffer is unread:
// what must lie before it has been read.
#pragma once

#include "platform/common/threads/Lock.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>

namespace Pt {

// One text, in the pieces that its sender has it in.
struct SplitText {
    std::string_view head;
    std::string_view rest;

    std::size_t size() const { return head.size() + rest.size(); }
};

class SenderConnection {
public:
    // kGone: the holder has closed the connection. kShort: the system is short of something that
    // others give back. Unless it is kDone, nothing was delivered.
    enum class Delivery { kDone, kNoRoom, kGone, kTooLarge, kShort, kFailed };

    // Of texts in memory files.
    static constexpr std::size_t kMaxUnread = std::size_t{16} * 1024 * 1024;

    // Widens the buffer of the socket.
    explicit SenderConnection(Descriptor socket);

    // Tries once at least, and waits for room up to the deadline.
    Delivery send(const SplitText& text, SteadyTime deadline);

    bool hasHolderLeft() const;
    // Whether the holder has read all that was sent so far.
    bool isAllRead() const { return unreadBuffer() == 0; }

private:
    struct MemoryText {
        std::size_t size;
        std::uint64_t mark; // m_sent before it
    };

    Delivery sendPacket(const SplitText& text, SteadyTime deadline);
    Delivery sendMemoryText(const SplitText& text, SteadyTime deadline);
    Delivery sendFile(const Descriptor& file, std::uint64_t size, SteadyTime deadline);
    void count(std::size_t packetSize);
    std::uint64_t unreadBuffer() const;
    bool reserve(std::size_t size) TEVORO_EXCLUDES(m_lock);
    void settle(std::size_t size, Delivery result) TEVORO_EXCLUDES(m_lock);
    void forgetRead() TEVORO_REQUIRES(m_lock);
    template <typename Attempt>
    Delivery repeatWhileShort(SteadyTime deadline, Attempt attempt);

    const Descriptor m_socket;
    // What all packets so far take in the buffer at least.
    std::atomic<std::uint64_t> m_sent{0};
    Lock m_lock;
    std::deque<MemoryText> m_unread TEVORO_GUARDED_BY(m_lock); // that are not known to be read
    std::size_t m_unreadBytes TEVORO_GUARDED_BY(m_lock) = 0; // with those being sent now
};

} // namespace Pt
