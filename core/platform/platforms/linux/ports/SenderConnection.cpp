#include "platform/platforms/linux/ports/SenderConnection.h"

#include "platform/platforms/linux/ports/MemoryText.h"

#include <array>
#include <cstdint>
#include <cstring>

#include <poll.h>

namespace Pt {

namespace {

using Delivery = SenderConnection::Delivery;

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
    // The buffer of the socket cannot hold the packet, so the text goes as a memory file.
    case EMSGSIZE:
    case ENOBUFS:
        return Delivery::kTooLarge;
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
    return result == Delivery::kTooLarge ? sendMemoryText(text, deadline) : result;
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
    return sendMessageBefore(deadline, m_socket.get(), message);
}

Delivery SenderConnection::sendMemoryText(const SplitText& text, SteadyTime deadline)
{
    const Descriptor file = makeMemoryText(text.head, text.rest);
    if (!file.isOpen())
        return Delivery::kFailed;
    std::uint64_t size = text.size();
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
    // The system gives the receiver a descriptor of its own; ours is closed at the end of this
    // call.
    const int number = file.get();
    std::memcpy(CMSG_DATA(rights), &number, sizeof number);
    return sendMessageBefore(deadline, m_socket.get(), message);
}

bool SenderConnection::hasHolderLeft() const
{
    pollfd question = {m_socket.get(), 0, 0};
    return ::poll(&question, 1, 0) == 1 && (question.revents & (POLLHUP | POLLERR)) != 0;
}

} // namespace Pt
