// Copies on the card's own device are copies, and go with the card: whoever wipes it loses them.

#include "e2e/support/MountFixture.h"

namespace e2e {

class SameDeviceTest : public PlaceTest {
protected:
    void arrange() override { addTwoPictures(); }

    fs::path device() const { return card().parent_path(); }
    fs::path beside() const { return device() / "beside"; } // on the card's device, not below it

    void expectSavedOnTheDevice(const RunResult& result)
    {
        EXPECT_EQ(result.code, 0) << told(result);
        EXPECT_EQ(result.summary()["saved"], 2);
        EXPECT_EQ(result.summary()["copies_on_cards_device"], true) << told(result);
        EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
        EXPECT_NE(result.summary()["verdict"].dump().find("same device"), std::string::npos)
            << told(result);
        EXPECT_GE(copies("photo a"), 2U);
        expectPromiseKept(result);
        expectNoLeftovers();
    }
};

TEST_F(SameDeviceTest, SavesBesideTheCardsFolder)
{
    expectSavedOnTheDevice(saveTo(beside()));
}

TEST_F(SameDeviceTest, SavesAboveTheCardsFolder)
{
    expectSavedOnTheDevice(saveFrom(pictures(), card() / "saved"));
}

TEST_F(SameDeviceTest, SavesThroughALink)
{
    fs::create_directories(beside());
    fs::create_directory_symlink(beside(), root() / "link");
    expectSavedOnTheDevice(saveTo(root() / "link"));
}

TEST_F(SameDeviceTest, SavesThroughABoundFolder)
{
    fs::create_directories(beside());
    const test::BindMount bound(beside(), view("bound"));
    expectSavedOnTheDevice(saveTo(bound.at()));
    fs::remove_all(beside() / "A.JPG");
    fs::remove_all(beside() / "B.JPG");
    expectSavedOnTheDevice(saveTo(bound.at() / "deeper"));
}

TEST_F(SameDeviceTest, SavesIntoASubfolderThatLiesThere)
{
    fs::create_directories(beside());
    fs::create_directories(target());
    fs::create_directory_symlink(beside(), target() / "2026");
    expectSavedOnTheDevice(saveTo(target(), {"--subfolders", "%Y"}));
}

TEST_F(SameDeviceTest, SavesWhereTheCardsDeviceIsMountedTwice)
{
    const test::BindMount again(device(), view("again"));
    expectSavedOnTheDevice(saveTo(again.at() / "beside"));
}

TEST_F(SameDeviceTest, SavesThroughAViewOfTheWholeDevice)
{
    const test::OddMount again("mirror", view("again"), {device()});
    expectSavedOnTheDevice(saveTo(again.at() / "beside"));
}

TEST_F(SameDeviceTest, TellsOfADeletionBesideTheCopies)
{
    const RunResult result = saveAndDelete(beside());
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
    expectPromiseKept(result);
    EXPECT_EQ(filesIn(beside()).size(), 2U);
    expectNoLeftovers();
}

TEST_F(SameDeviceTest, AsksWithAWordOnTheDevice)
{
    LiveRun run(wordsFor(card(), beside(), {"--delete-originals"}), live(true));
    ASSERT_TRUE(run.waitForQuestion());
    run.type("n\n");
    const RunResult result = run.finish();
    EXPECT_NE(result.err.find("same device as the originals"), std::string::npos) << result.err;
    expectCardKept(result);
}

TEST_F(SameDeviceTest, TellsOfTwoCopiesOnOneDisk)
{
    const RunResult result = downloadWithBackup();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.summary()["copies_on_one_disk"], true);
    EXPECT_NE(result.summary()["verdict"].dump().find("one disk"), std::string::npos);
    const auto all = result.events();
    ASSERT_GE(all.size(), 2U);
    EXPECT_NE(all[1].dump().find("one disk"), std::string::npos) << "not told at the start";
    expectPromiseKept(result, 2);
}

TEST_F(SameDeviceTest, SaysNothingOfTwoCopiesOnTwoDisks)
{
    const test::MemoryMount other(disk("backup"), 8 << 20);
    const RunResult result = saveTo(target(), {"--backup", other.at()});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.summary()["copies_on_one_disk"], false);
    EXPECT_EQ(result.out.find("one disk"), std::string::npos);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], true);
    expectPromiseKept(result, 2);
}

// Two copies were asked for: with the card goes one of them.
TEST_F(SameDeviceTest, DoesNotLetTheCardGoWithTheBackupOnIt)
{
    const RunResult result = saveTo(target(), {"--backup", beside()});
    EXPECT_EQ(result.code, 0) << told(result);
    EXPECT_EQ(result.summary()["copies_on_cards_device"], true) << told(result);
    expectPromiseKept(result, 2);
    expectNoLeftovers();
}

} // namespace e2e
