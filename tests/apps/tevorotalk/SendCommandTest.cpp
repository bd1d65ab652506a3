#include "apps/tevorotalk/BusFixture.h"
#include "core/messaging/support/RawPort.h"
#include "platform/common/ports/LocalPort.h"

#include <chrono>
#include <fstream>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace test {
namespace {

using testing::HasSubstr;

const std::string kPortPrefix = R"(\\.\port\Ned_and_Olaf_)";

// A peer that never accepts, with all of its places taken.
class FullPort {
public:
    FullPort(const std::string& folder, const std::string& name)
        : m_port(folder, stemOf(folder, kPortPrefix + name), kPortPrefix + name)
    {
        do
            m_places.push_back(std::make_unique<Pt::LocalPortSender>());
        while (m_places.back()->send(kPortPrefix + name, "text", std::chrono::milliseconds(0)));
    }

private:
    static std::string stemOf(const std::string& folder, const std::string& port)
    {
        std::set<std::string> before = stems(folder);
        const auto held = Pt::LocalPort::hold(port);
        std::set<std::string> after = stems(folder);
        std::erase_if(after, [&](const std::string& stem) { return before.contains(stem); });
        return after.empty() ? "" : *after.begin();
    }
    static std::set<std::string> stems(const std::string& folder)
    {
        std::set<std::string> result;
        std::error_code missing;
        for (const auto& entry : std::filesystem::directory_iterator(folder, missing))
            result.insert(entry.path().stem());
        return result;
    }

    RawPort m_port;
    std::vector<std::unique_ptr<Pt::LocalPortSender>> m_places;
};

class SendCommandTest : public BusFixture {
protected:
    static bool holdsItsName(const PeerProcess& process)
    {
        return !Pt::isLocalPortFree(kPortPrefix + busName(process) + "#thread");
    }
    // Whether it has come that far.
    static bool catchesInterrupts(const PeerProcess& process)
    {
        std::ifstream status("/proc/" + std::to_string(process.id()) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("SigCgt:"))
                return (std::stoull(line.substr(7), nullptr, 16) & (1U << (SIGINT - 1))) != 0;
        return false;
    }
};

TEST_F(SendCommandTest, PrintsTheResult)
{
    listen("echo-1.0", {"--reply", "hello"});
    const CommandResult result = run({"send", "echo-1.0", "1+1;", "--wait", "20"});
    EXPECT_EQ(result.out, "hello\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.code, 0);
}

TEST_F(SendCommandTest, PrintsAResultThatWasRequestedWithoutAWait)
{
    listen("echo-1.0", {"--reply", "hello"});
    EXPECT_EQ(run({"send", "echo-1.0", "1+1;", "--request", "Result"}).out, "hello\n");
}

TEST_F(SendCommandTest, PrintsAnEmptyResultAsAnEmptyLine)
{
    listen("echo-1.0");
    const CommandResult result = run({"send", "echo-1.0", "1+1;", "--wait", "20"});
    EXPECT_EQ(result.out, "\n");
    EXPECT_EQ(result.code, 0);
}

TEST_F(SendCommandTest, PrintsNothingForAMessageThatAsksForNothing)
{
    PeerProcess& echo = listen("echo-1.0", {"--reply", "hello"});
    const CommandResult result = run({"send", "echo-1.0", "1+1;"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(echo.line(), HasSubstr("1+1;"));
}

TEST_F(SendCommandTest, EndsWithThreeForATargetThatIsNotThere)
{
    const CommandResult result = run({"send", "nobody-1.0", "1+1;"});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("nobody-1.0"));
}

TEST_F(SendCommandTest, EndsWithThreeForATargetThatCannotBeStarted)
{
    const CommandResult result = run({"send", "nobody-1.0", "1+1;", "--launch", "--wait", "5"});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("cannot be started"));
}

TEST_F(SendCommandTest, EndsWithOneForAnErrorAnswer)
{
    listen("echo-1.0", {"--error", "7", "--reply", "no such picture"});
    const CommandResult result = run({"send", "echo-1.0", "1+1;", "--wait", "20"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("no such picture"));
}

TEST_F(SendCommandTest, EndsWithOneWhenNoAnswerCame)
{
    const PeerProcess& echo = listen("echo-1.0");
    ::kill(echo.id(), SIGSTOP);
    const CommandResult result = run({"send", "echo-1.0", "1+1;", "--wait", "1"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("no answer"));
}

TEST_F(SendCommandTest, SaysThatAHolderTakesNoMessages)
{
    const FullPort silent(folder.path("ports"), "silent-1.0");
    const auto start = std::chrono::steady_clock::now();
    const CommandResult result = run({"send", "silent-1.0", "text"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("'silent-1.0' runs and does not take messages"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(18));
}

TEST_F(SendCommandTest, EndsAtOnceWhenItIsInterruptedWhileItWaitsForRoom)
{
    const FullPort silent(folder.path("ports"), "silent-1.0");
    const FullPort thread(folder.path("ports"), "silent-1.0#thread");
    for (const std::vector<std::string>& words :
        std::vector<std::vector<std::string>>{{"send", "silent-1.0", "text"},
            {"send", "silent-1.0", "text", "--launch", "--wait", "60"},
            {"ping", "silent-1.0", "--timeout", "60"}}) {
        std::vector<std::string> line = words;
        line.insert(line.begin(), TEVOROTALK);
        PeerProcess sender(line);
        while (!catchesInterrupts(sender) || !holdsItsName(sender))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        // Behind the send, most of the time; before it, it is the same.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(sender.interrupt(), 130) << words[0];
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << words[0];
    }
}

TEST_F(SendCommandTest, ReadsTheBodyFromStandardInput)
{
    PeerProcess& echo = listen("echo-1.0", {"--json"});
    EXPECT_EQ(run({"send", "echo-1.0", "-"}, "line one\nline two").code, 0);
    EXPECT_EQ(Json::parse(echo.line())["body"], "line one\nline two\n");
}

TEST_F(SendCommandTest, SendsNothingWhenItIsInterruptedWhileItReads)
{
    PeerProcess& echo = listen("echo-1.0");
    PeerProcess sender({TEVOROTALK, "send", "echo-1.0", "-"});
    sender.tell("half");
    while (!catchesInterrupts(sender))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ::kill(sender.id(), SIGINT);
    EXPECT_EQ(sender.finish(), 130);
    run({"send", "echo-1.0", "whole"});
    EXPECT_THAT(echo.line(), HasSubstr("whole"));
}

TEST_F(SendCommandTest, SaysThatStandardInputCannotBeRead)
{
    listen("echo-1.0");
    PeerProcess shell({"/bin/sh", "-c", TEVOROTALK " send echo-1.0 - </"});
    EXPECT_EQ(shell.finish(), 4);
}

TEST_F(SendCommandTest, SendsTypeHeadersAndRequest)
{
    PeerProcess& echo = listen("echo-1.0", {"--json", "--type", "Picture"});
    EXPECT_EQ(run({"send",
                      "echo-1.0",
                      "x",
                      "--type",
                      "Picture",
                      "--header",
                      "Album=a=b",
                      "--header",
                      "Timeout=mine",
                      "--request",
                      "Received Timeout"})
                  .code,
        0);
    const Json message = Json::parse(echo.line());
    EXPECT_EQ(message["type"], "Picture");
    EXPECT_EQ(message["headers"]["Album"], "a=b");
    EXPECT_EQ(message["headers"]["Timeout"], "mine");
    EXPECT_EQ(message["request"], "Received Timeout Processed");
}

TEST_F(SendCommandTest, HoldsTheNameThatItSendsUnder)
{
    PeerProcess& echo = listen("echo-1.0", {"--json", "--reply", "hello"});
    EXPECT_EQ(run({"send", "echo-1.0", "x", "--as", "asker-2.0", "--wait", "20"}).out, "hello\n");
    EXPECT_EQ(Json::parse(echo.line())["sender"], "asker-2.0");
}

TEST_F(SendCommandTest, PrintsTheAnswersAsObjects)
{
    listen("echo-1.0", {"--reply", "hello"});
    const std::vector<Json> answers =
        run({"send", "echo-1.0", "x", "--request", "Received", "--wait", "20", "--json"}).objects();
    ASSERT_EQ(answers.size(), 2u);
    EXPECT_EQ(answers[0]["type"], "Received");
    EXPECT_EQ(answers[0]["reason"], 2);
    EXPECT_EQ(answers[1]["type"], "Result");
    EXPECT_EQ(answers[1]["reason"], 3);
    EXPECT_EQ(answers[1]["body"], "hello");
    EXPECT_EQ(answers[1]["serial"], answers[0]["serial"]);
}

TEST_F(SendCommandTest, SaysAtOnceThatTheTargetHasNoHandlerForTheType)
{
    listen("echo-1.0", {"--reply", "hello", "--type", "Picture"});
    const auto begin = std::chrono::steady_clock::now();
    const CommandResult result = run({"send", "echo-1.0", "x", "--type", "Movie", "--wait", "60"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("'echo-1.0' has no handler for messages of the type Movie"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST_F(SendCommandTest, GivesTheMessageTheWholeOfTheWait)
{
    PeerProcess& echo = listen("echo-1.0", {"--json", "--reply", "hello"});
    EXPECT_EQ(run({"send", "echo-1.0", "x", "--wait", "20"}).code, 0);
    EXPECT_EQ(Json::parse(echo.line())["timeout"], 21);
}

TEST_F(SendCommandTest, TakesOneWordForTheType)
{
    PeerProcess& echo = listen("echo-1.0", {"--json", "--type", "Picture"});
    EXPECT_EQ(run({"send", "-T", "Picture", "echo-1.0", "the text"}).code, 0);
    const Json message = Json::parse(echo.line());
    EXPECT_EQ(message["type"], "Picture");
    EXPECT_EQ(message["body"], "the text");
}

TEST_F(SendCommandTest, RefusesATextWithANul)
{
    listen("echo-1.0");
    const CommandResult result = run({"send", "echo-1.0", "-"}, std::string("a\0b", 3));
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, HasSubstr("NUL"));
}

TEST_F(SendCommandTest, RefusesAMessageThatWouldNotGoOut)
{
    listen("echo-1.0");
    EXPECT_EQ(run({"send", "echo-1.0", ""}).code, 2);
    EXPECT_EQ(run({"send", "", "x"}).code, 2);
    EXPECT_EQ(run({"send", "echo-1.0", "x", "--header", "NoValue"}).code, 2);
    EXPECT_EQ(run({"send", "echo-1.0", "x", "--header", "a:b=c"}).code, 2);
    EXPECT_EQ(run({"send", "echo-1.0", "x", "--type", "a\nFoo: 1"}).code, 2);
    EXPECT_EQ(run({"send", "echo-1.0", "x", "--request", "Result\nFoo: 1"}).code, 2);
    EXPECT_EQ(run({"send", "echo-1.0", "x", "--as", "asker-1.0\nFoo: 1"}).code, 2);
}

TEST_F(SendCommandTest, RejectsAMessageWithTheDigestOfAnother)
{
    listen("echo-1.0", {"--reply", "hello"});
    environment.set("HOME", folder.path("other"));
    std::filesystem::create_directory(folder.path("other"));
    // The answer carries the digest of the other side, and is rejected likewise.
    const CommandResult result = run({"send", "echo-1.0", "x", "--wait", "2"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.code, 1);
}

// Whoever reads another salt rejects the message, and its answer is rejected as well.
TEST_F(SendCommandTest, SaysWhyAMessageIsRejectedByOneWithAnotherSalt)
{
    folder.write("others/.velmo/md5", "S");
    environment.set("HOME", folder.path("others"));
    listen("echo-1.0", {"--reply", "hello"});
    environment.set("HOME", folder.path("home"));
    const CommandResult result = run({"send", "echo-1.0", "1+1;", "--wait", "20"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("MESSAGE REJECTED (error 53)"));
    EXPECT_THAT(result.err, HasSubstr(".velmo/md5"));
}

TEST_F(SendCommandTest, IsUnderstoodSoonAfterTheHomeCanBeWritten)
{
    environment.set("HOME", folder.path("later"));
    PeerProcess& echo = listen("echo-1.0", {"--reply", "hello"});
    EXPECT_THAT(greeting(), HasSubstr(folder.path("later/.velmo/md5") + " cannot be written"));
    const CommandResult rejected = run({"send", "echo-1.0", "1+1;", "--wait", "20"});
    EXPECT_EQ(rejected.code, 1);
    EXPECT_THAT(rejected.err, HasSubstr("cannot be written"));
    EXPECT_THAT(run({"info", "echo-1.0"}).out, HasSubstr("Salt = of this process alone"));
    std::filesystem::create_directory(folder.path("later"));
    const auto begin = std::chrono::steady_clock::now();
    while (run({"send", "echo-1.0", "1+1;", "--wait", "20"}).out != "hello\n")
        ASSERT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_THAT(run({"info", "echo-1.0"}).out, testing::Not(HasSubstr("Salt")));
    EXPECT_EQ(echo.interrupt(), 130);
}

TEST_F(SendCommandTest, RefusesAnEndlessText)
{
    listen("echo-1.0");
    PeerProcess shell({"/bin/sh", "-c", TEVOROTALK " send echo-1.0 - </dev/zero"});
    EXPECT_TRUE(shell.saysSomething(std::chrono::seconds(60))); // or has ended
    EXPECT_EQ(shell.finish(), 2);
}

} // namespace
} // namespace test
