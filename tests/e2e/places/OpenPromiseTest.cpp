// Ways by which copies come to lie on the card's own device unseen.

#include "e2e/support/MountFixture.h"

namespace e2e {

class OpenPromiseTest : public PlaceTest {
protected:
    void arrange() override
    {
        addTwoPictures();
        fs::create_directories(beside());
    }

    fs::path device() const { return card().parent_path(); }
    fs::path beside() const { return device() / "beside"; } // on the card's device
};

TEST_F(OpenPromiseTest, DoesNotLetTheCardGoWithAMirrorOfAFolderOnIt)
{
    const test::OddMount mirror("mirror", view("mirror"), {beside()});
    expectPromiseKept(saveTo(mirror.at()));
}

TEST_F(OpenPromiseTest, DoesNotLetTheCardGoWithAPoolThatWritesToIt)
{
    fs::create_directories(data() / "branch");
    const test::OddMount pool("pool", view("pool"), {data() / "branch", beside()}, {"create=1"});
    expectPromiseKept(saveTo(pool.at()));
}

TEST_F(OpenPromiseTest, DoesNotLetTheCardGoWithAnOverlayThatWritesToIt)
{
    fs::create_directories(data() / "lower");
    const test::OverlayMount overlay(
        view("overlay"), data() / "lower", device() / "up", device() / "work");
    expectPromiseKept(saveTo(overlay.at()));
}

TEST_F(OpenPromiseTest, DoesNotLetTheCardGoWithAnImageOnIt)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "no devices for images";
    }
    {
        const test::LoopMount image(view("image"), device() / "image", 16 << 20);
        const RunResult result = saveTo(image.at() / "pictures");
        EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
    }
}

// The pictures are a camera's, seen through a view of its card.
TEST_F(OpenPromiseTest, DoesNotLetTheCardGoThatIsAViewOfTheCopiesDevice)
{
    const test::OddMount mirror("mirror", view("mirror"), {card()});
    const RunResult result = saveFrom(mirror.at(), beside());
    expectPromiseKept(result);
}

TEST_F(OpenPromiseTest, LosesNothingOfACardThatIsAPoolOverTheTargetsName)
{
    const fs::path branch = data() / "branch";
    fs::create_directories(branch);
    const test::OddMount pool("pool", view("pool"), {card(), branch}, {"create=0"});
    const RunResult result =
        saveFrom(pool.at(), branch, {"--subfolders", "DCIM/100MFX", "--delete-originals", "--yes"});
    expectPromiseKept(result);
}

// The pool's own folder appears only with the first picture.
TEST_F(OpenPromiseTest, LosesNothingWhereThePoolShowsTheSubfolderAsTheCards)
{
    const fs::path branch = data() / "branch";
    fs::create_directories(branch);
    addFileIn("2026-05-04", "A.JPG", "photo a");
    fs::remove(pictures() / "A.JPG");
    const test::OddMount pool("pool", view("pool"), {card(), branch}, {"create=0"});
    expectPromiseKept(
        saveFrom(pool.at(), branch, {"--subfolders", "%Y-%m-%d", "--delete-originals", "--yes"}));
}

// Target and backup are two views whose files are one.
TEST_F(OpenPromiseTest, KeepsTwoCopiesWhereTwoPoolsShareAFolder)
{
    for (const char* branch : {"one", "two"})
        fs::create_directories(data() / branch);
    const test::OddMount first(
        "pool", view("first"), {data() / "one", data() / "two"}, {"create=1"});
    const test::OddMount second(
        "pool", view("second"), {data() / "two", data() / "one"}, {"create=0"});
    const RunResult result = saveAndDelete(first.at(), {"--backup", second.at()});
    expectPromiseKept(result);
    if (result.code == 0)
        expectPromiseKept(result, 2);
}

} // namespace e2e
