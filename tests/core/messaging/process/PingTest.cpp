#include "core/messaging/support/PingFixture.h"
#include "messaging/TevoroTalkPing.h"
#include "platform/common/ports/LocalPort.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>

namespace {

using namespace ScObjects;
using namespace std::chrono_literals;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using test::Peer;
using testing::Each;
using testing::HasSubstr;

std::chrono::microseconds processorTime()
{
    rusage used = {};
    ::getrusage(RUSAGE_SELF, &used);
    const timeval& user = used.ru_utime;
    const timeval& system = used.ru_stime;
    return std::chrono::seconds(user.tv_sec + system.tv_sec)
        + std::chrono::microseconds(user.tv_usec + system.tv_usec);
}

class PingTest : public test::PingFixture {
protected:
    PingTest() { start("asker-1.0"); }

    static void giveKeys(Peer& peer)
    {
        for (int i = 0; i < 10; ++i) {
            const std::string number = std::to_string(i);
            EXPECT_EQ(peer.tell("value KEY" + number + " value" + number + " 0"), "set");
        }
    }
    // Until something lies in the stream that this process asks over.
    static bool waitForLateAnswer()
    {
        return waitUntil([] { return InterAppStream::get()->messagePending(); });
    }
};

} // namespace

TEST_F(PingTest, IsAnsweredWhileTheMainThreadSleeps)
{
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    EXPECT_EQ(ask("PEER-1.0", "STATUS"), "IDLE");
    EXPECT_EQ(ask("peer-1.0#anything", "LAUNCHED"), "LAUNCHED");
    EXPECT_EQ(peer.process().finish(), 0);
}

TEST_F(PingTest, SaysUndefinedForAnUnknownKeyAndForTheHandlerOfAll)
{
    const Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", "NO SUCH KEY"), "UNDEFINED");
    EXPECT_EQ(ask("peer-1.0", "MAIN"), "UNDEFINED");
}

TEST_F(PingTest, SaysBusyAfterTenAveragesWithoutAPump)
{
    Peer peer("peer-1.0");
    EXPECT_EQ(peer.tell("pump 5 50"), "pumped");
    EXPECT_TRUE(waitUntil([] { return ask("peer-1.0", "STATUS") == "BUSY"; }));
    EXPECT_TRUE(TevoroTalk::Specifier("peer-1.0", false).isBusy());
    EXPECT_EQ(bytes(TevoroTalk::Specifier("peer-1.0", false).status()), "BUSY");
    EXPECT_TRUE(waitUntil([&] {
        peer.tell("pump 1 0");
        return ask("peer-1.0", "STATUS") == "IDLE";
    }));
}

TEST_F(PingTest, AsksTheThreadOfItsOwnProcessToo)
{
    ASSERT_TRUE(waitUntil([] { return !thread().getSpecifier().isEmpty(); }));
    EXPECT_EQ(ask("asker-1.0", ""), kEcho);
    EXPECT_EQ(ask("asker-1.0", "STATUS"), "IDLE");
}

TEST_F(PingTest, SaysAtOnceThatNobodyRuns)
{
    test::TestRegistry::install({"installed-1.0"}).paths["installed-1.0"] = PING_PEER;
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(ask("installed-1.0", "STATUS"), "ISNOTRUNNING");
    EXPECT_EQ(ask("unknown-1.0", "STATUS"), "ISNOTINSTALLED");
    EXPECT_LT(std::chrono::steady_clock::now() - before, 5s);
}

TEST_F(PingTest, OnlySendsWithoutALimit)
{
    const Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", "STATUS", 0), "NOERROR");
    peer.freeze();
    EXPECT_EQ(ask("peer-1.0", "STATUS", 0), "NOERROR");
    peer.goOn();
    EXPECT_TRUE(waitForLateAnswer());
}

TEST_F(PingTest, GivesUpAfterTheLimitAndUsesNoProcessorTimeUntilThen)
{
    const Peer peer("peer-1.0");
    peer.freeze();
    const auto used = processorTime();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(ask("peer-1.0", "STATUS", 2), "Timeout");
    const auto passed = std::chrono::steady_clock::now() - before;
    EXPECT_GE(passed, 2s);
    EXPECT_LT(passed, 8s);
    EXPECT_LT(processorTime() - used, 400ms);
}

TEST_F(PingTest, IsNotAnsweredByALateAnswerToAnEarlierOne)
{
    Peer peer("peer-1.0");
    giveKeys(peer);
    for (int round = 0; round < 3; ++round) {
        peer.freeze();
        EXPECT_EQ(ask("peer-1.0", "KEY1", 1), "Timeout");
        peer.goOn();
        EXPECT_TRUE(waitForLateAnswer());
        EXPECT_EQ(ask("peer-1.0", "KEY2"), "value2");
    }
}

TEST_F(PingTest, IsNotAnsweredByALateAnswerOfSomebodyElse)
{
    Peer slow("slow-1.0");
    Peer peer("peer-1.0");
    EXPECT_EQ(slow.tell("value KEY late 0"), "set");
    EXPECT_EQ(peer.tell("value KEY right 0"), "set");
    slow.freeze();
    EXPECT_EQ(ask("slow-1.0", "KEY", 1), "Timeout");
    peer.freeze();
    auto answer = std::async(std::launch::async, [] { return ask("peer-1.0", "KEY"); });
    // The late answer comes while the other question waits.
    slow.goOn();
    EXPECT_EQ(answer.wait_for(500ms), std::future_status::timeout);
    peer.goOn();
    EXPECT_EQ(answer.get(), "right");
}

TEST_F(PingTest, GetsNoAnswerWhenItWritesAKeyThatOthersMayRead)
{
    const Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", "STATUS=BUSY", 1), "Timeout");
    EXPECT_EQ(ask("peer-1.0", "FWDLOGS=", 1), "Timeout");
    EXPECT_EQ(ask("peer-1.0", "STATUS"), "IDLE");
}

TEST_F(PingTest, AsksEachRegisteredApplicationInTurn)
{
    const Peer first("first-1.0");
    const Peer frozen("frozen-1.0");
    const Peer last("last-1.0");
    test::TestRegistry::install({"absent-1.0", "first-1.0", "frozen-1.0", "last-1.0"});
    frozen.freeze();
    int answered = -1;
    EXPECT_EQ(
        bytes(TevoroTalkUtils::ping("allRunningApps", true, "STATUS", 1, 1, nullptr, &answered)),
        "IDLE");
    EXPECT_EQ(answered, 3); // the one that is silent counts, the one that is not there does not
}

TEST_F(PingTest, AsksNobodyOfAnEmptyRegistry)
{
    test::TestRegistry::install();
    int answered = -1;
    EXPECT_EQ(
        bytes(TevoroTalkUtils::ping("allRunningApps", true, "", 1, 1, nullptr, &answered)), "");
    EXPECT_EQ(answered, 0);
}

TEST_F(PingTest, NeedsATarget)
{
    int answered = -1;
    EXPECT_EQ(ask("", "STATUS"), "INVALIDSPEC");
    EXPECT_EQ(bytes(TevoroTalkUtils::ping("", true, "", 1, 1, nullptr, &answered)), "INVALIDSPEC");
    EXPECT_EQ(answered, 1);
}

TEST_F(PingTest, NeedsAStreamOfTheProcess)
{
    InterAppStream::InitTerm::exit();
    std::vector<std::unique_ptr<Pt::LocalPort>> taken;
    taken.push_back(Pt::LocalPort::hold(portOf("interappstream-1.0")));
    for (int n = 1; n <= 8; ++n)
        taken.push_back(
            Pt::LocalPort::hold(portOf("interappstream_" + std::to_string(n) + "-1.0")));
    EXPECT_EQ(ask("peer-1.0", "STATUS"), "NOINTERAPPSTREAM");
    EXPECT_EQ(bytes(TevoroTalkUtils::ping("peer-1.0", true, "", 1, 1, nullptr, nullptr)), "");
    EXPECT_FALSE(TevoroTalk::Specifier("peer-1.0", false).isBusy());
}

TEST_F(PingTest, BringsBackWhatTheBodyHolds)
{
    const Peer peer("peer-1.0");
    const std::string lines = ask("peer-1.0", "INFO", kLong, "context");
    EXPECT_TRUE(lines.starts_with("/peer-1.0;1;peer-1.0;IDLE;\n/peer-1.0/context;1;Info;;\n"));
    EXPECT_TRUE(ask("peer-1.0", "DIAGNOSTICS").starts_with("TevoroTalk Diagnostics\n"));
}

TEST_F(PingTest, HandsAnAnswerToTheHandlerOfItsWord)
{
    ASSERT_TRUE(waitUntil([] { return !thread().getSpecifier().isEmpty(); }));
    Inbox answers;
    ASSERT_TRUE(TevoroTalk::Thread::setPingHandler("COLOUR", new InboxHandler(answers)));
    EXPECT_EQ(bytes(TevoroTalkUtils::ping("asker-1.0", false, "COLOUR", 1, 0, nullptr, nullptr)),
        "NOERROR");
    EXPECT_TRUE(waitUntil([&] { return answers.size() == 1; }));
    EXPECT_EQ(answers.at(0).reason, TevoroTalk::MsgHandler::kResult);
    TevoroTalk::Thread::setPingValue("COLOUR", "");
}

TEST_F(PingTest, IsAnsweredAfterHandlersThatThrew)
{
    ASSERT_TRUE(waitUntil([] { return !thread().getSpecifier().isEmpty(); }));
    Inbox questions;
    for (const char* key : {"COLOUR", "Idle"}) {
        auto* const thrower = new InboxHandler(questions);
        thrower->throws = true;
        ASSERT_TRUE(TevoroTalk::Thread::setPingHandler(key, thrower));
    }
    EXPECT_EQ(ask("asker-1.0", "COLOUR", 1), "Timeout");
    EXPECT_TRUE(waitUntil([&] {
        const std::vector<int> reasons = questions.reasons();
        return std::count(reasons.begin(), reasons.end(), TevoroTalk::MsgHandler::kIdle) > 1;
    }));
    EXPECT_EQ(ask("asker-1.0", ""), kEcho);
    TevoroTalk::Thread::setPingValue("COLOUR", "");
    TevoroTalk::Thread::setPingValue("Idle", "");
}

TEST_F(PingTest, SeesAValueUntilItsTimeIsOver)
{
    Peer peer("peer-1.0");
    peer.tell("value COLOUR red 4");
    peer.tell("value SIZE 12 0");
    EXPECT_EQ(ask("peer-1.0", "COLOUR"), "red");
    EXPECT_TRUE(waitUntil([] { return ask("peer-1.0", "COLOUR") == "UNDEFINED"; }));
    EXPECT_EQ(ask("peer-1.0", "SIZE"), "12");
}

TEST_F(PingTest, TellsThatItWasLaunched)
{
    Peer peer("peer-1.0");
    peer.tell("value LAUNCHPARAMS:asker-1.0 -x 0");
    EXPECT_EQ(ask("peer-1.0", "LAUNCHPARAMS:asker-1.0"), "-x");
    EXPECT_EQ(ask("peer-1.0", "LAUNCHED"), "LAUNCHED");
    EXPECT_EQ(ask("peer-1.0", "LAUNCHPARAMS:asker-1.0"), "UNDEFINED");
}

// With the bus up, while its thread has answers to give.
TEST_F(PingTest, MayComeWhileTheProcessEnds)
{
    for (int round = 0; round < 40; ++round) {
        Peer peer("peer-1.0");
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(ask("peer-1.0", "INFO", 0), "NOERROR");
        peer.process().tell("exit");
        EXPECT_EQ(peer.process().finish(), 0);
    }
}

namespace {

// Three ports of this process, and as many of each other: a name, its thread, its questions.
constexpr std::ptrdiff_t kFilesOfOne = 6;

class EndedProcessTest : public PingTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(waitUntil([this] { return files() == kFilesOfOne; }));
    }
    std::ptrdiff_t files() const
    {
        return std::distance(std::filesystem::directory_iterator(folder.path("ports")), {});
    }
};

} // namespace

TEST_F(EndedProcessTest, LeavesNoFilesWhenItExitsWithTheBusUp)
{
    Peer peer("peer-1.0");
    EXPECT_EQ(files(), 2 * kFilesOfOne);
    // A child has the bus, too, but not as its own.
    peer.tell("fork");
    EXPECT_EQ(files(), 2 * kFilesOfOne);
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    peer.process().tell("exit");
    EXPECT_EQ(peer.process().finish(), 0);
    EXPECT_EQ(files(), kFilesOfOne);
}

TEST_F(EndedProcessTest, LeavesNoFilesWhenItsMainFunctionEnds)
{
    EXPECT_EQ(Peer("peer-1.0").process().finish(), 0);
    EXPECT_EQ(files(), kFilesOfOne);
}

TEST_F(PingTest, FindsNobodyAfterAKill)
{
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    peer.process().kill();
    EXPECT_EQ(ask("peer-1.0", ""), "ISNOTINSTALLED");
}

TEST_F(PingTest, IsAnsweredRightInAStormOfFourProcesses)
{
    constexpr int kPings = 150;
    Peer target("peer-1.0");
    giveKeys(target);
    std::list<Peer> askers;
    for (int i = 0; i < 4; ++i)
        askers.emplace_back("storm" + std::to_string(i) + "-1.0");
    for (Peer& asker : askers)
        asker.process().tell("storm peer-1.0 " + std::to_string(kPings));
    for (Peer& asker : askers) {
        EXPECT_EQ(asker.process().line(), std::to_string(kPings));
        EXPECT_EQ(asker.process().finish(), 0);
    }
    EXPECT_EQ(target.process().finish(), 0);
}

TEST_F(PingTest, GivesEachOfTwoThreadsItsOwnAnswer)
{
    constexpr int kPings = 100;
    Peer peer("peer-1.0");
    giveKeys(peer);
    const auto right = [](const std::string& number) {
        int count = 0;
        for (int i = 0; i < kPings; ++i)
            count += ask("peer-1.0", "KEY" + number) == "value" + number ? 1 : 0;
        return count;
    };
    int otherCount = 0;
    std::thread other([&] { otherCount = right("1"); });
    const int count = right("2");
    other.join();
    EXPECT_EQ(count, kPings);
    EXPECT_EQ(otherCount, kPings);
}

TEST_F(PingTest, AnswersNothingWithoutTheBus)
{
    TevoroTalk::InitTerm::exit();
    EXPECT_EQ(ask("peer-1.0", ""), "");
    EXPECT_FALSE(TevoroTalk::Thread::setPingValue("COLOUR", "red"));
    EXPECT_EQ(bytes(TevoroTalk::Thread::getPingValue("STATUS")), "");
    EXPECT_FALSE(TevoroTalk::Thread::setPingHandler("COLOUR", nullptr));
    EXPECT_EQ(TevoroTalk::Thread::getPingHandler("MAIN"), nullptr);
}

TEST_F(PingTest, ReadsAndWritesTheStoreOfItsOwnProcess)
{
    EXPECT_TRUE(TevoroTalk::Thread::setPingValue("COLOUR", "red"));
    EXPECT_EQ(bytes(TevoroTalk::Thread::getPingValue("COLOUR")), "red");
    EXPECT_FALSE(TevoroTalk::Thread::setPingValue("", "red"));
    EXPECT_NE(TevoroTalk::Thread::getPingHandler("MAIN"), nullptr);
    EXPECT_EQ(TevoroTalk::Thread::getPingHandler("COLOUR"), nullptr);
}
