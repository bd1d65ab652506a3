#include "apps/tevorotalk/BusFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <chrono>
#include <thread>

namespace test {
namespace {

using testing::HasSubstr;

using UsageTest = BusFixture;

TEST_F(UsageTest, ExplainsItselfAndItsCommands)
{
    EXPECT_THAT(run({"--help"}).out, HasSubstr("monitor"));
    EXPECT_EQ(run({"--help"}).code, 0);
    for (const char* command : {"apps", "ports", "ping", "send", "listen", "monitor", "info"})
        EXPECT_EQ(run({command, "--help"}).code, 0) << command;
    EXPECT_THAT(run({"--version"}).out, HasSubstr("tevorotalk "));
}

TEST_F(UsageTest, EndsWithTwoForWrongUsage)
{
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{},
             {"frobnicate"},
             {"ping"},
             {"send"},
             {"listen"},
             {"ports", "--wrong"},
             {"ping", "a", "b", "--timeout", "-1"},
             {"listen", "a", "--error", "4294967296"},
             {"listen", "a", "--count", "0"},
             {"listen", "a\nb"},
             {"listen", "a", "--type", "one\ntwo"},
             {"ping", "a\nb"},
             {"ping", "a", "STATUS\nx"}})
        EXPECT_EQ(run(arguments).code, 2);
}

TEST_F(UsageTest, SaysThatItsOutputCouldNotBeWritten)
{
    listen("echo-1.0");
    for (const char* const words : {" ports", " ports --json", " info echo-1.0 --json"}) {
        PeerProcess shell({"/bin/sh", "-c", TEVOROTALK + std::string(words) + " >/dev/full"});
        EXPECT_EQ(shell.finish(), 4) << words;
    }
}

TEST_F(UsageTest, EndsWhenItIsInterruptedWhileItWaitsForAnAnswer)
{
    ::kill(listen("frozen-1.0").id(), SIGSTOP);
    for (const std::vector<std::string>& arguments :
        std::vector<std::vector<std::string>>{{"ping", "frozen-1.0", "--timeout", "600"},
            {"info", "frozen-1.0"},
            {"monitor", "frozen-1.0"}}) {
        std::vector<std::string> words = arguments;
        words.insert(words.begin(), TEVOROTALK);
        PeerProcess process(words);
        const std::string port = R"(\\.\port\Ned_and_Olaf_)" + busName(process) + "#ping";
        while (Pt::isLocalPortFree(port))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(process.interrupt(), 130) << arguments[0];
    }
}

TEST_F(UsageTest, EndsWhenNobodyReadsItsOutputAnyMore)
{
    for (const std::string command : {"listen echo-1.0", "monitor other-1.0"}) {
        listen("other-1.0");
        PeerProcess shell(
            {"/bin/bash", "-c", "set -o pipefail; " TEVOROTALK " " + command + " | head -n 1"});
        shell.errorLine();
        const std::string target = command.substr(command.find(' ') + 1);
        for (int i = 0; i < 5; ++i)
            run({"send", target, "hello"});
        EXPECT_EQ(shell.finish(), 4) << command;
    }
}

} // namespace
} // namespace test
