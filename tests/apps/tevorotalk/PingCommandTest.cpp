#include "apps/tevorotalk/BusFixture.h"

namespace test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

using PingCommandTest = BusFixture;

TEST_F(PingCommandTest, PrintsWhatTheTargetAnswers)
{
    listen("echo-1.0");
    const CommandResult result = run({"ping", "echo-1.0", "STATUS"});
    EXPECT_THAT(result.out, AnyOf("IDLE\n", "PUMPING\n", "BUSY\n"));
    EXPECT_EQ(result.code, 0);
}

TEST_F(PingCommandTest, AsksWhetherSomebodyAnswersWithoutACommand)
{
    listen("echo-1.0");
    const CommandResult result = run({"ping", "echo-1.0"});
    EXPECT_EQ(result.out, "ECHO_RESPONSE\n");
    EXPECT_EQ(result.code, 0);
}

TEST_F(PingCommandTest, EndsWithThreeForATargetThatIsNotThere)
{
    const CommandResult result = run({"ping", "nobody-1.0"});
    EXPECT_EQ(result.out, "ISNOTINSTALLED\n");
    EXPECT_EQ(result.code, 3);
}

TEST_F(PingCommandTest, EndsWithOneForAKeyThatTheTargetDoesNotKnow)
{
    listen("echo-1.0");
    const CommandResult result = run({"ping", "echo-1.0", "NOSUCHKEY"});
    EXPECT_EQ(result.out, "UNDEFINED\n");
    EXPECT_EQ(result.code, 1);
}

TEST_F(PingCommandTest, EndsWithOneWhenNoAnswerCame)
{
    listen("echo-1.0");
    // A key that others may not write is met with silence.
    const CommandResult result = run({"ping", "echo-1.0", "STATUS=BUSY", "--timeout", "1"});
    EXPECT_EQ(result.out, "Timeout\n");
    EXPECT_EQ(result.code, 1);
}

TEST_F(PingCommandTest, SaysThatTheProcessWasStopped)
{
    const PeerProcess& echo = listen("echo-1.0");
    ::kill(echo.id(), SIGSTOP);
    const CommandResult result = run({"ping", "echo-1.0", "--timeout", "1"});
    EXPECT_EQ(result.out, "Timeout\n");
    EXPECT_THAT(result.err,
        HasSubstr("'echo-1.0' does not answer: its process, " + std::to_string(echo.id())
            + ", was stopped"));
    EXPECT_EQ(result.code, 1);
}

TEST_F(PingCommandTest, EndsWithFiveForANameThatIsNone)
{
    const CommandResult result = run({"ping", "", "STATUS"});
    EXPECT_EQ(result.out, "INVALIDSPEC\n");
    EXPECT_EQ(result.code, 5);
}

TEST_F(PingCommandTest, SendsOnlyWithATimeoutOfZero)
{
    listen("echo-1.0");
    const CommandResult result = run({"ping", "echo-1.0", "STATUS", "-t", "0"});
    EXPECT_EQ(result.out, "NOERROR\n");
    EXPECT_EQ(result.code, 5);
}

TEST_F(PingCommandTest, SendsABody)
{
    listen("echo-1.0");
    const CommandResult result = run({"ping", "echo-1.0", "INFO", "--body", "log"});
    EXPECT_THAT(result.out, HasSubstr("/log;1;Log;"));
    EXPECT_THAT(result.out, Not(HasSubstr("/thread;1;")));
}

TEST_F(PingCommandTest, EndsWithZeroForAnEmptyAnswer)
{
    listen("echo-1.0");
    const CommandResult result = run({"ping", "echo-1.0", "INFO", "--body", "nothing"});
    EXPECT_EQ(result.out, "\n");
    EXPECT_EQ(result.code, 0);
}

TEST_F(PingCommandTest, DoesNotTakeATargetDownThatIsAskedForItsMainKey)
{
    listen("echo-1.0");
    EXPECT_EQ(run({"ping", "echo-1.0", "MAIN"}).out, "UNDEFINED\n");
    EXPECT_EQ(run({"ping", "echo-1.0"}).out, "ECHO_RESPONSE\n");
}

} // namespace
} // namespace test
