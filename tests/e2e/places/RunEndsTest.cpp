// How a run ends before its time: by signals, limits, and nobody who listens. No byte of what is
// told ever lands in a picture.

#include "e2e/support/MountFixture.h"

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace e2e {

class RunEndsTest : public PlaceTest {
protected:
    void arrange() override
    {
        addPictures(60, 5'000);
        m_originals = filesIn(pictures());
    }

    std::vector<std::string> words(bool isJson = true) const
    {
        std::vector<std::string> all =
            wordsFor(card(), target(), {"--backup", backup(), "--delete-originals", "--yes"});
        if (!isJson)
            all.erase(std::find(all.begin(), all.end(), "--json"));
        return all;
    }
    RunResult saveWith(const std::function<void()>& inChild, bool isJson = true)
    {
        LiveSettings settings = live();
        settings.inChild = inChild;
        LiveRun run(words(isJson), settings);
        return run.finish();
    }
    RunResult signalled(int number, const std::function<void()>& inChild = {})
    {
        LiveSettings settings = live();
        settings.inChild = inChild;
        LiveRun run(words(), settings);
        EXPECT_TRUE(run.waitForLine("\"event\":\"item\""));
        run.signal(number);
        return run.finish();
    }

    void expectWholePictures()
    {
        for (const fs::path& folder : {target(), backup()})
            for (const auto& [name, bytes] : filesIn(folder))
                EXPECT_TRUE(bytes == m_originals[name]) << folder << name << bytes.size();
    }
    void expectEndedUnheard(const RunResult& result)
    {
        EXPECT_EQ(result.code, 4) << result.err;
        EXPECT_NE(result.err.find("standard output"), std::string::npos) << result.err;
        EXPECT_LT(filesIn(target()).size(), 60U) << "it went on though nobody heard";
        expectWholePictures();
        expectPromiseKept(result);
        expectNoLeftovers();
    }

    std::map<std::string, std::string> m_originals;
};

TEST_F(RunEndsTest, EndsWhenItsTerminalGoes)
{
    for (const int number : {SIGHUP, SIGTERM, SIGINT}) {
        const RunResult result = signalled(number);
        EXPECT_EQ(result.code, 130) << number << told(result);
        EXPECT_EQ(result.summary()["interrupted"], true);
        expectCardKept(result);
        expectNoLeftovers();
        fs::remove_all(target());
        fs::remove_all(backup());
    }
}

TEST_F(RunEndsTest, GoesOnWithoutATerminalWhereItWasToldSo)
{
    const RunResult result = signalled(SIGHUP, [] { std::signal(SIGHUP, SIG_IGN); });
    EXPECT_EQ(result.code, 0) << told(result);
    EXPECT_EQ(result.summary()["saved"], 60);
    expectPromiseKept(result, 2);
}

TEST_F(RunEndsTest, FailsOnlyTheFileThatIsLargerThanItMayWrite)
{
    addPicture("LARGE.JPG", std::string(3'000'000, 'l'));
    const RunResult result = saveWith([] {
        const rlimit limit{1'000'000, 1'000'000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(result.code, 1) << told(result);
    EXPECT_EQ(result.item("LARGE.JPG")["status"], "failed");
    EXPECT_NE(result.item("LARGE.JPG")["error"].dump().find("File too large"), std::string::npos)
        << result.item("LARGE.JPG");
    EXPECT_EQ(result.summary()["saved"], 60);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
    EXPECT_TRUE(fs::exists(pictures() / "LARGE.JPG"));
    expectPromiseKept(result);
}

TEST_F(RunEndsTest, EndsWhenItsOutputIsClosed)
{
    expectEndedUnheard(saveWith([] { ::close(STDOUT_FILENO); }));
}

TEST_F(RunEndsTest, EndsWhenItsOutputAsTextIsClosed)
{
    expectEndedUnheard(saveWith([] { ::close(STDOUT_FILENO); }, false));
}

TEST_F(RunEndsTest, DeletesNothingWhereNobodyHearsOfIt)
{
    const RunResult result = saveWith([] { ::close(STDOUT_FILENO); });
    EXPECT_EQ(filesIn(pictures()).size(), 60U) << result.err;
}

TEST_F(RunEndsTest, EndsWhenItsOutputIsFull)
{
    const RunResult result =
        saveWith([] { ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); });
    expectEndedUnheard(result);
}

TEST_F(RunEndsTest, EndsWhenNobodyReadsItsOutput)
{
    LiveRun run(words(), live());
    EXPECT_TRUE(run.waitForLine("\"event\":\"item\""));
    run.stopListening();
    const RunResult result = run.finish();
    expectEndedUnheard(result);
}

TEST_F(RunEndsTest, WritesNothingIntoPicturesWhereNoStreamIsOpen)
{
    const RunResult result = saveWith([] {
        for (const int stream : {0, 1, 2})
            ::close(stream);
    });
    EXPECT_EQ(result.code, 4);
    expectWholePictures();
    expectPromiseKept(result);
    expectNoLeftovers();
}

TEST_F(RunEndsTest, WritesNothingIntoPicturesWhereMessagesAreNotHeard)
{
    fs::permissions(pictures() / "IMG_100.JPG", fs::perms::none);
    write(target(), "a file, so that there is something to complain about");
    saveWith([] { ::close(STDERR_FILENO); });
    fs::remove(target());
    const RunResult result = saveWith([] { ::close(STDERR_FILENO); });
    EXPECT_EQ(result.code, 0);
    expectPromiseKept(result, 2);
}

// The question is one more place to stand when the terminal goes.
TEST_F(RunEndsTest, DeletesNothingWhenTheTerminalGoesAtTheQuestion)
{
    for (const int number : {SIGHUP, SIGTERM, SIGINT}) {
        std::vector<std::string> all = words();
        all.erase(std::find(all.begin(), all.end(), "--yes"));
        LiveRun run(all, live(true));
        ASSERT_TRUE(run.waitForQuestion());
        run.signal(number);
        const RunResult result = run.finish();
        EXPECT_EQ(result.code, 130) << number << told(result);
        expectCardKept(result);
        fs::remove_all(target());
        fs::remove_all(backup());
    }
}

} // namespace e2e
