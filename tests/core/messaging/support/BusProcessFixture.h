#pragma once

#include "core/messaging/support/BusFixture.h"
#include "core/platform/support/PeerProcess.h"

#include <memory>
#include <string>
#include <utility>

namespace test {

// This process on the bus, with others.
class BusProcessFixture : public BusFixture {
protected:
    using Peer = std::unique_ptr<PeerProcess>;

    // An application of that name, and the name that it got.
    static std::pair<Peer, std::string> peerAndName(const std::string& name)
    {
        auto peer = std::make_unique<PeerProcess>(std::vector<std::string>{BUS_PEER, name});
        std::string got = peer->line();
        return {std::move(peer), std::move(got)};
    }
    static Peer peer(const std::string& name)
    {
        auto [peer, got] = peerAndName(name);
        EXPECT_EQ(got, name);
        return std::move(peer);
    }

    // One that counts what it gets from the beginning.
    static Peer countingPeer(const std::string& name, long count)
    {
        auto peer = std::make_unique<PeerProcess>(
            std::vector<std::string>{BUS_PEER, name, std::to_string(count)});
        EXPECT_EQ(peer->line(), name);
        return peer;
    }
    // Tells it something that it does not answer, and waits until it has obeyed.
    static void tell(PeerProcess& peer, const std::string& line)
    {
        peer.tell(line);
        peer.tell("serial");
        std::string number = peer.line();
        while (number.starts_with("got "))
            number = peer.line();
    }

    // What it says, when it has to do with this process's pump, too.
    static std::string lineWhilePumping(PeerProcess& peer)
    {
        EXPECT_TRUE(pumpUntil([&] { return peer.saysSomething({}); }));
        return peer.line();
    }
    // Pumps until that many answers came.
    void await(std::size_t answers)
    {
        EXPECT_TRUE(pumpUntil([&] { return inbox.size() >= answers; }));
    }
};

} // namespace test
