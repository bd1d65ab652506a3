#include "platform/common/ports/LocalPort.h"
#include "platform/common/threads/Lock.h"
#include "platform/platforms/linux/ports/DescriptorBound.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/ports/SenderConnection.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <thread>
#include <unordered_map>

namespace Pt {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

SteadyTime deadlineAfter(milliseconds patience)
{
    constexpr milliseconds kMaxLength = std::chrono::hours(24 * 365);
    return steady_clock::now() + std::clamp(patience, milliseconds(0), kMaxLength);
}

// A moment, in which others can go on; false when the point has passed.
bool pauseBefore(SteadyTime deadline)
{
    constexpr milliseconds kPause{1};
    const auto now = steady_clock::now();
    if (endOfWait(deadline) <= now)
        return false;
    std::this_thread::sleep_for(std::min<steady_clock::duration>(deadline - now, kPause));
    return true;
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
Descriptor connectToHolder(std::string_view name, SteadyTime deadline, std::error_code& error)
{
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
    using Shared = std::shared_ptr<SenderConnection>; // a thread that sends on it keeps it open

    struct Kept {
        Shared connection;
        std::uint64_t lastUse = 0;
    };

    bool send(std::string_view name, const SplitText& text, SteadyTime deadline);
    std::string keyOf(std::string_view name) TEVORO_REQUIRES(lock);
    Shared connectionTo(std::string_view name, std::string& key);
    Shared connect(const std::string& key, std::string_view name, SteadyTime deadline);
    Shared keep(const std::string& key, Descriptor socket);
    void letGo(const std::string& key, const Shared& connection);
    bool letGoOfIdle() TEVORO_REQUIRES(lock);

    // Never held while a thread waits for anything.
    Lock lock;
    // By folders and name; a folder has no zero byte.
    std::unordered_map<std::string, Kept> connections TEVORO_GUARDED_BY(lock);
    std::uint64_t uses TEVORO_GUARDED_BY(lock) = 0;
    LocalPortPlace place TEVORO_GUARDED_BY(lock);
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
    const SplitText text = {head, rest};
    // Compared by subtraction, so that two huge sizes cannot wrap around. An empty packet would
    // look like the end of the connection.
    return text.size() != 0 && head.size() <= LocalPort::kMaxText
        && rest.size() <= LocalPort::kMaxText - head.size()
        && m_state->send(name, text, deadlineAfter(patience));
}

bool LocalPortSender::State::send(std::string_view name, const SplitText& text, SteadyTime deadline)
{
    using Delivery = SenderConnection::Delivery;
    std::string key;
    Shared connection = connectionTo(name, key);
    if (!connection)
        connection = connect(key, name, deadline);
    for (bool isFirst = true; connection; isFirst = false) {
        const Delivery result = connection->send(text, deadline);
        if (result != Delivery::kGone)
            return result == Delivery::kDone;
        letGo(key, connection);
        // A holder that has left may have a successor under the same name. One that is there may
        // have closed the connection, and again before anything was sent, when its descriptors are
        // short.
        if (!isFirst && !pauseBefore(deadline))
            return false;
        connection = connect(key, name, deadline);
    }
    return false;
}

std::string LocalPortSender::State::keyOf(std::string_view name)
{
    std::string key = place.folders();
    key.append(name);
    return key;
}

// The one that is there, if any; with the key of the place that the environment tells now.
LocalPortSender::State::Shared LocalPortSender::State::connectionTo(
    std::string_view name, std::string& key)
{
    const Locked locked(lock);
    key = keyOf(name);
    const auto kept = connections.find(key);
    if (kept == connections.end())
        return nullptr;
    kept->second.lastUse = ++uses;
    return kept->second.connection;
}

LocalPortSender::State::Shared LocalPortSender::State::connect(
    const std::string& key, std::string_view name, SteadyTime deadline)
{
    for (;;) {
        std::error_code error;
        Descriptor socket = connectToHolder(name, deadline, error);
        if (socket.isOpen())
            return keep(key, std::move(socket));
        if (!isShortage(error))
            return nullptr;
        bool isRoomMade = false;
        {
            const Locked locked(lock);
            isRoomMade = letGoOfIdle();
        }
        if (!isRoomMade && !pauseBefore(deadline))
            return nullptr;
    }
}

// When another thread was first, its connection is the one: on two, texts could overtake each
// other.
LocalPortSender::State::Shared LocalPortSender::State::keep(
    const std::string& key, Descriptor socket)
{
    const bool isAmongLast = isAmongLastDescriptors(socket.get());
    auto fresh = std::make_shared<SenderConnection>(std::move(socket));
    const Locked locked(lock);
    std::erase_if(
        connections, [](const auto& kept) { return kept.second.connection->hasHolderLeft(); });
    if (isAmongLast)
        letGoOfIdle();
    return connections.try_emplace(key, Kept{std::move(fresh), ++uses}).first->second.connection;
}

void LocalPortSender::State::letGo(const std::string& key, const Shared& connection)
{
    const Locked locked(lock);
    const auto kept = connections.find(key);
    // Another thread may have put a new one there already.
    if (kept != connections.end() && kept->second.connection == connection)
        connections.erase(kept);
}

// Of the connections that no thread sends on, and on which nothing is unread, the one that was used
// least lately: a text sent on a second one could overtake one that waits in the first.
bool LocalPortSender::State::letGoOfIdle()
{
    auto idle = connections.end();
    for (auto kept = connections.begin(); kept != connections.end(); ++kept) {
        const auto& [connection, lastUse] = kept->second;
        const bool isOlder = idle == connections.end() || lastUse < idle->second.lastUse;
        if (isOlder && connection.use_count() == 1 && connection->isAllRead())
            idle = kept;
    }
    if (idle == connections.end())
        return false;
    connections.erase(idle);
    return true;
}

} // namespace Pt
