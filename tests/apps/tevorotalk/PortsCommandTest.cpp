#include "apps/tevorotalk/BusFixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using PortsCommandTest = BusFixture;

TEST_F(PortsCommandTest, ListsTheNamesAndTheirProcesses)
{
    const PeerProcess& echo = listen("echo-1.0");
    const std::string id = "\t" + std::to_string(echo.id()) + "\n";

    const CommandResult result = run({"ports"});
    EXPECT_EQ(result.out, "echo-1.0" + id + "echo-1.0#ping" + id + "echo-1.0#thread" + id);
    EXPECT_EQ(result.code, 0);
}

TEST_F(PortsCommandTest, ListsThemAsObjects)
{
    const PeerProcess& echo = listen("echo-1.0");
    const std::vector<Json> ports = run({"ports", "--json"}).objects();
    ASSERT_EQ(ports.size(), 3u);
    EXPECT_EQ(ports[0]["name"], "echo-1.0");
    EXPECT_EQ(ports[0]["pid"], echo.id());
}

TEST_F(PortsCommandTest, ListsNothingOnAnEmptyBus)
{
    const CommandResult result = run({"ports"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.code, 0);
}

TEST_F(PortsCommandTest, SaysThatItCannotUseTheFolderOfPorts)
{
    std::filesystem::create_directory(folder.path("open"));
    std::filesystem::permissions(folder.path("open"), std::filesystem::perms::all);
    environment.set("TEVOROTALK_PORT_DIR", folder.path("open"));
    const CommandResult result = run({"ports"});
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.err, HasSubstr(folder.path("open")));
}

TEST_F(PortsCommandTest, LeavesOutTheNamesOfAKilledProcess)
{
    listen("echo-1.0").kill();
    EXPECT_EQ(run({"ports"}).out, "");
}

TEST_F(PortsCommandTest, NumbersASecondApplicationOfTheSameName)
{
    listen("echo-1.0");
    listen("echo-1.0");
    EXPECT_EQ(greeting(), "listening as echo_1-1.0");
    EXPECT_THAT(run({"ports"}).out, HasSubstr("echo_1-1.0\t"));
}

TEST_F(PortsCommandTest, RefusesATenthApplicationOfTheSameName)
{
    for (int i = 0; i < 9; ++i)
        listen("echo-1.0");
    const CommandResult result = run({"listen", "echo-1.0"});
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.err, HasSubstr("echo-1.0"));
}

} // namespace
} // namespace test
