#include "apps/tevorotalk/BusFixture.h"

#include <chrono>

#include <signal.h>

namespace test {
namespace {

using testing::HasSubstr;

using InfoCommandTest = BusFixture;

TEST_F(InfoCommandTest, PrintsTheReport)
{
    listen("echo-1.0");
    const CommandResult result = run({"info", "echo-1.0"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("TevoroTalk Diagnostics\n----------------------\n"));
    EXPECT_THAT(result.out, HasSubstr("\n\tInfo: \n\t\tName = echo-1.0\n\t\tStatus = "));
    EXPECT_THAT(result.out, HasSubstr("\n\tThread: echo-1.0#thread\n"));
    EXPECT_THAT(result.out, HasSubstr("\n\t\techo-1.0: (main)\n"));
}

TEST_F(InfoCommandTest, PrintsTheTreeAsObjects)
{
    listen("echo-1.0");
    const std::vector<Json> lines = run({"info", "echo-1.0", "--json"}).objects();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0]["path"], "/echo-1.0");
    EXPECT_EQ(lines[0]["label"], "echo-1.0");
    EXPECT_EQ(lines[0]["children"], true);
    EXPECT_EQ(lines[1],
        Json(
            {{"path", "/echo-1.0/context"}, {"label", "Info"}, {"value", ""}, {"children", true}}));
}

TEST_F(InfoCommandTest, EndsWithThreeForATargetThatIsNotThere)
{
    const CommandResult result = run({"info", "nobody-1.0"});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("nobody-1.0"));
    EXPECT_EQ(result.code, 3);
}

// The application asks the others while its own pump waits.
TEST_F(InfoCommandTest, TakesLittleTimeWhereAnotherApplicationIsStuck)
{
    for (const char* const name : {"stuck-1.0", "other-1.0", "echo-1.0"}) {
        PeerProcess store({VELMO_CAPS, "add", name, "--path", "/bin/true"});
        store.endInput();
        ASSERT_EQ(store.finish(), 0);
    }
    ::kill(listen("stuck-1.0").id(), SIGSTOP);
    ::kill(listen("other-1.0").id(), SIGSTOP);
    listen("echo-1.0");
    const auto begin = std::chrono::steady_clock::now();
    const CommandResult result = run({"info", "echo-1.0"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("stuck-1.0: Timeout"));
    EXPECT_THAT(result.out, HasSubstr("\n\t\tRunning: 3"));
}

TEST_F(InfoCommandTest, GivesUpWhenItIsTold)
{
    ::kill(listen("frozen-1.0").id(), SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    const CommandResult result = run({"info", "frozen-1.0", "--timeout", "1"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("Timeout"));
    EXPECT_THAT(result.err, HasSubstr("was stopped"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
}

} // namespace
} // namespace test
