// Messages of the command to applications that it has to start.
#include "apps/tevorotalk/BusFixture.h"
#include "platform/common/services/ProcessControl.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace {

using test::CommandResult;
using test::PeerProcess;
using testing::HasSubstr;
using Words = std::vector<std::string>;
using namespace std::chrono_literals;

class LaunchedTargetTest : public test::BusFixture {
protected:
    LaunchedTargetTest()
    {
        environment.set("LAUNCHED_PATH", LAUNCHED_APPLICATION);
        environment.set("LAUNCHED_AS", "launched-2.0");
        environment.set("LAUNCHED_REPORT", folder.path());
        environment.set("LAUNCHED_MODE", "answers");
    }
    ~LaunchedTargetTest() override
    {
        for (const unsigned long id : copies())
            ::kill(static_cast<pid_t>(id), SIGKILL);
        EXPECT_TRUE(waitUntil([this] { return copies().empty(); }));
    }

    // Those of this test, by their environment.
    Words::size_type copyCount() const { return copies().size(); }
    std::vector<unsigned long> copies() const
    {
        std::vector<unsigned long> found;
        for (const unsigned long id : Pt::processesOfProgram(LAUNCHED_APPLICATION))
            if (test::read("/proc/" + std::to_string(id) + "/environ")
                    .find("LAUNCHED_REPORT=" + folder.path())
                != std::string::npos)
                found.push_back(id);
        return found;
    }
    static bool waitUntil(const std::function<bool()>& condition)
    {
        const auto limit = std::chrono::steady_clock::now() + 20s;
        while (!condition() && std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(5ms);
        return condition();
    }

    static Words command(const std::string& script, const Words& more = {})
    {
        Words words{LAUNCHING_TEVOROTALK, "send", "launched-2.0", script, "--launch"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    static CommandResult send(const std::string& script, const Words& more = {})
    {
        PeerProcess process(command(script, more));
        process.endInput();
        CommandResult result;
        result.out = process.rest();
        result.err = process.errors();
        result.code = process.finish();
        return result;
    }
    void expectRefusal(const std::string& path, const std::string& why)
    {
        environment.set("LAUNCHED_PATH", path);
        for (const Words& more : {Words{}, Words{"--wait", "20"}}) {
            const auto begin = std::chrono::steady_clock::now();
            const CommandResult result = send("hello", more);
            EXPECT_EQ(result.code, 3) << path;
            EXPECT_THAT(result.err, HasSubstr(path + ": " + why));
            EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s) << "it need not wait";
        }
    }
};

TEST_F(LaunchedTargetTest, AnswersTheMessageThatStartedIt)
{
    const CommandResult result = send("hello", {"--wait", "20"});
    EXPECT_EQ(result.out, "you said hello\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.code, 0);
}

TEST_F(LaunchedTargetTest, HasItsParametersAndTheMessageWhenTheCommandEnds)
{
    EXPECT_EQ(send("quit").code, 0);
    EXPECT_TRUE(waitUntil([this] { return copyCount() == 0; })) << "it has taken the message";
    std::string report;
    for (const auto& file : std::filesystem::directory_iterator(folder.path()))
        if (file.is_regular_file())
            report += test::read(file.path().string());
    EXPECT_EQ(report, "launched-2.0\n-specifier launched-2.0 -nostartupscreen\n");
}

TEST_F(LaunchedTargetTest, TakesNoMessageWhenItIsAnAddress)
{
    std::filesystem::create_directory(folder.path("bin"));
    folder.write("bin/xdg-open", "#!/bin/sh\n");
    std::filesystem::permissions(folder.path("bin/xdg-open"), std::filesystem::perms::owner_all);
    environment.set("PATH", folder.path("bin"));
    environment.set("LAUNCHED_PATH", "https://example.test/x");
    CommandResult result = send("hello");
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("https://example.test/x, which was opened and takes no"));
    std::filesystem::remove(folder.path("bin/xdg-open"));
    result = send("hello");
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.err, HasSubstr("https://example.test/x, which xdg-open cannot open"));
}

TEST_F(LaunchedTargetTest, IsNotStartedWhenItRuns)
{
    EXPECT_EQ(send("hello").code, 0);
    EXPECT_EQ(send("hello", {"--wait", "20"}).out, "you said hello\n");
    EXPECT_EQ(copyCount(), 1U);
}

TEST_F(LaunchedTargetTest, DoesNotKeepThoseWaitingWhoReadTheOutputOfTheCommand)
{
    // The end of the output is seen although the application lives on.
    EXPECT_EQ(send("hello").out, "");
    EXPECT_EQ(copyCount(), 1U);
}

TEST_F(LaunchedTargetTest, IsStartedOnceByManyWhoAskAtOnce)
{
    constexpr std::size_t kSenders = 8;
    std::vector<std::unique_ptr<PeerProcess>> senders;
    for (std::size_t i = 0; i < kSenders; ++i)
        senders.push_back(
            std::make_unique<PeerProcess>(command("from " + std::to_string(i), {"--wait", "40"})));
    for (std::size_t i = 0; i < kSenders; ++i) {
        senders[i]->endInput();
        EXPECT_EQ(senders[i]->rest(), "you said from " + std::to_string(i) + "\n");
        EXPECT_EQ(senders[i]->errors(), "");
        EXPECT_EQ(senders[i]->finish(), 0);
    }
    EXPECT_EQ(copyCount(), 1U);
}

TEST_F(LaunchedTargetTest, IsNotStartedAgainByOthersBeforeItIsUp)
{
    environment.set("LAUNCHED_MODE", "silent");
    EXPECT_EQ(send("hello", {"--wait", "1"}).code, 1);
    const CommandResult result = send("hello", {"--wait", "1"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err,
        HasSubstr("within 1 seconds; it was started from " + std::string(LAUNCHED_APPLICATION)));
    EXPECT_EQ(copyCount(), 1U);
}

TEST_F(LaunchedTargetTest, IsSaidToLieNowhere)
{
    expectRefusal(folder.path("gone"), "nothing is there");
}

TEST_F(LaunchedTargetTest, IsSaidToBeAFolder)
{
    expectRefusal(folder.path(), "it is a folder");
}

TEST_F(LaunchedTargetTest, IsSaidNotToBeExecutable)
{
    expectRefusal(folder.write("text", "no program"), "it is not executable");
}

TEST_F(LaunchedTargetTest, IsSaidToBeNoProgramOrToLackItsInterpreter)
{
    const auto executable = [this](const std::string& name, const std::string& text) {
        const std::string path = folder.write(name, text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    };
    expectRefusal(executable("text", "echo hello\n"), "it is no program, and no script either");
    expectRefusal(executable("empty", ""), "it is no program, and no script either");
    expectRefusal(executable("script", "#! /no/such/shell -x\n"),
        "its interpreter '/no/such/shell' is not there");
}

TEST_F(LaunchedTargetTest, IsSaidToHaveEnded)
{
    environment.set("LAUNCHED_MODE", "dies");
    const CommandResult result = send("hello");
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("has not taken the message and its parameters"));
    EXPECT_THAT(result.err, HasSubstr(std::string(LAUNCHED_APPLICATION) + " and has ended"));
}

TEST_F(LaunchedTargetTest, IsNotWaitedForAfterItsEnd)
{
    environment.set("LAUNCHED_MODE", "dies");
    const auto begin = std::chrono::steady_clock::now();
    const CommandResult result = send("hello", {"--wait", "50"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err,
        HasSubstr("no answer from 'launched-2.0'; it was started from "
            + std::string(LAUNCHED_APPLICATION) + " and has ended"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

TEST_F(LaunchedTargetTest, IsNamedWhenItDoesNotAnswer)
{
    environment.set("LAUNCHED_MODE", "silent");
    const CommandResult result = send("hello", {"--wait", "1"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err,
        HasSubstr("within 1 seconds; it was started from " + std::string(LAUNCHED_APPLICATION)));
}

TEST_F(LaunchedTargetTest, IsNotWaitedForAfterASignal)
{
    environment.set("LAUNCHED_MODE", "silent");
    for (const int signal : {SIGTERM, SIGINT}) {
        PeerProcess process(command("hello"));
        EXPECT_TRUE(waitUntil([this] { return copyCount() != 0; }));
        const auto begin = std::chrono::steady_clock::now();
        ::kill(process.id(), signal);
        EXPECT_EQ(process.finish(), 130);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
        for (const unsigned long id : copies())
            ::kill(static_cast<pid_t>(id), SIGKILL);
        EXPECT_TRUE(waitUntil([this] { return copyCount() == 0; }));
    }
}

} // namespace
