// Places with an oddity that is no reason to fail, and the reasons that people are told.

#include "e2e/support/MountFixture.h"

#include <sys/resource.h>

namespace e2e {

class ReasonTest : public PlaceTest {
protected:
    void arrange() override
    {
        addTwoPictures();
        makePlaces();
        fs::create_directories(real());
    }

    fs::path real() const { return data() / "real"; } // what a view shows

    void expectAllDeleted(const RunResult& result, std::size_t wanted)
    {
        EXPECT_EQ(result.code, 0) << told(result);
        EXPECT_EQ(result.summary()["deleted"], 2) << told(result);
        EXPECT_TRUE(filesIn(card()).empty());
        expectPromiseKept(result, wanted);
        expectNoLeftovers();
    }
    void expectLetterNamed(const RunResult& result, const std::string& letter)
    {
        EXPECT_NE(result.code, 0) << told(result);
        const std::string said = result.out + result.err;
        EXPECT_NE(said.find(letter), std::string::npos) << told(result);
        EXPECT_NE(
            result.item("C" + letter + "D.JPG")["error"].dump().find(letter), std::string::npos)
            << told(result);
    }
};

TEST_F(ReasonTest, SavesIntoAForgetfulTarget)
{
    const test::OddMount odd("forgetful", view("odd"), {real()});
    expectAllDeleted(saveAndDelete(odd.at()), 1);
}

TEST_F(ReasonTest, BacksUpIntoAForgetfulFolder)
{
    const test::OddMount odd("forgetful", view("odd"), {real()});
    expectAllDeleted(saveAndDelete(target(), {"--backup", odd.at()}), 2);
}

TEST_F(ReasonTest, SavesFromAForgetfulCard)
{
    const test::OddMount odd("forgetful", view("odd"), {card()});
    expectAllDeleted(saveFrom(odd.at(), target(), {"--delete-originals", "--yes"}), 1);
}

TEST_F(ReasonTest, SavesWhereEverythingIsForgetful)
{
    for (const char* place : {"one", "two"})
        fs::create_directories(real() / place);
    const test::OddMount from("forgetful", view("from"), {card()});
    const test::OddMount to("forgetful", view("to"), {real() / "one"}, {"norename2=yes"});
    const test::OddMount also("forgetful", view("also"), {real() / "two"}, {"nolink=yes"});
    expectAllDeleted(
        saveFrom(from.at(), to.at(), {"--backup", also.at(), "--delete-originals", "--yes"}), 2);
}

TEST_F(ReasonTest, SavesWhereNoTimeOfChangeIsTold)
{
    for (const char* place : {"one", "two"})
        fs::create_directories(real() / place);
    const test::OddMount to("mirror", view("to"), {real() / "one"}, {"times=zero"});
    const test::OddMount also("mirror", view("also"), {real() / "two"}, {"times=zero"});
    expectAllDeleted(saveAndDelete(to.at(), {"--backup", also.at()}), 2);
}

TEST_F(ReasonTest, DeletesLinkedOriginalsOneByOne)
{
    fs::create_hard_link(pictures() / "A.JPG", pictures() / "A2.JPG");
    fs::create_directories(card() / "DCIM/101MFX");
    fs::create_hard_link(pictures() / "A.JPG", card() / "DCIM/101MFX/A3.JPG");
    const RunResult result = saveAndDelete(target());
    EXPECT_EQ(result.code, 0) << told(result);
    EXPECT_EQ(result.summary()["deleted"], 4) << told(result);
    EXPECT_EQ(filesIn(target()).size(), 4U);
    EXPECT_TRUE(filesIn(card()).empty());
    expectPromiseKept(result);
}

TEST_F(ReasonTest, NamesTheLetterThatATargetDoesNotTake)
{
    addPicture("C:D.JPG", "photo c");
    for (const char* lookup : {"lookup=yes", "lookup=no"}) {
        const test::OddMount odd("letters", view("odd"), {real()}, {lookup});
        SCOPED_TRACE(lookup);
        const RunResult result = saveAndDelete(odd.at());
        expectLetterNamed(result, ":");
        EXPECT_TRUE(fs::exists(pictures() / "C:D.JPG"));
        expectPromiseKept(result);
        fs::remove_all(real());
        fs::create_directories(real());
        addTwoPictures();
    }
}

TEST_F(ReasonTest, NamesTheLetterInADryRun)
{
    addPicture("C:D.JPG", "photo c");
    const test::OddMount odd("letters", view("odd"), {real()}, {"lookup=yes"});
    expectLetterNamed(saveTo(odd.at(), {"--dry-run"}), ":");
    EXPECT_TRUE(fs::is_empty(real()));
}

// A dry run makes no file, so that it can only know where names are refused already when they are
// looked for. It must not promise what will fail.
// A dry run makes no file, and nothing else would tell.
TEST_F(ReasonTest, MakesNothingInADryRunWhereALetterIsOnlyRefusedForNewFiles)
{
    addPicture("C:D.JPG", "photo c");
    const test::OddMount odd("letters", view("odd"), {real()}, {"lookup=no"});
    EXPECT_EQ(saveTo(odd.at(), {"--dry-run"}).code, 0);
    EXPECT_TRUE(fs::is_empty(real()));
    expectLetterNamed(saveTo(odd.at()), ":");
}

TEST_F(ReasonTest, NamesTheLetterThatABackupDoesNotTake)
{
    addPicture("C:D.JPG", "photo c");
    for (const char* lookup : {"lookup=yes", "lookup=no"}) {
        const test::OddMount odd("letters", view("odd"), {real()}, {lookup});
        SCOPED_TRACE(lookup);
        const RunResult result = saveAndDelete(target(), {"--backup", odd.at()});
        expectLetterNamed(result, ":");
        EXPECT_TRUE(fs::exists(pictures() / "C:D.JPG"));
        expectPromiseKept(result);
        fs::remove_all(real());
        fs::remove_all(target());
        fs::create_directories(real());
        addTwoPictures();
    }
}

// The disk has room; only the view has not seen yet that a name was taken.
TEST_F(ReasonTest, SaysNothingOfSpaceWhereANameAppearedUnseen)
{
    addPictures(40, 5'000);
    const test::OddMount odd("cached", view("odd"), {real()});
    LiveRun run(wordsFor(card(), target(), {"--backup", odd.at()}), live());
    ASSERT_TRUE(run.waitForLine("\"event\":\"item\""));
    for (int i = 100; i < 140; ++i) {
        const fs::path name = real() / ("IMG_" + std::to_string(i) + ".JPG");
        if (!fs::exists(name))
            write(name, "somebody else's");
    }
    const RunResult result = run.finish();
    EXPECT_EQ((result.out + result.err).find("space"), std::string::npos) << told(result);
    expectPromiseKept(result);
    for (const auto& [name, bytes] : filesIn(real()))
        EXPECT_FALSE(bytes.empty()) << name;
}

TEST_F(ReasonTest, NamesTheLimitOfOpenFiles)
{
    for (int i = 0; i < 40; ++i) {
        const fs::path path = addPicture("D" + std::to_string(i) + ".JPG", std::to_string(i));
        const auto day = fs::last_write_time(path) - std::chrono::hours(24 * i);
        fs::last_write_time(path, day);
    }
    LiveSettings settings = live();
    settings.inChild = [] {
        const rlimit limit{40, 40};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    };
    LiveRun run(
        wordsFor(card(), target(), {"--subfolders", "%Y-%m-%d", "--delete-originals", "--yes"}),
        settings);
    const RunResult result = run.finish();
    EXPECT_NE(result.code, 0) << "a limit that hits nothing";
    EXPECT_NE((result.out + result.err).find("Too many open files"), std::string::npos)
        << told(result);
    expectPromiseKept(result);
}

} // namespace e2e
