#include "messaging/process/TevoroTalkSetupThread.h"

#include "core/messaging/support/BusFixture.h"
#include "core/messaging/support/SlowRegistry.h"
#include "messaging/process/TevoroTalkThread.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::SlowRegistry;
using testing::MatchesRegex;

class TevoroTalkSetupThreadTest : public test::BusFixture {
protected:
    // As another process reads it, once the thread of the bus has come so far as to open its port.
    static std::string setupTime()
    {
        std::string text;
        EXPECT_TRUE(waitUntil([&] {
            text = bytes(
                TevoroTalkUtils::ping("self-1.0", true, "SETUPTIME", 1, 10, nullptr, nullptr));
            return text != "ISNOTINSTALLED";
        }));
        return text;
    }
    static bool startInBackground() { return TevoroTalk::InitTerm::init("self-1.0", false); }

    // From now on a set-up takes until the gate is opened.
    void closeGate() { TevoroTalkConnector::set(new SlowRegistry(gate)); }

    SlowRegistry::Gate gate;
};

} // namespace

TEST_F(TevoroTalkSetupThreadTest, MakesTheContextAtOnce)
{
    EXPECT_TRUE(TevoroTalk::InitTerm::init("Self-1.0", true));
    EXPECT_FALSE(TevoroTalkSetupThread::isSetupThreadRunning());
    ASSERT_NE(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_TRUE(waitUntil([] { return TevoroTalk::getSharedAppName() == "self-1.0"; }));
}

TEST_F(TevoroTalkSetupThreadTest, MakesTheContextInTheBackground)
{
    EXPECT_TRUE(startInBackground());
    ASSERT_NE(TevoroTalk::getSharedContext(), nullptr); // waits
    EXPECT_FALSE(TevoroTalkSetupThread::isSetupThreadRunning());
    EXPECT_TRUE(waitUntil([] { return TevoroTalk::getSharedAppName() == "self-1.0"; }));
}

TEST_F(TevoroTalkSetupThreadTest, HoldsUpNoPump)
{
    closeGate();
    EXPECT_TRUE(startInBackground());
    EXPECT_TRUE(TevoroTalkSetupThread::isSetupThreadRunning());
    for (int i = 0; i < 100; ++i)
        EXPECT_FALSE(pump());
    EXPECT_TRUE(TevoroTalkSetupThread::isSetupThreadRunning());
    gate.open();
    EXPECT_NE(TevoroTalk::getSharedContext(), nullptr);
}

TEST_F(TevoroTalkSetupThreadTest, IsJoinedByTheFirstInstance)
{
    closeGate();
    EXPECT_TRUE(startInBackground());
    std::thread opener([this] { gate.open(); });
    self = new TevoroTalk("self-1.0", nullptr, true, nullptr);
    EXPECT_EQ(self->getContext(), TevoroTalk::getSharedContext());
    EXPECT_EQ(TevoroTalk::get(nullptr), self);
    opener.join();
}

TEST_F(TevoroTalkSetupThreadTest, IsJoinedByManyAtOnce)
{
    closeGate();
    EXPECT_TRUE(startInBackground());
    std::atomic<int> found{0};
    std::vector<std::thread> users;
    for (int i = 0; i < 8; ++i)
        users.emplace_back([&] { found += TevoroTalk::getSharedContext() != nullptr ? 1 : 0; });
    gate.open();
    for (std::thread& user : users)
        user.join();
    EXPECT_EQ(found, 8);
    EXPECT_TRUE(TevoroTalkSetupThread::syncWithSetupThread());
}

TEST_F(TevoroTalkSetupThreadTest, IsWaitedForByTheEndOfTheBus)
{
    closeGate();
    EXPECT_TRUE(startInBackground());
    std::thread opener([this] { gate.open(); });
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
    opener.join();
    EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
}

TEST_F(TevoroTalkSetupThreadTest, RunsAndEndsManyTimes)
{
    for (int i = 0; i < 30; ++i) {
        ASSERT_TRUE(startInBackground());
        ASSERT_TRUE(TevoroTalk::InitTerm::exit());
    }
    EXPECT_FALSE(TevoroTalk::InitTerm::exit());
}

TEST_F(TevoroTalkSetupThreadTest, RefusesAnUnusableName)
{
    for (const std::string& name : {std::string(), std::string(300, 'a')}) {
        EXPECT_FALSE(TevoroTalk::InitTerm::init(name.c_str(), true));
        EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
        EXPECT_FALSE(pump());
        EXPECT_TRUE(TevoroTalk::InitTerm::init(name.c_str(), false)); // it has begun, no more
        EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
        EXPECT_FALSE(pump());
        EXPECT_FALSE(TevoroTalk::InitTerm::exit());
    }
    EXPECT_TRUE(TevoroTalk::InitTerm::init("self-1.0", true)); // nothing is left of the others
}

TEST_F(TevoroTalkSetupThreadTest, SetsUpOnce)
{
    EXPECT_TRUE(TevoroTalk::InitTerm::init("self-1.0", true));
    EXPECT_FALSE(TevoroTalkSetupThread::runSetup("other-1.0"));
    EXPECT_FALSE(TevoroTalkSetupThread::startSetupThread("other-1.0"));
}

TEST_F(TevoroTalkSetupThreadTest, AnswersASecondStartWithFalseButTakesItsPingName)
{
    EXPECT_TRUE(TevoroTalk::InitTerm::init("self-1.0", true));
    const TevoroTalkContext* const context = TevoroTalk::getSharedContext();
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "self-1.0#ping");
    EXPECT_FALSE(TevoroTalk::InitTerm::init("other-1.0", true));
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "other-1.0#ping");
    EXPECT_FALSE(TevoroTalk::InitTerm::init("third-1.0", false));
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "third-1.0#ping");
    EXPECT_EQ(TevoroTalk::getSharedContext(), context);
}

TEST_F(TevoroTalkSetupThreadTest, LeavesTheRestAloneWhereTheEndComesWithoutAContext)
{
    const InterAppStream* const stream = InterAppStream::get();
    const auto& registry = test::TestRegistry::install();
    EXPECT_FALSE(TevoroTalk::InitTerm::exit());
    EXPECT_EQ(InterAppStream::get(), stream);
    EXPECT_EQ(TevoroTalkConnector::get(), &registry);
}

TEST_F(TevoroTalkSetupThreadTest, TellsHowLongItTook)
{
    EXPECT_TRUE(TevoroTalk::InitTerm::init("self-1.0", true));
    EXPECT_THAT(setupTime(), MatchesRegex("thread=[0-9]+ms, \\(synchronous setup\\)"));
    ASSERT_NE(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_THAT(setupTime(), MatchesRegex("thread=[0-9]+ms, left=[0-9]+ms"));
}

TEST_F(TevoroTalkSetupThreadTest, TellsHowLongSomebodyWaitedForIt)
{
    closeGate();
    EXPECT_TRUE(startInBackground());
    std::atomic<bool> isAboutToWait{false};
    std::thread user([&] {
        isAboutToWait = true;
        TevoroTalk::getSharedContext();
    });
    ASSERT_TRUE(waitUntil([&] { return isAboutToWait.load(); }));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(waitUntil(
        [&] { return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(100); }));
    gate.open();
    user.join();
    EXPECT_THAT(setupTime(), MatchesRegex("thread=[0-9]+ms, lost=[0-9]+ms"));
}

TEST_F(TevoroTalkSetupThreadTest, StartsItsTimesAnewWithTheNextBus)
{
    EXPECT_TRUE(startInBackground());
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
    EXPECT_TRUE(TevoroTalk::InitTerm::init("self-1.0", true));
    EXPECT_THAT(setupTime(), MatchesRegex("thread=[0-9]+ms, \\(synchronous setup\\)"));
}
