#include "apps/tevorotalk/BusFixture.h"

#include <csignal>
#include <fstream>

namespace test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class AppsCommandTest : public BusFixture {
protected:
    void add(const std::string& name, const std::string& path)
    {
        PeerProcess process({VELMO_CAPS, "add", name, "--path", path});
        process.endInput();
        process.errors(); // the path need not be there
        ASSERT_EQ(process.finish(), 0);
    }
};

TEST_F(AppsCommandTest, SaysThatNothingIsRegistered)
{
    const CommandResult result = run({"apps"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("no application is registered; 'velmo-caps add'"));
}

TEST_F(AppsCommandTest, ListsNameStatusAndPathInTheOrderOfRegistration)
{
    add("echo-1.0", "/bin/echo");
    add("another-2.0", "/no/where");
    listen("echo-1.0");
    const CommandResult result = run({"apps"});
    EXPECT_EQ(result.out, "echo-1.0\tIDLE\t/bin/echo\nanother-2.0\tnot running\t/no/where\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.code, 0);
}

TEST_F(AppsCommandTest, PrintsAnObjectForEach)
{
    add("echo-1.0", "/bin/echo");
    listen("echo-1.0");
    const auto objects = run({"apps", "--json"}).objects();
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0]["specifier"], "echo-1.0");
    EXPECT_EQ(objects[0]["running"], true);
    EXPECT_EQ(objects[0]["status"], "IDLE");
    EXPECT_EQ(objects[0]["path"], "/bin/echo");
}

TEST_F(AppsCommandTest, SaysWhatAStoppedApplicationDoesNotAnswer)
{
    add("echo-1.0", "/bin/echo");
    ::kill(listen("echo-1.0").id(), SIGSTOP);
    const CommandResult result = run({"apps"});
    EXPECT_EQ(result.out, "echo-1.0\tTimeout\t/bin/echo\n");
    EXPECT_THAT(result.err, HasSubstr("no answer from echo-1.0"));
}

TEST_F(AppsCommandTest, AsksAllWithinABoundAndSaysWhoWasNotHeard)
{
    constexpr int kStuck = 6;
    for (int i = 0; i < kStuck; ++i) {
        const std::string name = "stuck" + std::to_string(i) + "-1.0";
        add(name, "/bin/echo");
        ::kill(listen(name).id(), SIGSTOP);
    }
    const auto begin = std::chrono::steady_clock::now();
    const CommandResult result = run({"apps"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), kStuck);
    EXPECT_THAT(result.out, HasSubstr("stuck5-1.0\tnot asked\t/bin/echo\n"));
    EXPECT_THAT(result.err,
        testing::AllOf(HasSubstr("no answer from stuck0-1.0"),
            HasSubstr("not asked, as others did not answer: "),
            HasSubstr("stuck5-1.0\n")));
}

TEST_F(AppsCommandTest, SaysWhyAStoreThatIsDamagedIsMissing)
{
    add("echo-1.0", "/bin/echo");
    const std::string file = folder.path("user/Velmo/Caps/velmo_caps.db");
    ASSERT_TRUE(std::filesystem::exists(file));
    std::ofstream(file, std::ios::trunc) << std::string(5000, 'x');
    for (const char* const beside : {"-wal", "-shm"})
        std::filesystem::remove(file + beside);
    const CommandResult result = run({"apps"});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr(file));
    EXPECT_EQ(result.code, 4);
}

} // namespace
} // namespace test
