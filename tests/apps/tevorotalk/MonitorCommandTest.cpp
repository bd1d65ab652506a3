#include "apps/tevorotalk/BusFixture.h"

namespace test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class MonitorCommandTest : public BusFixture {
protected:
    const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();

    std::chrono::steady_clock::duration passed() const
    {
        return std::chrono::steady_clock::now() - begin;
    }
};

TEST_F(MonitorCommandTest, ShowsWhatBecomesOfAMessage)
{
    listen("echo-1.0");
    PeerProcess& monitor = start({"monitor", "echo-1.0"});
    EXPECT_EQ(greeting(), "monitoring echo-1.0");
    run({"send", "echo-1.0", "1+1;", "--as", "asker-1.0"});
    // A value of the tree ends at its first semicolon.
    const std::string rest = " asker-1.0 -> echo-1.0 Quillscriber #1: 1+1";
    EXPECT_EQ(monitor.line(), "added" + rest);
    EXPECT_EQ(monitor.line(), "picked" + rest);
    EXPECT_EQ(monitor.line(), "processed" + rest);
}

TEST_F(MonitorCommandTest, ShowsItAsObjects)
{
    listen("echo-1.0");
    PeerProcess& monitor = start({"monitor", "echo-1.0", "--messages", "--json"});
    run({"send", "echo-1.0", "1+1;", "--as", "asker-1.0"});
    const Json message = Json::parse(monitor.line());
    EXPECT_EQ(message["type"], "Debug");
    EXPECT_EQ(message["headers"]["Command"], "FWDMESSAGES");
    EXPECT_EQ(message["headers"]["MsgRoot"], "/messages/echo-1.0/echo-1.0/in");
    EXPECT_THAT(std::string(message["body"]), HasSubstr("];added;\n"));
}

TEST_F(MonitorCommandTest, ShowsTheLogOfATargetThatLogs)
{
    environment.set("TEVOROTALK_LOG", "1");
    listen("echo-1.0");
    environment.unset("TEVOROTALK_LOG");
    PeerProcess& monitor = start({"monitor", "echo-1.0", "--logs", "--json"});
    run({"send", "echo-1.0", "1+1;", "--as", "asker-1.0"});
    const Json message = Json::parse(monitor.line());
    EXPECT_EQ(message["headers"]["Command"], "FWDLOGS");
    EXPECT_EQ(message["headers"]["MsgRoot"], "/log/echo-1.0");
}

TEST_F(MonitorCommandTest, EndsWithThreeForATargetThatIsNotThere)
{
    const CommandResult result = run({"monitor", "nobody-1.0"});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("nobody-1.0"));
}

TEST_F(MonitorCommandTest, EndsWithItsTarget)
{
    PeerProcess& echo = listen("echo-1.0");
    PeerProcess& monitor = start({"monitor", "echo-1.0"});
    echo.kill();
    EXPECT_EQ(monitor.finish(), 1);
}

TEST_F(MonitorCommandTest, LeavesNoSubscriptionBehind)
{
    listen("echo-1.0");
    PeerProcess& monitor = start({"monitor", "echo-1.0"});
    EXPECT_EQ(run({"ping", "echo-1.0", "FWDMESSAGES"}).out, busName(monitor) + "\n");
    EXPECT_EQ(monitor.interrupt(), 130);
    EXPECT_EQ(run({"ping", "echo-1.0", "FWDMESSAGES"}).out, "UNDEFINED\n");
}

TEST_F(MonitorCommandTest, GivesWayToALaterMonitor)
{
    listen("echo-1.0");
    PeerProcess& first = start({"monitor", "echo-1.0"});
    PeerProcess& second = start({"monitor", "echo-1.0"});
    EXPECT_EQ(first.interrupt(), 130); // does not take the other's subscription away
    run({"send", "echo-1.0", "1+1;"});
    EXPECT_THAT(second.line(), StartsWith("added "));
}

TEST_F(MonitorCommandTest, EndsAfterSoManySeconds)
{
    listen("echo-1.0");
    EXPECT_EQ(run({"monitor", "echo-1.0", "--seconds", "0"}).code, 0);
}

TEST_F(MonitorCommandTest, WaitsNoLongerForAStoppedTargetThanItIsTold)
{
    PeerProcess& echo = listen("echo-1.0");
    ::kill(echo.id(), SIGSTOP);
    const CommandResult result = run({"monitor", "echo-1.0", "--seconds", "1"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot be monitored: Timeout"));
    EXPECT_LT(passed(), std::chrono::seconds(4));
    ::kill(echo.id(), SIGCONT);
}

TEST_F(MonitorCommandTest, EndsSoonWhereItsTargetHasStoppedMeanwhile)
{
    PeerProcess& echo = listen("echo-1.0");
    PeerProcess& monitor = start({"monitor", "echo-1.0", "--messages", "--logs"});
    ::kill(echo.id(), SIGSTOP);
    EXPECT_EQ(monitor.interrupt(), 130);
    EXPECT_LT(passed(), std::chrono::seconds(6)); // it would be more than ten with the usual limit
    ::kill(echo.id(), SIGCONT);
}

} // namespace
} // namespace test
