// What signals do to a whole process.

#include "core/platform/support/PeerProcess.h"

#include <chrono>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

constexpr int kEndedByTheSignal = -1;

class PtSignalProcessTest : public testing::Test {
protected:
    // A process that takes signals over, once it does.
    static std::unique_ptr<test::PeerProcess> peer(const std::string& how)
    {
        auto started = std::make_unique<test::PeerProcess>(
            std::vector<std::string>{PLATFORM_PEER, "signals", how});
        EXPECT_EQ(started->line(), "ready");
        return started;
    }
    static void tell(test::PeerProcess& process, const std::string& what)
    {
        process.tell(what);
        EXPECT_EQ(process.line(), "done");
    }
    static int statusAfter(test::PeerProcess& process, int number)
    {
        ::kill(process.id(), number);
        // Its end, and not that of its input, which would end it as well.
        EXPECT_EQ(process.rest(), "");
        return process.finish();
    }
};

} // namespace

TEST_F(PtSignalProcessTest, EndsWithStatusZeroWithoutAHandler)
{
    for (const int each : {SIGTERM, SIGINT, SIGQUIT, SIGABRT})
        EXPECT_EQ(statusAfter(*peer("console"), each), 0) << each;
}

TEST_F(PtSignalProcessTest, EndsWithStatusZeroWhenTheHandlerHasGone)
{
    const auto process = peer("console");
    tell(*process, "accepting");
    tell(*process, "none");
    EXPECT_EQ(statusAfter(*process, SIGTERM), 0);
}

TEST_F(PtSignalProcessTest, StaysAliveWhenTheHandlerReturnsTrue)
{
    const auto process = peer("console");
    tell(*process, "accepting");
    for (int round = 0; round < 3; ++round) {
        ::kill(process->id(), SIGTERM);
        EXPECT_EQ(process->line(), "termination");
        ::kill(process->id(), SIGQUIT);
        EXPECT_EQ(process->line(), "abnormal end");
    }
    tell(*process, "ping");
    EXPECT_EQ(process->finish(), 7);
}

TEST_F(PtSignalProcessTest, EndsWithStatusZeroWhenTheHandlerReturnsFalse)
{
    const auto process = peer("console");
    tell(*process, "refusing");
    ::kill(process->id(), SIGINT);
    EXPECT_EQ(process->rest(), "termination\n");
    EXPECT_EQ(process->finish(), 0);
}

TEST_F(PtSignalProcessTest, EndsWithStatusZeroWhenTheHandlerThrows)
{
    const auto process = peer("console");
    tell(*process, "throwing");
    ::kill(process->id(), SIGABRT);
    EXPECT_EQ(process->rest(), "abnormal end\n");
    EXPECT_EQ(process->finish(), 0);
    EXPECT_THAT(process->errors(), HasSubstr("a broken handler"));
}

TEST_F(PtSignalProcessTest, LogsAHandlersFailureWithTheNumberOfItsThread)
{
    const auto process = peer("console");
    tell(*process, "throwing");
    ::kill(process->id(), SIGTERM);
    EXPECT_EQ(process->rest(), "termination\n");
    const std::string errors = process->errors();
    const std::string end = "a broken handler in thread ";
    const auto at = errors.find(end);
    ASSERT_NE(at, std::string::npos) << errors;
    const int number = std::stoi(errors.substr(at + end.size()));
    EXPECT_GT(number, process->id());
    EXPECT_THAT(errors, HasSubstr("Thread " + std::to_string(number) + " has terminated"));
}

TEST_F(PtSignalProcessTest, EndsWithStatusZeroWhenTheLayersEndIsLeftToTheExit)
{
    EXPECT_EQ(statusAfter(*peer("exit"), SIGTERM), 0);
    EXPECT_EQ(statusAfter(*peer("exit"), SIGQUIT), 0);
    EXPECT_EQ(statusAfter(*peer("exit-signals"), SIGTERM), 0);
}

// The first thread holds the layer's locks then, and waits for the thread that calls exit.
TEST_F(PtSignalProcessTest, EndsWithStatusZeroWhileTheLayerIsBeingStopped)
{
    const auto process = peer("exit");
    process->tell("refusing");
    EXPECT_EQ(process->line(), "done");
    ::kill(process->id(), SIGTERM);
    EXPECT_EQ(process->line(), "termination");
    process->tell("end");
    ASSERT_TRUE(process->saysSomething(std::chrono::seconds(30))) << "it hangs";
    EXPECT_EQ(process->rest(), "");
    EXPECT_EQ(process->finish(), 0);
}

TEST_F(PtSignalProcessTest, PassesHangUpsAndWakeUpsOver)
{
    for (const char* const how : {"console", "plain", "config"}) {
        const auto process = peer(how);
        for (const int each : {SIGHUP, SIGUSR1, SIGPIPE})
            ::kill(process->id(), each);
        tell(*process, "ping");
        EXPECT_EQ(process->finish(), 7) << how;
    }
}

TEST_F(PtSignalProcessTest, LeavesTheConsolesSignalsAloneUnlessTold)
{
    EXPECT_EQ(statusAfter(*peer("plain"), SIGTERM), kEndedByTheSignal);
    EXPECT_EQ(statusAfter(*peer("plain"), SIGINT), kEndedByTheSignal);
}

// The whole layer reads the flag from a new configuration, where it is false.
TEST_F(PtSignalProcessTest, LeavesTheConsolesSignalsAloneWhateverTheLayersConfigurationSays)
{
    const auto process = peer("config");
    tell(*process, "accepting");
    EXPECT_EQ(statusAfter(*process, SIGTERM), kEndedByTheSignal);
}

TEST_F(PtSignalProcessTest, GivesSignalsTheirOwnEffectBack)
{
    for (const int each : {SIGTERM, SIGHUP, SIGUSR1, SIGPIPE}) {
        const auto process = peer("console");
        tell(*process, "accepting");
        tell(*process, "stop");
        EXPECT_EQ(statusAfter(*process, each), kEndedByTheSignal) << each;
    }
}

TEST_F(PtSignalProcessTest, CanBeStoppedAndGoesOn)
{
    const auto process = peer("console");
    tell(*process, "stop");
    tell(*process, "stop");
    tell(*process, "ping");
    EXPECT_EQ(process->finish(), 7);
}
