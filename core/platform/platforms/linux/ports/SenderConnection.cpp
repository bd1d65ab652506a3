#include "platform/platforms/linux/ports/SenderConnection.h"

#include "platform/platforms/linux/ports/MemoryText.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>

namespace Pt {

namespace {

using Delivery = SenderConnection::Delivery;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Nobody tells when a text in a memory file was read, or when the system is no longer short: looked
// for after the shortest pause, then after ever longer ones.
constexpr milliseconds kMinPause{1};
constexpr milliseconds kMaxPause{16};

// The system counts its own book-keeping of a packet, too: never less than this, next to the bytes.
constexpr std::uint64_t kLeastOfPacket = 512;

// The system doubles it for its own book-keeping.
constexpr int kSendBuffer = 4 * 1024 * 1024;

Delivery deliveryAfter(int error)
{
    switch (error) {
    case EAGAIN:
        return Delivery::kNoRoom;
    case EPIPE:
    case ECONNRESET:
    case ECONNREFUSED: // on some systems, when the holder leaves at this very moment
    case ENOTCONN:
        return Delivery::kGone;
    // The buffer of the socket cannot hold the packet.
    case EMSGSIZE:
        return Delivery::kTooLarge;
    // No memory, or as many descriptors on the way as this user may have.
    case ENOBUFS:
    case ENOMEM:
    case ETOOMANYREFS:
        return Delivery::kShort;
    default:
        return Delivery::kFailed;
    }
}

// Not by a limit of the socket's own, which is one for all threads: the patience of one would
// become another's.
Delivery sendMessageBefore(SteadyTime deadline, int socket, const msghdr& message)
{
    // MSG_NOSIGNAL: a holder that has left must not end this process by SIGPIPE.
    constexpr int kFlags = MSG_NOSIGNAL | MSG_DONTWAIT;
    Delivery result = Delivery::kNoRoom;
    do {
        const ssize_t sent = retryInterrupted([&] { return ::sendmsg(socket, &message, kFlags); });
        result = sent == -1 ? deliveryAfter(errno) : Delivery::kDone;
    } while (result == Delivery::kNoRoom && waitFor(socket, POLLOUT, deadline));
    return result;
}

Delivery deliveryWithoutFile(int error)
{
    constexpr std::array kShortages = {EMFILE, ENFILE, ENOMEM, ENOSPC};
    return std::ranges::count(kShortages, error) != 0 ? Delivery::kShort : Delivery::kFailed;
}

// Packets may be as large as the buffer, and are several times faster than memory files.
void widenSendBuffer(int socket)
{
    // Beyond the system's limit, which needs a privilege; else as much as that limit allows.
    if (::setsockopt(socket, SOL_SOCKET, SO_SNDBUFFORCE, &kSendBuffer, sizeof kSendBuffer) != 0)
        ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
}

} // namespace

SenderConnection::SenderConnection(Descriptor socket)
    : m_socket(std::move(socket))
{
    widenSendBuffer(m_socket.get());
}

Delivery SenderConnection::send(const SplitText& text, SteadyTime deadline)
{
    Delivery result = Delivery::kTooLarge;
    if (text.size() <= kSendBuffer)
        result = sendPacket(text, deadline);
    // The system may have no memory in one piece for a packet, but pages for a file.
    const bool isForFile = result == Delivery::kTooLarge || result == Delivery::kShort;
    return isForFile ? sendMemoryText(text, deadline) : result;
}

Delivery SenderConnection::sendPacket(const SplitText& text, SteadyTime deadline)
{
    const auto pieceOf = [](std::string_view piece) {
        return iovec{const_cast<char*>(piece.data()), piece.size()}; // only read
    };
    std::array<iovec, 2> pieces = {pieceOf(text.head), pieceOf(text.rest)};
    msghdr message = {};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    const Delivery result = sendMessageBefore(deadline, m_socket.get(), message);
    if (result == Delivery::kDone)
        count(text.size());
    return result;
}

// Makes an attempt again, up to the deadline, while the system or the connection is short of
// something.
template <typename Attempt>
Delivery SenderConnection::repeatWhileShort(SteadyTime deadline, Attempt attempt)
{
    for (milliseconds pause = kMinPause;; pause = std::min(2 * pause, kMaxPause)) {
        const Delivery result = attempt();
        if (result != Delivery::kShort)
            return result;
        // No event is waited for, but the end of the other side always counts as one.
        if (waitFor(m_socket.get(), 0, std::min(deadline, steady_clock::now() + pause)))
            return Delivery::kGone;
        if (steady_clock::now() >= endOfWait(deadline))
            return Delivery::kNoRoom;
    }
}

Delivery SenderConnection::sendMemoryText(const SplitText& text, SteadyTime deadline)
{
    Delivery result = repeatWhileShort(
        deadline, [&] { return reserve(text.size()) ? Delivery::kDone : Delivery::kShort; });
    if (result != Delivery::kDone)
        return result;
    Descriptor file;
    result = repeatWhileShort(deadline, [&] {
        file = makeMemoryText(text.head, text.rest);
        return file.isOpen() ? Delivery::kDone : deliveryWithoutFile(errno);
    });
    if (result == Delivery::kDone)
        result = repeatWhileShort(deadline, [&] { return sendFile(file, text.size(), deadline); });
    settle(text.size(), result);
    return result;
}

Delivery SenderConnection::sendFile(const Descriptor& file, std::uint64_t size, SteadyTime deadline)
{
    iovec part = {&size, sizeof size};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof(int));
    // The system gives the receiver a descriptor of its own.
    const int number = file.get();
    std::memcpy(CMSG_DATA(rights), &number, sizeof number);
    return sendMessageBefore(deadline, m_socket.get(), message);
}

void SenderConnection::count(std::size_t packetSize)
{
    m_sent += kLeastOfPacket + packetSize;
}

std::uint64_t SenderConnection::unreadBuffer() const
{
    int bytes = 0;
    if (::ioctl(m_socket.get(), SIOCOUTQ, &bytes) != 0)
        return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(bytes);
}

bool SenderConnection::reserve(std::size_t size)
{
    const Locked lock(m_lock);
    forgetRead();
    if (m_unreadBytes != 0 && m_unreadBytes + size > kMaxUnread)
        return false;
    m_unreadBytes += size;
    return true;
}

void SenderConnection::settle(std::size_t size, Delivery result)
{
    const Locked lock(m_lock);
    if (result == Delivery::kDone) {
        try {
            m_unread.push_back({size, m_sent});
        } catch (const std::bad_alloc&) {
            m_unreadBytes -= size; // it was sent, and counts as read
        }
        count(sizeof(std::uint64_t));
    } else
        m_unreadBytes -= size;
}

// A text of which more was sent since than is unread, it included, has been read.
void SenderConnection::forgetRead()
{
    const std::uint64_t sent = m_sent; // before the system is asked: later packets are not in it
    const std::uint64_t unread = unreadBuffer();
    while (!m_unread.empty() && sent - m_unread.front().mark > unread) {
        m_unreadBytes -= m_unread.front().size;
        m_unread.pop_front();
    }
}

bool SenderConnection::hasHolderLeft() const
{
    pollfd question = {m_socket.get(), 0, 0};
    return ::poll(&question, 1, 0) == 1 && (question.revents & (POLLHUP | POLLERR)) != 0;
}

} // namespace Pt
