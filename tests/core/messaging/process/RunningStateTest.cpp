#include "core/messaging/support/PingFixture.h"
#include "messaging/Specifier.h"
#include "platform/common/ports/LocalPort.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include <unistd.h>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Peer;
using testing::AnyOf;

class RunningStateTest : public test::PingFixture {
protected:
    using Port = std::unique_ptr<Pt::LocalPort>;

    static Port hold(const std::string& name) { return Pt::LocalPort::hold(portOf(name)); }
    static bool isRunning(const char* name)
    {
        return TevoroTalk::Specifier(name, false).isRunning();
    }
    static std::string status(const char* name)
    {
        return bytes(TevoroTalk::Specifier(name, false).status());
    }
    static std::string textIn(Pt::LocalPort& port)
    {
        std::string text;
        port.receive([&](char* bytes, std::size_t size) { text.append(bytes, size); });
        return text;
    }
};

} // namespace

TEST_F(RunningStateTest, RunsForItselfWithoutAStream)
{
    start("asker-1.0");
    InterAppStream::InitTerm::exit();
    EXPECT_TRUE(isRunning("asker-1.0"));
    EXPECT_TRUE(isRunning("ASKER-1.0"));
    EXPECT_TRUE(Pt::isLocalPortFree(portOf("interappstream-1.0")));
}

TEST_F(RunningStateTest, DoesNotRunWithoutANameOrAnOwner)
{
    start("asker-1.0");
    EXPECT_FALSE(isRunning(""));
    EXPECT_FALSE(isRunning("nobody-1.0"));
    EXPECT_FALSE(isRunning("nobody-1.0#thread"));
}

TEST_F(RunningStateTest, RunsWhenItsThreadHasAnOwner)
{
    start("asker-1.0");
    const Port port = hold("peer-1.0#thread");
    EXPECT_TRUE(isRunning("peer-1.0"));
    const std::string text = textIn(*port);
    EXPECT_EQ(test::lineOf(text, "Type"), "Type:ping");
    EXPECT_EQ(test::lineOf(text, "Target"), "Target:peer-1.0#thread");
    // Not the name that this process asks under, which would get the answer.
    EXPECT_THAT(test::lineOf(text, "Sender"), testing::StartsWith("Sender:asker-1.0_"));
}

TEST_F(RunningStateTest, RunsWhenItsMainPortHasAnOwner)
{
    start("asker-1.0");
    const Port port = hold("peer-1.0");
    EXPECT_TRUE(isRunning("peer-1.0"));
    const std::string text = textIn(*port);
    EXPECT_EQ(test::lineOf(text, "Type"), "Type:Quillscriber");
    EXPECT_EQ(test::lineOf(text, "Sender"), "Sender:asker-1.0#Quillscriber");
}

TEST_F(RunningStateTest, LooksAtTheMainPortAloneForANameWithASuffix)
{
    start("asker-1.0");
    auto& registry = test::TestRegistry::install();
    registry.processes["peer-1.0#side"] = static_cast<std::uint32_t>(::getpid());
    const Port thread = hold("peer-1.0#thread");
    const Port main = hold("peer-1.0");
    EXPECT_FALSE(isRunning("peer-1.0#side"));
    EXPECT_EQ(textIn(*thread), "");
    EXPECT_EQ(textIn(*main), "");
    const Port side = hold("peer-1.0#side");
    EXPECT_TRUE(isRunning("peer-1.0#side"));
    EXPECT_NE(textIn(*side), "");
}

TEST_F(RunningStateTest, RunsWhileTheProcessThatWasLaunchedIsAlive)
{
    start("asker-1.0");
    auto& registry = test::TestRegistry::install({"peer-1.0"});
    EXPECT_FALSE(isRunning("peer-1.0"));
    test::PeerProcess process({"/bin/cat"});
    registry.processes["peer-1.0"] = static_cast<std::uint32_t>(process.id());
    EXPECT_TRUE(isRunning("peer-1.0"));
    process.kill();
    EXPECT_FALSE(isRunning("peer-1.0"));
}

TEST_F(RunningStateTest, AsksAlsoWithoutTheBus)
{
    const Peer peer("peer-1.0");
    EXPECT_TRUE(isRunning("peer-1.0"));
    EXPECT_FALSE(isRunning("nobody-1.0"));
    const Port port = hold("mute-1.0#thread");
    EXPECT_TRUE(isRunning("mute-1.0"));
    EXPECT_THAT(test::lineOf(textIn(*port), "Sender"),
        testing::ContainsRegex("Sender:[Uu]nknown1[0-9]{12}"));
}

TEST_F(RunningStateTest, NeedsNoAnswerToRun)
{
    start("asker-1.0");
    const Peer peer("peer-1.0");
    peer.freeze();
    EXPECT_TRUE(isRunning("peer-1.0"));
    EXPECT_TRUE(TevoroTalk::targetIsRunning("peer-1.0"));
    EXPECT_FALSE(TevoroTalk::Specifier("peer-1.0", false).isBusy()); // a time-out is no "BUSY"
    EXPECT_EQ(status("peer-1.0"), "Timeout");
}

TEST_F(RunningStateTest, TellsItsStatus)
{
    start("asker-1.0");
    const Peer peer("peer-1.0");
    EXPECT_EQ(status("peer-1.0"), "IDLE");
    EXPECT_EQ(status("nobody-1.0"), "ISNOTINSTALLED");
    EXPECT_FALSE(TevoroTalk::Specifier("peer-1.0", false).isBusy());
    EXPECT_FALSE(TevoroTalk::Specifier("", false).isBusy());
}

TEST_F(RunningStateTest, StaysTrueToATargetThatStartsAndEndsAllTheTime)
{
    constexpr int kLives = 8;
    start("asker-1.0");
    std::atomic<bool> isOver{false};
    std::atomic<int> questions{0};
    std::thread asker([&] {
        while (!isOver) {
            isRunning("peer-1.0");
            EXPECT_THAT(
                ask("peer-1.0", "", 1), AnyOf(kEcho, "ISNOTINSTALLED", "Timeout", "UNDEFINED"));
            ++questions;
        }
    });
    for (int life = 0; life < kLives; ++life) {
        Peer peer("peer-1.0");
        EXPECT_TRUE(isRunning("peer-1.0"));
        const int before = questions;
        EXPECT_TRUE(waitUntil([&] { return questions > before; }));
        if (life % 2 == 0)
            peer.process().kill();
        else {
            EXPECT_EQ(peer.process().finish(), 0);
        }
        EXPECT_FALSE(isRunning("peer-1.0"));
    }
    isOver = true;
    asker.join();
}
