#include "messaging/process/Launcher.h"

#include "core/messaging/support/LaunchFixture.h"

#include <sys/wait.h>
#include <unistd.h>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalkUtils::Launcher;
using testing::ElementsAre;
using testing::IsEmpty;

class LauncherTest : public test::LaunchFixture {
protected:
    ~LauncherTest() override
    {
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), -1) << "a child was left";
    }

    struct Outcome {
        bool result;
        unsigned long pid;
    };

    static Outcome launch(const std::string& path, const char* parameters = nullptr)
    {
        const SoString text = parameters;
        unsigned long pid = 99;
        const bool result = Launcher::launch("launched_3-2.0-en_us",
            path.c_str(),
            parameters != nullptr ? &text : nullptr,
            Launcher::kTakeFocus,
            &pid);
        return {result, pid};
    }

    // What opens web addresses writes them to this file.
    void makeOpener()
    {
        folder.write("bin/xdg-open", "#!/bin/sh\necho \"$@\" > " + folder.path("opened") + "\n");
        std::filesystem::permissions(
            folder.path("bin/xdg-open"), std::filesystem::perms::owner_all);
        environment.set("PATH", folder.path("bin"));
    }
    std::string opened() const
    {
        EXPECT_TRUE(waitUntil([&] { return !test::read(folder.path("opened")).empty(); }));
        return test::read(folder.path("opened"));
    }
};

TEST_F(LauncherTest, NeedsAPath)
{
    const Outcome outcome = launch("");
    EXPECT_FALSE(outcome.result);
    EXPECT_EQ(outcome.pid, 0U);
}

TEST_F(LauncherTest, StartsTheProgram)
{
    const Outcome outcome = launch(LAUNCHED_APPLICATION);
    EXPECT_TRUE(outcome.result);
    EXPECT_TRUE(isUp());
    EXPECT_THAT(copies(), ElementsAre(outcome.pid));
    EXPECT_TRUE(Launcher::isProcessRunning(outcome.pid));
    EXPECT_THAT(reports(), ElementsAre("launched-2.0\n\n"));
}

TEST_F(LauncherTest, LeavesAMessageForAnyCopyAndOneForTheProcess)
{
    start();
    const Paused paused;
    environment.set("LAUNCHED_MODE", "silent");
    const std::uint32_t first = Context::getCurrentContext()->nextSerialNumber();
    const Outcome outcome = launch(LAUNCHED_APPLICATION, "-specifier launched");
    EXPECT_THAT(queued(*self, "out", "Target"),
        ElementsAre("launched-2.0-en_us#launchparams",
            "launched_3-2.0-en_us",
            "launched#" + std::to_string(outcome.pid)));
    EXPECT_THAT(
        queued(*self, "out", "Type"), ElementsAre("LaunchParams", "Quillscriber", "LaunchParams"));
    EXPECT_THAT(queued(*self, "out", "Serial-Number"),
        ElementsAre(std::to_string(first), std::to_string(first + 2), std::to_string(first + 1)))
        << "numbered in the order in which they are made";
    EXPECT_THAT(queued(*self, "out", "Sender"), ElementsAre("self-1.0", "self-1.0", "self-1.0"));
    for (const std::uint32_t number : {first + 1, first + 2})
        for (const char* type : {"Timeout", "Received"})
            EXPECT_NE(self->findHandler(type, number), nullptr) << type;
    EXPECT_EQ(self->findHandler("Timeout", first), nullptr);
    EXPECT_FALSE(isFree("launched-2.0-en_us#haslaunchparams"));
}

TEST_F(LauncherTest, WritesTheParametersIntoEachMessageAndGivesItFiveMinutes)
{
    start();
    const Paused paused;
    environment.set("LAUNCHED_MODE", "silent");
    const std::int64_t before = now();
    launch(LAUNCHED_APPLICATION, "-specifier launched");
    const std::int64_t after = now();
    const std::string script = "// LAUNCHPARAMS:self-1.0\n// -specifier launched\n";
    EXPECT_THAT(queued(*self, "out", "Text"),
        ElementsAre("-specifier launched", "// LAUNCHPARAMS:self-1.0", "-specifier launched"))
        << "the first line of each";
    EXPECT_THAT(queued(*self, "out", "Body"),
        ElementsAre("19 bytes", std::to_string(script.size()) + " bytes", "19 bytes"));
    EXPECT_THAT(queued(*self, "out", "Response-Request"),
        ElementsAre("undefined", "Received", "undefined"));
    std::vector<std::string> ends;
    for (std::int64_t end = before + 300; end <= after + 300; ++end)
        ends.push_back(test::bytes(ScObjects::TevoroTalkUtils::getTimeString(&end)));
    EXPECT_THAT(queued(*self, "out", "Timeout"),
        testing::AllOf(testing::SizeIs(3), testing::Each(testing::AnyOfArray(ends))));
}

TEST_F(LauncherTest, LeavesNothingWithoutParameters)
{
    start();
    const Paused paused;
    EXPECT_TRUE(launch(LAUNCHED_APPLICATION).result);
    EXPECT_THAT(queued(*self, "out", "Target"), IsEmpty());
    EXPECT_TRUE(isFree("launched-2.0-en_us#haslaunchparams"));
}

TEST_F(LauncherTest, RefusesAPathThatLeadsNowhere)
{
    start();
    const Paused paused;
    const Outcome outcome = launch(folder.path("gone"), "-specifier launched");
    EXPECT_FALSE(outcome.result);
    EXPECT_EQ(outcome.pid, 0U);
    EXPECT_THAT(queued(*self, "out", "Type"), ElementsAre("LaunchParams", "Quillscriber"))
        << "the one for the process is dropped";
}

TEST_F(LauncherTest, CountsWhatCannotBeStartedAsStarted)
{
    start();
    const Paused paused;
    for (const std::string& path : {folder.path(), folder.write("text", "no program")}) {
        const Outcome outcome = launch(path, "-specifier launched");
        EXPECT_TRUE(outcome.result) << path;
        EXPECT_EQ(outcome.pid, 0U) << path;
    }
    EXPECT_THAT(queued(*self, "out", "Type"),
        ElementsAre("LaunchParams", "Quillscriber", "LaunchParams", "Quillscriber"));
}

TEST_F(LauncherTest, OpensAnAddressInTheWebWithTheNameOfTheSender)
{
    start();
    const Paused paused;
    makeOpener();
    const Outcome outcome = launch("https://example.org/a b;$(x)", "ignored");
    EXPECT_TRUE(outcome.result);
    EXPECT_EQ(outcome.pid, 0U);
    EXPECT_EQ(opened(), "https://example.org/a b;$(x)?sender=self-1.0\n");
    EXPECT_THAT(queued(*self, "out", "Target"), IsEmpty());
}

TEST_F(LauncherTest, CannotOpenAnAddressWithoutAnOpener)
{
    environment.set("PATH", folder.path("empty"));
    EXPECT_FALSE(launch("https://example.org").result);
    // Nothing but that scheme is an address.
    EXPECT_FALSE(launch("http://example.org").result);
}

// A child that has this process id, where the system lets a test choose it; else -1.
pid_t childWithId(unsigned long id)
{
    constexpr int kAttempts = 100; // others take ids as well
    for (int i = 0; i < kAttempts; ++i) {
        if (!(std::ofstream("/proc/sys/kernel/ns_last_pid") << id - 1 << std::flush))
            return -1;
        const pid_t child = ::fork();
        if (child == 0)
            for (;;)
                ::pause();
        if (child == static_cast<pid_t>(id))
            return child;
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    return -1;
}

TEST_F(LauncherTest, DoesNotTakeALaterProcessForItsOwn)
{
    environment.set("LAUNCHED_MODE", "dies");
    const unsigned long dead = launch(LAUNCHED_APPLICATION).pid;
    EXPECT_TRUE(waitUntil([&] { return Pt::processStartTime(dead) == 0; }));
    EXPECT_FALSE(Launcher::isProcessRunning(dead));
    const pid_t later = childWithId(dead);
    if (later == -1)
        GTEST_SKIP() << "only root may choose the id of the next process";
    EXPECT_TRUE(Pt::isProcessRunning(dead));
    EXPECT_FALSE(Launcher::isProcessRunning(dead));
    ::kill(later, SIGKILL);
    ::waitpid(later, nullptr, 0);
}

TEST_F(LauncherTest, KnowsOtherProcessesByTheirIdAlone)
{
    EXPECT_FALSE(Launcher::isProcessRunning(0));
    EXPECT_TRUE(Launcher::isProcessRunning(static_cast<unsigned long>(::getpid())));
}

TEST_F(LauncherTest, BringsToTheFrontOnlyByThePath)
{
    // Nothing is to be seen of it here; it returns, whatever is asked for.
    Launcher::bringToFront("/nowhere", Launcher::kByBundlePath);
    Launcher::bringToFront(LAUNCHED_APPLICATION, static_cast<Launcher::SearchHint>(1));
    EXPECT_THAT(copies(), IsEmpty());
}

} // namespace
