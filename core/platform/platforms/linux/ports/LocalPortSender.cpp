#include "platform/common/ports/LocalPort.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/ports/MemoryText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
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
    constexpr milliseconds kMaxLength = std::chrono::hours(24 * 365);
    return steady_clock::now() + std::clamp(patience, milliseconds(0), kMaxLength);
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
    // The buffer of the socket cannot hold the packet, so the text goes as a memory file.
    case EMSGSIZE:
    case ENOBUFS:
        return Delivery::kTooLarge;
    default:
        return Delivery::kFailed;
    }
}

Delivery sendMessage(int socket, const msghdr& message, int flags)
{
    // MSG_NOSIGNAL: a holder that has left must not end this process by SIGPIPE. An interrupted
    // send has sent nothing and counts as no room, so that the deadline is looked at again.
    const ssize_t sent = ::sendmsg(socket, &message, MSG_NOSIGNAL | flags);
    return sent == -1 ? deliveryAfter(errno == EINTR ? EAGAIN : errno) : Delivery::kDone;
}

Delivery sendMessageBefore(SteadyTime deadline, int socket, const msghdr& message)
{
    // First without waiting: that needs no limit to be set, and nearly always there is room.
    Delivery result = sendMessage(socket, message, MSG_DONTWAIT);
    while (result == Delivery::kNoRoom && limitWait(socket, deadline))
        result = sendMessage(socket, message, 0);
    return result;
}

// One text, in the pieces that its sender has it in.
struct Text {
    std::string_view head;
    std::string_view rest;

    std::size_t size() const { return head.size() + rest.size(); }
};

Delivery sendPacket(int socket, const Text& text, SteadyTime deadline)
{
    const auto pieceOf = [](std::string_view piece) {
        return iovec{const_cast<char*>(piece.data()), piece.size()}; // only read
    };
    std::array<iovec, 2> pieces = {pieceOf(text.head), pieceOf(text.rest)};
    msghdr message = {};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    return sendMessageBefore(deadline, socket, message);
}

Delivery sendMemoryText(int socket, const Text& text, SteadyTime deadline)
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
    return sendMessageBefore(deadline, socket, message);
}

Delivery sendText(int socket, const Text& text, SteadyTime deadline)
{
    Delivery result = Delivery::kTooLarge;
    if (text.size() <= kSendBuffer)
        result = sendPacket(socket, text, deadline);
    return result == Delivery::kTooLarge ? sendMemoryText(socket, text, deadline) : result;
}

// Packets may be as large as the buffer, and are several times faster than memory files.
void widenSendBuffer(int socket)
{
    // Beyond the system's limit, which needs a privilege; else as much as that limit allows.
    if (::setsockopt(socket, SOL_SOCKET, SO_SNDBUFFORCE, &kSendBuffer, sizeof kSendBuffer) != 0)
        ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
}

bool hasHolderLeft(int socket)
{
    pollfd question = {socket, 0, 0};
    return ::poll(&question, 1, 0) == 1 && (question.revents & (POLLHUP | POLLERR)) != 0;
}

std::string_view environmentText(const char* name)
{
    const char* const text = std::getenv(name);
    return {text != nullptr ? text : ""};
}

// Where ports lie, found out anew only when the environment says something else: a user's folders
// are looked for with several calls of the system.
class LocalPortPlace {
public:
    // All places, each with a zero byte behind it.
    const std::string& folders()
    {
        const std::string_view chosen = environmentText("TEVOROTALK_PORT_DIR");
        const std::string_view runtime = environmentText("XDG_RUNTIME_DIR");
        const std::string_view home = environmentText("HOME");
        // A relative folder depends on the working folder, which changes unnoticed.
        const bool isRelative = !chosen.empty() && chosen[0] != '/';
        if (m_folders.empty() || isRelative || chosen != m_chosen || runtime != m_runtime
            || home != m_home) {
            m_folders.clear();
            for (const std::string& place : localPortPlaces())
                m_folders.append(place).append(1, '\0');
            m_chosen = chosen;
            m_runtime = runtime;
            m_home = home;
        }
        return m_folders;
    }

private:
    std::string m_folders;
    std::string m_chosen;
    std::string m_runtime;
    std::string m_home;
};

// Of the folders that somebody holds the name in, the first.
Descriptor connectToHolder(std::string_view name, SteadyTime deadline)
{
    std::error_code error;
    const std::string stem = localPortStem(name);
    for (const LocalPortFolder& folder : openLocalPortFolders(error)) {
        Descriptor connection = connectToLocalPort(folder, stem, deadline, error);
        if (connection.isOpen() || !isHolderMissing(error))
            return connection;
    }
    return {};
}

} // namespace

struct LocalPortSender::State {
    // By folders and name; a folder has no zero byte.
    std::unordered_map<std::string, Descriptor> connections;
    LocalPortPlace place;

    bool send(std::string_view name, const Text& text, SteadyTime deadline);
    bool sendAfresh(
        const std::string& key, std::string_view name, const Text& text, SteadyTime deadline);
};

LocalPortSender::LocalPortSender()
    : m_state(std::make_unique<State>())
{
}

LocalPortSender::~LocalPortSender() = default;

bool LocalPortSender::send(
    std::string_view name, std::string_view text, std::chrono::milliseconds patience)
{
    return send(name, text, {}, patience);
}

bool LocalPortSender::send(std::string_view name,
    std::string_view head,
    std::string_view rest,
    std::chrono::milliseconds patience)
{
    const Text text = {head, rest};
    // Compared by subtraction, so that two huge sizes cannot wrap around. An empty packet would
    // look like the end of the connection.
    return text.size() != 0 && head.size() <= LocalPort::kLargestText
        && rest.size() <= LocalPort::kLargestText - head.size()
        && m_state->send(name, text, deadlineAfter(patience));
}

bool LocalPortSender::State::send(std::string_view name, const Text& text, SteadyTime deadline)
{
    std::string key = place.folders();
    key.append(name);
    const auto kept = connections.find(key);
    if (kept != connections.end()) {
        const Delivery result = sendText(kept->second.get(), text, deadline);
        // A holder that has left may have a successor under the same name; every other outcome is
        // final.
        if (result != Delivery::kGone)
            return result == Delivery::kDone;
        connections.erase(kept);
    }
    return sendAfresh(key, name, text, deadline);
}

bool LocalPortSender::State::sendAfresh(
    const std::string& key, std::string_view name, const Text& text, SteadyTime deadline)
{
    // Connections that are still held stay, whatever their number: a text sent on a second one
    // could overtake one that waits in the first.
    std::erase_if(connections, [](const auto& kept) { return hasHolderLeft(kept.second.get()); });
    Descriptor connection = connectToHolder(name, deadline);
    if (!connection.isOpen())
        return false;
    widenSendBuffer(connection.get());
    const Delivery result = sendText(connection.get(), text, deadline);
    if (result != Delivery::kGone)
        connections[key] = std::move(connection);
    return result == Delivery::kDone;
}

} // namespace Pt
