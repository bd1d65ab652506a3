// A name becomes a running application: registered with one command, started by another.
#include "apps/tevorotalk/BusFixture.h"
#include "platform/common/services/ProcessControl.h"

#include <csignal>

namespace test {
namespace {

using testing::HasSubstr;

class TevoroLaunchTest : public BusFixture {
protected:
    TevoroLaunchTest()
    {
        environment.set("TEVORO_LAUNCH_TEST", folder.path()); // known again by that
        EXPECT_EQ(store({"add", "tevoro-2.0", "--path", TEVORO, "--set", "DisplayName=Tevoro"}), 0);
    }
    ~TevoroLaunchTest() override
    {
        for (const unsigned long id : Pt::processesOfProgram(TEVORO))
            if (read("/proc/" + std::to_string(id) + "/environ").find(folder.path())
                != std::string::npos)
                ::kill(static_cast<pid_t>(id), SIGTERM);
    }

    static int store(std::vector<std::string> words)
    {
        words.insert(words.begin(), VELMO_CAPS);
        PeerProcess process(words);
        process.endInput();
        EXPECT_EQ(process.errors(), "");
        return process.finish();
    }
};

TEST_F(TevoroLaunchTest, IsStartedByAMessageToItsBareName)
{
    EXPECT_THAT(run({"apps"}).out, HasSubstr("tevoro-2.0\tnot running"));
    const CommandResult result =
        run({"send", "tevoro", "app.beep(); 'done'", "--launch", "--wait", "30"});
    EXPECT_EQ(result.out, "done\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(run({"apps"}).out, HasSubstr("tevoro-2.0\tIDLE"));
    EXPECT_THAT(run({"info", "tevoro"}).out,
        HasSubstr("LAUNCHPARAMS: -specifier tevoro-2.0 -nostartupscreen"));
}

TEST_F(TevoroLaunchTest, DoesWhatItWasStartedForWithoutADisplay)
{
    environment.unset("QT_QPA_PLATFORM");
    environment.unset("DISPLAY");
    environment.unset("WAYLAND_DISPLAY");
    const CommandResult result = run({"send", "tevoro", "6 * 7", "--launch", "--wait", "30"});
    EXPECT_EQ(result.out, "42\n");
}

TEST_F(TevoroLaunchTest, IsStartedOnceAndThenReached)
{
    run({"send", "tevoro", "1", "--launch", "--wait", "30"});
    run({"send", "tevoro", "2", "--launch", "--wait", "30"});
    EXPECT_THAT(run({"ports"}).out, testing::Not(HasSubstr("tevoro_1-2.0")));
}

TEST_F(TevoroLaunchTest, TakesANumberThatTheSenderAsksFor)
{
    const CommandResult result =
        run({"send", "tevoro_3-2.0", "app.beep(); 'done'", "--launch", "--wait", "30"});
    EXPECT_EQ(result.out, "done\n");
    EXPECT_THAT(run({"ports"}).out, HasSubstr("tevoro_3-2.0\t"));
}

TEST_F(TevoroLaunchTest, IsNoLongerFoundWhenItWasRemoved)
{
    EXPECT_EQ(store({"remove", "tevoro-2.0"}), 0);
    const CommandResult result = run({"send", "tevoro-2.0", "text", "--launch", "--wait", "5"});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("cannot be started"));
}

} // namespace
} // namespace test
