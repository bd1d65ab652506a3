#include "apps/tevorotalk/BusFixture.h"

namespace test {
namespace {

using testing::HasSubstr;

using UsageTest = BusFixture;

TEST_F(UsageTest, ExplainsItselfAndItsCommands)
{
    EXPECT_THAT(run({"--help"}).out, HasSubstr("monitor"));
    EXPECT_EQ(run({"--help"}).code, 0);
    for (char const* command : {"ports", "ping", "send", "listen", "monitor", "info"})
        EXPECT_EQ(run({command, "--help"}).code, 0) << command;
    EXPECT_THAT(run({"--version"}).out, HasSubstr("tevorotalk "));
}

TEST_F(UsageTest, EndsWithTwoForWrongUsage)
{
    for (std::vector<std::string> const& arguments : std::vector<std::vector<std::string>>{{},
             {"frobnicate"},
             {"ping"},
             {"send"},
             {"listen"},
             {"ports", "--wrong"},
             {"ping", "a", "b", "--timeout", "-1"},
             {"listen", "a", "--count", "0"}})
        EXPECT_EQ(run(arguments).code, 2);
}

TEST_F(UsageTest, SaysThatItsOutputCouldNotBeWritten)
{
    listen("echo-1.0");
    PeerProcess shell({"/bin/sh", "-c", TEVOROTALK " ports >/dev/full"});
    EXPECT_EQ(shell.finish(), 4);
}

} // namespace
} // namespace test
