#include "platform/common/LocalPort.h"
#include "platform/platforms/linux/LocalSocket.h"
#include "platform/platforms/linux/MemoryText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <unordered_map>

#include <poll.h>

namespace Pt {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// The system doubles it for its own book-keeping.
constexpr int kSendBuffer = 4 * 1024 * 1024;

enum class Delivery { kDone, kNoRoom, kGone, kTooLarge, kFailed };

SteadyTime deadlineAfter(milliseconds patience)
{
    constexpr milliseconds kLongest = std::chrono::hours(24 * 365);
    return steady_clock::now() + std::clamp(patience, milliseconds(0), kLongest);
}

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
    case EMSGSIZE:
    case ENOBUFS:
        return Delivery::kTooLarge;
    default:
        return Delivery::kFailed;
    }
}

Delivery sendMessage(int socket, msghdr const& message, int flags)
{
    ssize_t const sent = ::sendmsg(socket, &message, MSG_NOSIGNAL | flags);
    return sent == -1 ? deliveryAfter(errno == EINTR ? EAGAIN : errno) : Delivery::kDone;
}

Delivery sendMessageBefore(SteadyTime deadline, int socket, msghdr const& message)
{
    Delivery result = sendMessage(socket, message, MSG_DONTWAIT);
    while (result == Delivery::kNoRoom && limitWait(socket, deadline))
        result = sendMessage(socket, message, 0);
    return result;
}

Delivery sendPacket(int socket, std::string_view text, SteadyTime deadline)
{
    iovec part = {const_cast<char*>(text.data()), text.size()}; // only read
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    return sendMessageBefore(deadline, socket, message);
}

Delivery sendMemoryText(int socket, std::string_view text, SteadyTime deadline)
{
    Descriptor const file = makeMemoryText(text);
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
    int const number = file.get();
    std::memcpy(CMSG_DATA(rights), &number, sizeof number);
    return sendMessageBefore(deadline, socket, message);
}

Delivery sendText(int socket, std::string_view text, SteadyTime deadline)
{
    Delivery result = Delivery::kTooLarge;
    if (text.size() <= kSendBuffer)
        result = sendPacket(socket, text, deadline);
    return result == Delivery::kTooLarge ? sendMemoryText(socket, text, deadline) : result;
}

// Packets may be as large as the buffer, and are several times faster than memory files.
void widenSendBuffer(int socket)
{
    if (::setsockopt(socket, SOL_SOCKET, SO_SNDBUFFORCE, &kSendBuffer, sizeof kSendBuffer) != 0)
        ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
}

bool hasHolderLeft(int socket)
{
    pollfd question = {socket, 0, 0};
    return ::poll(&question, 1, 0) == 1 && (question.revents & (POLLHUP | POLLERR)) != 0;
}

} // namespace

struct LocalPortSender::State {
    // By folder and name; a folder has no zero byte.
    std::unordered_map<std::string, Descriptor> connections;

    bool sendAfresh(std::string const& place,
        std::string_view name,
        std::string_view text,
        SteadyTime deadline);
};

LocalPortSender::LocalPortSender()
    : m_state(std::make_unique<State>())
{
}

LocalPortSender::~LocalPortSender() = default;

bool LocalPortSender::send(
    std::string_view name, std::string_view text, std::chrono::milliseconds patience)
{
    if (text.empty() || text.size() > LocalPort::kLargestText)
        return false;
    SteadyTime const deadline = deadlineAfter(patience);
    std::string place = localPortFolder();
    place.append(1, '\0').append(name);
    auto const kept = m_state->connections.find(place);
    if (kept != m_state->connections.end()) {
        Delivery const result = sendText(kept->second.get(), text, deadline);
        if (result != Delivery::kGone)
            return result == Delivery::kDone;
        m_state->connections.erase(kept);
    }
    return m_state->sendAfresh(place, name, text, deadline);
}

bool LocalPortSender::State::sendAfresh(
    std::string const& place, std::string_view name, std::string_view text, SteadyTime deadline)
{
    // Connections that are still held stay, whatever their number: a text sent on a second one
    // could overtake one that waits in the first.
    std::erase_if(connections, [](auto const& kept) { return hasHolderLeft(kept.second.get()); });
    std::error_code error;
    auto const folder = LocalPortFolder::open(error);
    if (!folder)
        return false;
    Descriptor connection = connectToLocalPort(*folder, localPortStem(name), deadline, error);
    if (!connection.isOpen())
        return false;
    widenSendBuffer(connection.get());
    Delivery const result = sendText(connection.get(), text, deadline);
    if (result != Delivery::kGone)
        connections[place] = std::move(connection);
    return result == Delivery::kDone;
}

} // namespace Pt
