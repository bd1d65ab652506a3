// The connections that a local port reads from, and which of them was used least lately. One thread
// at a time.
#pragma once

#include "platform/platforms/linux/services/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace Pt {

class ReceiverConnections {
public:
    static constexpr int kNone = -1;

    // Counts as a use.
    void add(Descriptor socket)
    {
        const int number = socket.get();
        m_connections[number] = {std::move(socket), ++m_uses};
    }
    void use(int connection)
    {
        const auto found = m_connections.find(connection);
        if (found != m_connections.end())
            found->second.lastUse = ++m_uses;
    }
    void close(int connection) { m_connections.erase(connection); }

    bool contains(int connection) const { return m_connections.contains(connection); }
    std::size_t size() const { return m_connections.size(); }

    // Other than that one; kNone when there is no other. Looks at all of them.
    int leastLatelyUsed(int other) const
    {
        int found = kNone;
        std::uint64_t lastUse = UINT64_MAX;
        for (const auto& [number, connection] : m_connections)
            if (number != other && connection.lastUse < lastUse) {
                found = number;
                lastUse = connection.lastUse;
            }
        return found;
    }

    template <typename Action>
    void forEach(Action action) const
    {
        for (const auto& connection : m_connections)
            action(connection.first);
    }

private:
    struct Connection {
        Descriptor socket;
        std::uint64_t lastUse = 0;
    };

    std::unordered_map<int, Connection> m_connections;
    std::uint64_t m_uses = 0;
};

} // namespace Pt
