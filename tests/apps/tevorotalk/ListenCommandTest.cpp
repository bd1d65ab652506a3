#include "apps/tevorotalk/BusFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include <sys/resource.h>

namespace test {
namespace {

using testing::HasSubstr;

using ListenCommandTest = BusFixture;

TEST_F(ListenCommandTest, SaysUnderWhichNameItListens)
{
    listen("Echo-1.0");
    EXPECT_EQ(greeting(), "listening as echo-1.0");
}

TEST_F(ListenCommandTest, ObeysASignalWhileItWaitsForTheParametersOfItsLaunch)
{
    // As a launcher announces them. It would wait for minutes.
    const auto flag =
        Pt::LocalPort::hold(std::string(R"(\\.\port\Ned_and_Olaf_)") + "echo-1.0#haslaunchparams");
    ASSERT_NE(flag, nullptr);
    PeerProcess waiting({TEVOROTALK, "listen", "echo-1.0"});
    // The port at which it expects them.
    const auto holdsAPort = [&] {
        return std::ranges::count(Pt::heldLocalPorts(), waiting.id(), &Pt::HeldPort::processId)
            != 0;
    };
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!holdsAPort() && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_TRUE(holdsAPort());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(waiting.interrupt(), 130);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(ListenCommandTest, PrintsAMessageAsALine)
{
    PeerProcess& echo = listen("echo-1.0");
    run({"send", "echo-1.0", "1+1;", "--as", "asker-1.0"});
    EXPECT_EQ(echo.line(), "asker-1.0 Quillscriber #1: 1+1;");
}

TEST_F(ListenCommandTest, PrintsAMessageAsAnObjectWithAllItsFields)
{
    PeerProcess& echo = listen("echo-1.0", {"--json"});
    run({"send", "echo-1.0", "1+1;", "--as", "asker-1.0", "--request", "Result"});
    Json message = Json::parse(echo.line());
    EXPECT_TRUE(message["headers"].erase("Sender-ID"));
    EXPECT_EQ(message,
        Json({{"target", "echo-1.0"},
            {"sender", "asker-1.0"},
            {"type", "Quillscriber"},
            {"reason", 1},
            {"serial", 1},
            {"timeout", 600},
            {"request", "Result Processed"},
            {"headers", Json::object()},
            {"body", "1+1;"}}));
}

TEST_F(ListenCommandTest, KeepsTerminalAndJsonSafeFromBytesOfAnyKind)
{
    PeerProcess& text = listen("text-1.0");
    PeerProcess& objects = listen("objects-1.0", {"--json"});
    run({"send", "text-1.0", "a\x1B[2Jb\xFF", "--as", "asker-1.0"});
    run({"send", "objects-1.0", "a\xFF", "--as", "asker-1.0"});
    EXPECT_EQ(text.line(), "asker-1.0 Quillscriber #1: a%1B[2Jb%FF");
    EXPECT_EQ(Json::parse(objects.line())["body"], "a%FF");
}

TEST_F(ListenCommandTest, EndsAfterSoManyMessages)
{
    PeerProcess& echo = listen("echo-1.0", {"--count", "2"});
    run({"send", "echo-1.0", "one"});
    run({"send", "echo-1.0", "two"});
    EXPECT_EQ(echo.finish(), 0);
}

TEST_F(ListenCommandTest, TakesNoMoreMessagesThanItIsToldOfThoseThatWait)
{
    PeerProcess& echo = listen("echo-1.0", {"--count", "2"});
    ::kill(echo.id(), SIGSTOP);
    for (const char* text : {"one", "two", "three"})
        run({"send", "echo-1.0", text});
    ::kill(echo.id(), SIGCONT);
    EXPECT_THAT(echo.line(), HasSubstr("one"));
    EXPECT_THAT(echo.line(), HasSubstr("two"));
    EXPECT_EQ(echo.rest(), "");
    EXPECT_EQ(echo.finish(), 0);
}

TEST_F(ListenCommandTest, EndsAfterSoManySeconds)
{
    EXPECT_EQ(run({"listen", "echo-1.0", "--seconds", "0"}).code, 0);
    EXPECT_EQ(run({"listen", "echo-1.0", "--seconds", "1", "--count", "1"}).code, 1);
}

TEST_F(ListenCommandTest, EndsWhenItIsInterruptedAndFreesItsNames)
{
    PeerProcess& echo = listen("echo-1.0");
    EXPECT_EQ(echo.interrupt(), 130);
    EXPECT_EQ(run({"ports"}).out, "");
}

TEST_F(ListenCommandTest, EndsInOrderByEverySignalThatAsksForIt)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        PeerProcess& echo = listen("echo-1.0");
        ::kill(echo.id(), signal);
        EXPECT_EQ(echo.finish(), 130) << signal;
        EXPECT_TRUE(std::filesystem::is_empty(folder.path("ports"))) << signal;
    }
}

TEST_F(ListenCommandTest, DoesNotListenWhereNobodyCouldReachIt)
{
    PeerProcess& echo = listen("echo-1.0");
    const std::filesystem::directory_iterator open("/proc/" + std::to_string(echo.id()) + "/fd");
    const auto needed = static_cast<rlim_t>(std::distance(begin(open), end(open)));
    EXPECT_EQ(echo.interrupt(), 130);
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    // Enough to hold the name, and none for its senders.
    const rlimit tight = {needed + 4, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
    const CommandResult result = run({"listen", "echo-1.0", "--seconds", "0"});
    const rlimit enough = {needed + 20, before.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &enough), 0);
    EXPECT_EQ(run({"listen", "echo-1.0", "--seconds", "0"}).code, 0);
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.err, HasSubstr("ulimit -n"));
    EXPECT_THAT(result.err, testing::Not(HasSubstr("listening")));
}

TEST_F(ListenCommandTest, TakesOnlyTheTypesThatItIsTold)
{
    PeerProcess& echo = listen("echo-1.0", {"--type", "Picture", "--type", "Film", "--count", "2"});
    for (const char* type : {"Quillscriber", "Picture", "Sound", "Film"})
        run({"send", "echo-1.0", type, "--type", type});
    EXPECT_THAT(echo.line(), HasSubstr("Picture"));
    EXPECT_THAT(echo.line(), HasSubstr("Film"));
    EXPECT_EQ(echo.finish(), 0);
}

TEST_F(ListenCommandTest, KeepsTheOrderOfASender)
{
    PeerProcess& echo = listen("echo-1.0");
    for (int i = 0; i < 20; ++i)
        run({"send", "echo-1.0", std::to_string(i), "--as", "asker-1.0"});
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(echo.line(), "asker-1.0 Quillscriber #1: " + std::to_string(i));
}

TEST_F(ListenCommandTest, RefusesANameThatIsNone)
{
    EXPECT_EQ(run({"listen", ""}).code, 2);
    EXPECT_EQ(run({"listen", std::string(300, 'a')}).code, 2);
}

TEST_F(ListenCommandTest, SaysWhichFolderOfPortsItCannotUse)
{
    std::filesystem::create_directory(folder.path("open"));
    std::filesystem::permissions(folder.path("open"), std::filesystem::perms::all);
    environment.set("TEVOROTALK_PORT_DIR", folder.path("open"));
    const CommandResult result = run({"listen", "echo-1.0"});
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.err, HasSubstr(folder.path("open")));
}

} // namespace
} // namespace test
