// Names and numbers between processes.
#include "core/messaging/support/BusProcessFixture.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/ports/LocalPort.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::PeerProcess;

class TevoroTalkNamesTest : public test::BusProcessFixture {
protected:
    // The names that each process holds, without the prefix of the bus.
    static std::map<long, std::set<std::string>> namesByProcess()
    {
        std::map<long, std::set<std::string>> names;
        for (const Pt::HeldPort& port : Pt::heldLocalPorts())
            names[port.processId].insert(port.name.substr(std::string(gPortName).size()));
        return names;
    }

    // Starts copies of an application at once, and sees that each has one number for all its names.
    static void startTogether(int copies, const std::vector<std::string>& words)
    {
        std::vector<Peer> peers;
        for (int i = 0; i < copies; ++i)
            peers.push_back(std::make_unique<PeerProcess>(words));
        std::set<std::string> got;
        for (const Peer& peer : peers)
            got.insert(peer->line());
        EXPECT_EQ(got.size(), static_cast<std::size_t>(copies));
        EXPECT_FALSE(got.contains("-"));
        std::set<std::set<std::string>> expected;
        for (const std::string& name : got)
            expected.insert({name, name + "#ping", name + "#thread"});
        std::set<std::set<std::string>> held;
        for (const auto& [process, names] : namesByProcess())
            held.insert(names);
        EXPECT_EQ(held, expected);
        for (const Peer& peer : peers)
            EXPECT_EQ(peer->finish(), 0);
    }
};

} // namespace

TEST_F(TevoroTalkNamesTest, AreNumberedUpTo8AndThenMissing)
{
    std::vector<Peer> peers;
    for (const std::string expected : {"peer-1.0",
             "peer_1-1.0",
             "peer_2-1.0",
             "peer_3-1.0",
             "peer_4-1.0",
             "peer_5-1.0",
             "peer_6-1.0",
             "peer_7-1.0",
             "peer_8-1.0",
             "-"}) {
        auto [peer, name] = peerAndName("peer-1.0");
        EXPECT_EQ(name, expected);
        peers.push_back(std::move(peer));
    }
    // The one without a name hears and says nothing, and ends well.
    peers.back()->tell("send peer-1.0 Error 0 text");
    EXPECT_TRUE(peers.back()->line().starts_with("not "));
    for (const Peer& peer : peers)
        EXPECT_EQ(peer->finish(), 0);
}

TEST_F(TevoroTalkNamesTest, OfAKilledProcessGoToTheNext)
{
    const Peer first = peer("peer-1.0");
    const Peer second = peer("peer_1-1.0");
    first->kill();
    const Peer third = peer("peer-1.0");
    start();
    const auto message = request("peer-1.0", "to the third");
    EXPECT_TRUE(send(*self, *message));
    EXPECT_THAT(third->line(), testing::EndsWith(" self-1.0 to the third"));
    EXPECT_EQ(second->finish(), 0);
    EXPECT_EQ(third->finish(), 0);
}

TEST_F(TevoroTalkNamesTest, OfAKilledTargetFailAtOnceAndWorkAgainWithTheNext)
{
    start();
    for (int i = 0; i < 3; ++i) {
        const Peer target = peer("peer-1.0");
        const auto message = request("peer-1.0", "text");
        EXPECT_TRUE(send(*self, *message));
        EXPECT_THAT(target->line(), testing::EndsWith(" text"));
        target->kill();
        const auto late = request("peer-1.0", "text");
        EXPECT_FALSE(send(*self, *late));
        EXPECT_FALSE(TevoroTalk::targetIsRunning("peer-1.0"));
    }
}

// An application and this process hold three each: their own, their threads', their questions'.
TEST_F(TevoroTalkNamesTest, ComeBackSoonWhenTheirFilesAreRemoved)
{
    constexpr std::chrono::seconds kSoon{4}; // two, and what a busy machine needs
    start();
    const Peer target = peer("peer-1.0");
    const auto areAllHeld = [] { return Pt::heldLocalPorts().size() == 6; };
    ASSERT_TRUE(waitUntil(areAllHeld));
    for (const bool withFolder : {false, true}) {
        for (const auto& entry : std::filesystem::directory_iterator(folder.path("ports")))
            std::filesystem::remove(entry.path());
        if (withFolder)
            std::filesystem::remove(folder.path("ports"));
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_TRUE(waitUntil(areAllHeld));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, kSoon);
        const auto message = request("peer-1.0", "text");
        EXPECT_TRUE(send(*self, *message));
        EXPECT_THAT(target->line(), testing::EndsWith(" text"));
        EXPECT_TRUE(TevoroTalk::targetIsRunning("peer-1.0"));
    }
}

TEST_F(TevoroTalkNamesTest, LeaveNoFilesBehind)
{
    const Peer first = peer("peer-1.0");
    EXPECT_EQ(first->finish(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("ports")));
}

TEST_F(TevoroTalkNamesTest, OfMessagesAreNumbersThatBeginWith1)
{
    const Peer first = peer("peer-1.0");
    for (const std::string expected : {"1", "2", "3"}) {
        first->tell("serial");
        EXPECT_EQ(first->line(), expected);
    }
    first->tell("send nobody-1.0 - 0 text");
    EXPECT_EQ(first->line(), "not 4");
    EXPECT_EQ(first->finish(), 0);
}

TEST_F(TevoroTalkNamesTest, HaveOneNumberEachInCopiesThatAreStartedTogether)
{
    for (int round = 0; round < 5; ++round)
        startTogether(4, {BUS_PEER, "peer-1.0"});
}

TEST_F(TevoroTalkNamesTest, HaveOneNumberEachWhereTheInstanceStartsTheBus)
{
    for (int round = 0; round < 5; ++round)
        startTogether(4, {BUS_PEER, "peer-1.0", "alone"});
}

TEST_F(TevoroTalkNamesTest, SkipANumberOfWhichAnotherProcessHasAPart)
{
    const InterAppStream thread("peer-1.0#thread", true);
    const InterAppStream questions("peer_1-1.0#ping", true);
    auto [copy, name] = peerAndName("peer-1.0");
    EXPECT_EQ(name, "peer_2-1.0");
    EXPECT_EQ(copy->finish(), 0);
}
