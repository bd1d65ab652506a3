// A card that is written on while it is read.

#include "e2e/support/MountFixture.h"

namespace e2e {

class CardChangeTest : public PlaceTest {
protected:
    void arrange() override { addPictures(60, 5'000); }

    RunResult saveWhile(const std::function<void()>& happening)
    {
        LiveRun run(wordsFor(card(), target(), {}), live());
        EXPECT_TRUE(run.waitForLine("\"event\":\"item\""));
        happening();
        return run.finish();
    }

    void expectNamed(const RunResult& result, const std::string& name)
    {
        EXPECT_EQ(result.code, 1) << told(result);
        EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
        EXPECT_NE(result.summary()["not_safe"].dump().find(name), std::string::npos)
            << told(result);
        expectPromiseKept(result);
    }
};

TEST_F(CardChangeTest, NamesAPictureThatCame)
{
    expectNamed(saveWhile([this] { addPicture("NEW.JPG", "new"); }), "NEW.JPG");
}

TEST_F(CardChangeTest, NamesAPictureInAFolderThatCame)
{
    expectNamed(
        saveWhile([this] { addFileIn("DCIM/101MFX", "NEW.JPG", "new"); }), "DCIM/101MFX/NEW.JPG");
}

TEST_F(CardChangeTest, NamesAHiddenPictureThatCame)
{
    expectNamed(saveWhile([this] { addFileIn("DCIM", ".NEW.JPG", "\xFF\xD8\xFFnew"); }), "NEW.JPG");
}

TEST_F(CardChangeTest, NamesAPictureThatWasThrownAwayMeanwhile)
{
    expectNamed(saveWhile([this] { addFileIn(".Trash-1000/files", "NEW.JPG", "\xFF\xD8\xFFnew"); }),
        ".Trash-1000");
}

TEST_F(CardChangeTest, NamesAPictureThatWasAddedToATrashThatWasThere)
{
    addFileIn(".Trash-1000/info", "x.trashinfo", "no picture");
    expectNamed(saveWhile([this] { addFileIn(".Trash-1000/files", "NEW.JPG", "\xFF\xD8\xFFnew"); }),
        ".Trash-1000");
}

TEST_F(CardChangeTest, NamesAPictureThatWasWrittenOn)
{
    const fs::path first = pictures() / "IMG_100.JPG"; // it was told of already
    expectNamed(saveWhile([&] { std::ofstream(first, std::ios::app) << "more"; }), "IMG_100.JPG");
}

TEST_F(CardChangeTest, NamesAPictureThatWasReplacedUnderItsOldTime)
{
    const fs::path first = pictures() / "IMG_100.JPG";
    const auto time = fs::last_write_time(first);
    const RunResult result = saveWhile([&] {
        const std::string other(fs::file_size(first), 'z');
        std::ofstream(first, std::ios::binary) << other;
        fs::last_write_time(first, time);
    });
    expectNamed(result, "IMG_100.JPG");
}

TEST_F(CardChangeTest, NamesAPictureThatGrowsWhileItIsCopied)
{
    const fs::path last = pictures() / "IMG_159.JPG"; // not begun yet
    const RunResult result = saveWhile([&] { std::ofstream(last, std::ios::app) << "more"; });
    expectToLose("159" + std::string(5'000, 'd')); // it is longer now
    expectNamed(result, "IMG_159.JPG");
}

TEST_F(CardChangeTest, SaysNothingOfACardThatStaysAsItIs)
{
    const RunResult result = saveWhile([] {});
    EXPECT_EQ(result.code, 0) << told(result);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], true);
    expectPromiseKept(result);
}

} // namespace e2e
