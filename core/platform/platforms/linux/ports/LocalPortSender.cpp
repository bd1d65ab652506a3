#include "platform/common/ports/LocalPort.h"
#include "platform/common/threads/Lock.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/ports/SenderConnection.h"

#include <algorithm>
#include <cstdlib>
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
    using Kept = std::shared_ptr<SenderConnection>; // a thread that sends on it keeps it open

    bool send(std::string_view name, const SplitText& text, SteadyTime deadline);
    std::string keyOf(std::string_view name) TEVORO_REQUIRES(lock);
    Kept connectionTo(std::string_view name, std::string& key);
    Kept connect(const std::string& key, std::string_view name, SteadyTime deadline);
    void letGo(const std::string& key, const Kept& connection);

    // Never held while a thread waits for anything.
    Lock lock;
    // By folders and name; a folder has no zero byte.
    std::unordered_map<std::string, Kept> connections TEVORO_GUARDED_BY(lock);
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
    return text.size() != 0 && head.size() <= LocalPort::kLargestText
        && rest.size() <= LocalPort::kLargestText - head.size()
        && m_state->send(name, text, deadlineAfter(patience));
}

bool LocalPortSender::State::send(std::string_view name, const SplitText& text, SteadyTime deadline)
{
    using Delivery = SenderConnection::Delivery;
    std::string key;
    if (const Kept kept = connectionTo(name, key)) {
        const Delivery result = kept->send(text, deadline);
        // A holder that has left may have a successor under the same name; every other outcome is
        // final.
        if (result != Delivery::kGone)
            return result == Delivery::kDone;
        letGo(key, kept);
    }
    const Kept fresh = connect(key, name, deadline);
    if (!fresh)
        return false;
    const Delivery result = fresh->send(text, deadline);
    if (result == Delivery::kGone)
        letGo(key, fresh);
    return result == Delivery::kDone;
}

std::string LocalPortSender::State::keyOf(std::string_view name)
{
    std::string key = place.folders();
    key.append(name);
    return key;
}

// The one that is there, if any; with the key of the place that the environment tells now.
LocalPortSender::State::Kept LocalPortSender::State::connectionTo(
    std::string_view name, std::string& key)
{
    const Locked locked(lock);
    key = keyOf(name);
    const auto kept = connections.find(key);
    return kept != connections.end() ? kept->second : nullptr;
}

// Connects without the lock. When another thread was first, its connection is the one: on two,
// texts could overtake each other.
LocalPortSender::State::Kept LocalPortSender::State::connect(
    const std::string& key, std::string_view name, SteadyTime deadline)
{
    Descriptor socket = connectToHolder(name, deadline);
    if (!socket.isOpen())
        return nullptr;
    auto fresh = std::make_shared<SenderConnection>(std::move(socket));
    const Locked locked(lock);
    // Connections that are still held stay, whatever their number: a text sent on a second one
    // could overtake one that waits in the first.
    std::erase_if(connections, [](const auto& kept) { return kept.second->hasHolderLeft(); });
    return connections.try_emplace(key, std::move(fresh)).first->second;
}

void LocalPortSender::State::letGo(const std::string& key, const Kept& connection)
{
    const Locked locked(lock);
    const auto kept = connections.find(key);
    // Another thread may have put a new one there already.
    if (kept != connections.end() && kept->second == connection)
        connections.erase(kept);
}

} // namespace Pt
