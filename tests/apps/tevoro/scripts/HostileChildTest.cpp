// A program in the place of tevoro-scripts that does what a script with a way out of its engine
// would make of it.
#include "apps/tevoro/scripts/ScriptFixture.h"
#include "support/TestFolder.h"
#include "tevoro/scripts/ChildExit.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <filesystem>

#include <sys/stat.h>

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HostileChildTest : public testing::Test {
protected:
    static constexpr ScriptLimits kLimits{.time = 3s, .grace = 2s, .all = 30s};

    QString program(const std::string& commands) const
    {
        const std::string path = folder.write("child", "#!/bin/sh\n" + commands);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return QString::fromStdString(path);
    }
    // Gets ready as the real one does, reads the script, and then says that.
    ScriptOutcome runSaying(const std::string& commands)
    {
        ScriptRunner runner(
            program("echo '{\"ready\":\"\"}'\nread -r script\n" + commands), kLimits);
        return runner.run(QStringLiteral("1"), target);
    }
    ScriptOutcome runEchoing(const std::string& line)
    {
        return runSaying("cat <<'END'\n" + line + "\nEND\nexec sleep 60\n");
    }

    TestFolder folder;
    RecordingTarget target;
};

TEST_F(HostileChildTest, IsBelievedWhereItKeepsToTheRules)
{
    EXPECT_THAT(runEchoing(R"({"result":"fine"})"), IsResult("fine"));
    EXPECT_THAT(runEchoing(R"({"error":"bad","line":3})"), IsErrorInLine("bad", 3));
    EXPECT_THAT(runSaying("echo '{\"call\":\"browseTo\",\"arguments\":[\"/a\"]}'\nread -r answer\n"
                          "echo '{\"result\":\"ok\"}'\n"),
        IsResult("ok"));
    EXPECT_THAT(target.calls, ElementsAre(u"browseTo /a"));
}

TEST_F(HostileChildTest, IsNotBelievedWhenItSaysRubbish)
{
    for (const char* const line : {"",
             "hello",
             "{",
             "[]",
             "null",
             "{}",
             R"({"ready":1})",
             R"({"result":1})",
             R"({"result":"a","more":1})",
             R"({"error":"a"})",
             R"({"error":"a","line":-1})",
             R"({"error":"a","line":1.5})",
             R"({"error":"a","line":1e99})",
             R"({"error":"a","line":"1"})",
             R"({"call":"beep"})",
             R"({"call":"beep","arguments":{}})",
             R"({"call":1,"arguments":[]})",
             R"({"call":"browseTo","arguments":["/a","/b"]})",
             R"({"call":"browseTo","arguments":[["/a"]]})",
             R"({"result":"\ud800"})",
             "{\"result\":\"a\"}{\"result\":\"b\"}"})
        EXPECT_THAT(runEchoing(line), IsError("said what it may not")) << line;
    EXPECT_THAT(target.calls, IsEmpty());
}

TEST_F(HostileChildTest, MakesNoCallThatScriptsDoNotMake)
{
    target.documents = 1;
    for (const char* const line : {R"({"call":"quit","arguments":[]})",
             R"({"call":"","arguments":[]})",
             R"({"call":"beep","arguments":["x"]})",
             R"({"call":"browseTo","arguments":[]})",
             R"({"call":"BrowseTo","arguments":["/a"]})",
             R"({"ready":""})"})
        EXPECT_THAT(runEchoing(line), IsError("asked what it may not")) << line;
    EXPECT_THAT(target.calls, IsEmpty());
}

TEST_F(HostileChildTest, IsRefusedFoldersThatAreNone)
{
    target.documents = 1;
    for (const std::string call : {"browseTo", "showFolder"})
        for (const std::string path : {"", "a", "../..", "/a\\u0000b"})
            EXPECT_THAT(runSaying("cat <<'END'\n{\"call\":\"" + call + "\",\"arguments\":[\"" + path
                            + "\"]}\nEND\nread -r answer\ncase $answer in *error*) echo "
                              "'{\"result\":\"refused\"}';; esac\n"),
                IsResult("refused"))
                << call << path;
    EXPECT_THAT(target.calls, IsEmpty());
}

TEST_F(HostileChildTest, IsEndedWhenItFloodsTheBrowserWithCalls)
{
    EXPECT_THAT(
        runSaying("exec yes '{\"call\":\"beep\",\"arguments\":[]}'\n"), IsError("too often"));
    EXPECT_EQ(target.calls.size(), tevoro::kMaxCalls + 1);
}

TEST_F(HostileChildTest, IsEndedWhenALineHasNoEnd)
{
    EXPECT_THAT(runSaying("exec cat /dev/zero\n"), IsError("says too much"));
}

TEST_F(HostileChildTest, IsEndedWhenItSaysNothing)
{
    EXPECT_THAT(runSaying("exec sleep 60\n"), IsError("could not be interrupted"));
}

TEST_F(HostileChildTest, IsToldOfWhenItEnds)
{
    EXPECT_THAT(runSaying("exit 9\n"), IsError("ended with code 9"));
    EXPECT_THAT(runSaying("kill -SEGV $$\n"), IsError("killed or crashed"));
    EXPECT_THAT(runSaying("printf '{\"result\":\"half'\n"), IsError("ended with code 0"));
}

TEST_F(HostileChildTest, CannotAnswerTheNextScript)
{
    ScriptRunner runner(
        program("echo '{\"ready\":\"\"}'\nread -r script\n"
                "printf '{\"result\":\"mine\"}\\n{\"result\":\"forged\"}\\n'\nexec sleep 60\n"),
        kLimits);
    const qint64 first = runner.processId();
    EXPECT_THAT(runner.run(QStringLiteral("1"), target), IsResult("mine"));
    const qint64 second = runner.processId();
    EXPECT_NE(second, first);
    EXPECT_THAT(runner.run(QStringLiteral("1"), target), IsResult("mine"));
}

TEST_F(HostileChildTest, IsEndedWhenItSpeaksBetweenScripts)
{
    ScriptRunner runner(
        program(
            "echo '{\"ready\":\"\"}'\nread -r script\necho '{\"result\":\"mine\"}'\nread -r wait <"
            + folder.path("go") + "\nexec yes\n"),
        kLimits);
    ASSERT_EQ(::mkfifo(folder.path("go").c_str(), 0600), 0);
    EXPECT_THAT(runner.run(QStringLiteral("1"), target), IsResult("mine"));
    const qint64 child = runner.processId();
    std::ofstream(folder.path("go")) << "go\n";
    EXPECT_TRUE(waitUntil([&] {
        QCoreApplication::processEvents();
        return !Pt::isProcessRunning(static_cast<unsigned long>(child));
    }));
    std::thread opener([&] { std::ofstream(folder.path("go")); }); // of the next one
    EXPECT_THAT(runner.run(QStringLiteral("1"), target), IsResult("mine"));
    opener.join();
}

TEST_F(HostileChildTest, IsEndedWhenItSpeaksAtLengthBeforeTheFirstScript)
{
    ScriptRunner runner(program("exec yes\n"), kLimits);
    const auto child = static_cast<unsigned long>(runner.processId());
    EXPECT_TRUE(waitUntil([&] {
        QCoreApplication::processEvents();
        return !Pt::isProcessRunning(child);
    }));
    EXPECT_THAT(runner.run(QStringLiteral("1"), target), IsError("said what it may not"));
}

TEST_F(HostileChildTest, CostsAnErrorWhereItCannotBeStarted)
{
    ScriptRunner none(QString::fromStdString(folder.path("none")), kLimits);
    EXPECT_THAT(none.run(QStringLiteral("1"), target), IsError("cannot be started"));
    ScriptRunner ends(program("exit 3\n"), kLimits);
    EXPECT_THAT(ends.run(QStringLiteral("1"), target), IsError("ended with code 3"));
}

TEST_F(HostileChildTest, CostsTheWholeTimeAtMostWhereItDoesNotGetReady)
{
    ScriptRunner runner(program("exec sleep 60\n"), {.time = 1s, .grace = 1s, .all = 1500ms});
    QElapsedTimer clock;
    clock.start();
    EXPECT_THAT(runner.run(QStringLiteral("1"), target), IsError("does not get ready"));
    EXPECT_GE(clock.elapsed(), 1400);
    EXPECT_LT(clock.elapsed(), 20'000);
}

QStringList gWarnings;

void keepWarning(QtMsgType, const QMessageLogContext&, const QString& text)
{
    gWarnings += text;
}

TEST_F(HostileChildTest, TellsTheLogOnceThatItHasNoFilter)
{
    gWarnings.clear();
    const auto before = qInstallMessageHandler(keepWarning);
    ScriptRunner runner(program("echo '{\"ready\":\"not in here\"}'\nread -r script\n"
                                "echo '{\"result\":\"fine\"}'\n"),
        kLimits);
    for (int i = 0; i < 3; ++i) // each by a process of its own
        EXPECT_THAT(runner.run(QStringLiteral("1"), target), IsResult("fine"));
    qInstallMessageHandler(before);
    EXPECT_THAT(gWarnings, ElementsAre(testing::Truly([](const QString& text) {
        return text.contains(QStringLiteral("without a filter of system calls"))
            && text.contains(QStringLiteral("not in here"));
    })));
}

TEST_F(HostileChildTest, SeesNothingOfTheUsersEnvironment)
{
    ::setenv("SCRIPT_TEST_SECRET", "secret", 1);
    EXPECT_THAT(
        runSaying("printf '{\"result\":\"%s\"}\\n' \"$SCRIPT_TEST_SECRET$HOME\"\n"), IsResult(""));
    ::unsetenv("SCRIPT_TEST_SECRET");
}

} // namespace
} // namespace test
