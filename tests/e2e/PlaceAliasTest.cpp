// Card, target and backup that are one place under several names: a picture that was "copied" onto
// itself has one copy.

#include "e2e/MountFixture.h"

namespace e2e {

class PlaceAliasTest : public PlaceTest {
protected:
    void SetUp() override
    {
        PlaceTest::SetUp();
        if (IsSkipped())
            return;
        addPicture("A.JPG", "photo a");
        addPicture("B.JPG", "photo b");
        fs::create_directories(target());
        fs::create_directories(backup());
        fs::create_directories(branch());
    }

    fs::path branch() const { return data() / "branch"; } // of pools

    void expectNothingCopied()
    {
        EXPECT_EQ(copies("photo a"), 1U);
        EXPECT_EQ(copies("photo b"), 1U);
    }
};

TEST_F(PlaceAliasTest, RefusesAMirrorOfTheCardsFolderAsTarget)
{
    const test::OddMount mirror("mirror", view("mirror"), {pictures()});
    expectRefused(saveAndDelete(mirror.at()), mirror.at(), pictures());
    expectNothingCopied();
}

TEST_F(PlaceAliasTest, RefusesAPoolThatShowsTheCardsFolderAsTarget)
{
    const test::OddMount pool("pool", view("pool"), {pictures(), branch()});
    expectRefused(saveAndDelete(pool.at()), pool.at(), pictures());
    expectNothingCopied();
}

// New files go to a branch off the card, so that no marker of ours is ever seen on the card.
TEST_F(PlaceAliasTest, DeletesNothingWhereAPoolShowsTheOriginalsAsCopies)
{
    const test::OddMount pool(
        "pool", view("pool"), {branch(), pictures()}, {"create=0"});
    const RunResult result = saveAndDelete(pool.at());
    EXPECT_NE(result.code, 0) << told(result);
    expectCardKept(result);
}

TEST_F(PlaceAliasTest, DeletesNothingWhereAForgetfulPoolShowsTheOriginals)
{
    for (const char* times : {"times=real", "times=zero"}) {
        const test::OddMount pool("pool",
            view("pool"),
            {branch(), pictures()},
            {"create=0", times, "norename2=yes"});
        const RunResult result = saveAndDelete(pool.at());
        EXPECT_NE(result.code, 0) << times << told(result);
        expectCardKept(result);
    }
}

TEST_F(PlaceAliasTest, DeletesNothingWhereAnOverlayShowsTheOriginals)
{
    const test::MemoryMount upper(disk("upper"), 8 << 20);
    const test::OverlayMount overlay(
        view("overlay"), pictures(), upper.at() / "up", upper.at() / "work");
    const RunResult result = saveAndDelete(overlay.at());
    EXPECT_NE(result.code, 0) << told(result);
    expectCardKept(result);
    EXPECT_EQ(copies("photo a"), 1U);
}

TEST_F(PlaceAliasTest, DeletesNothingWhereAnOverlayBackupShowsTheOriginals)
{
    const test::MemoryMount upper(disk("upper"), 8 << 20);
    const test::OverlayMount overlay(
        view("overlay"), pictures(), upper.at() / "up", upper.at() / "work");
    const RunResult result = saveAndDelete(target(), {"--backup", overlay.at()});
    EXPECT_NE(result.code, 0) << told(result);
    expectCardKept(result);
}

TEST_F(PlaceAliasTest, RefusesTheLowerFolderOfACardThatIsAnOverlay)
{
    const test::MemoryMount upper(disk("upper"), 8 << 20);
    const test::OverlayMount overlay(
        view("overlay"), pictures(), upper.at() / "up", upper.at() / "work");
    expectRefused(saveFrom(overlay.at(), pictures(), {"--delete-originals", "--yes"}),
        overlay.at(),
        pictures());
    expectNothingCopied();
}

TEST_F(PlaceAliasTest, RefusesABackupThatIsTheTargetBound)
{
    const test::BindMount bound(target(), view("bound"));
    expectRefused(saveAndDelete(target(), {"--backup", bound.at()}), target(), bound.at());
    expectNothingCopied();
    expectRefused(saveAndDelete(bound.at(), {"--backup", target()}), target(), bound.at());
    expectNothingCopied();
}

TEST_F(PlaceAliasTest, RefusesABackupThatMirrorsTheTarget)
{
    const test::OddMount mirror("mirror", view("mirror"), {target()});
    expectRefused(saveAndDelete(target(), {"--backup", mirror.at()}), target(), mirror.at());
    expectNothingCopied();
    expectRefused(saveAndDelete(mirror.at(), {"--backup", target()}), target(), mirror.at());
    expectNothingCopied();
}

TEST_F(PlaceAliasTest, RefusesABackupInAForgetfulMirrorOfTheTarget)
{
    const test::OddMount mirror("forgetful", view("mirror"), {target()});
    expectRefused(saveAndDelete(target(), {"--backup", mirror.at()}), target(), mirror.at());
    expectNothingCopied();
}

TEST_F(PlaceAliasTest, RefusesABackupInAMirrorThatRemembers)
{
    const test::OddMount mirror("cached", view("mirror"), {target()});
    expectRefused(saveAndDelete(target(), {"--backup", mirror.at()}), target(), mirror.at());
    expectRefused(saveAndDelete(mirror.at(), {"--backup", target()}), target(), mirror.at());
    expectNothingCopied();
}

TEST_F(PlaceAliasTest, RefusesAFolderOfTheCardThatIsBoundElsewhere)
{
    const test::BindMount bound(pictures(), view("bound"));
    expectRefused(saveAndDelete(bound.at()), bound.at(), pictures());
    expectRefused(saveAndDelete(target(), {"--backup", bound.at()}), bound.at(), pictures());
    expectNothingCopied();
}

TEST_F(PlaceAliasTest, DeletesNothingWhereTheBackupShowsTheCard)
{
    {
        const test::OddMount mirror("mirror", view("mirror"), {pictures()});
        expectRefused(saveAndDelete(target(), {"--backup", mirror.at()}), mirror.at(), pictures());
        expectNothingCopied();
    }
    const test::OddMount pool(
        "pool", view("pool"), {branch(), pictures()}, {"create=0"});
    const RunResult result = saveAndDelete(target(), {"--backup", pool.at()});
    EXPECT_NE(result.code, 0) << told(result);
    expectCardKept(result);
}

// One image twice: the kernel lets the second be read-only, so it can only be the card.
TEST_F(PlaceAliasTest, DeletesNothingWhereCardAndTargetAreOneImage)
{
    if (!test::canMountImages())
        GTEST_SKIP() << "no devices for images";
    const fs::path image = root() / "image";
    {
        const test::LoopMount first(view("first"), image, 16 << 20);
        write(first.at() / "A.JPG", "photo c");
    }
    const test::LoopMount second(view("second"), image, 16 << 20, true);
    const test::LoopMount first(view("first"), image, 16 << 20, true);
    const RunResult result =
        saveFrom(first.at(), second.at(), {"--delete-originals", "--yes"});
    EXPECT_NE(result.code, 0) << told(result);
    EXPECT_EQ(contentOf(first.at() / "A.JPG"), "photo c");
}

TEST_F(PlaceAliasTest, EndsWhereASubfolderOfTheTargetIsTheBackup)
{
    const test::BindMount bound(backup(), target() / "2026-05-04");
    const RunResult result =
        saveAndDelete(target(), {"--backup", backup(), "--subfolders", "%Y-%m-%d"});
    EXPECT_EQ(result.code, 4) << told(result);
    expectCardKept(result);
    expectNoLeftovers();
}

TEST_F(PlaceAliasTest, EndsWhereASubfolderOfTheTargetLeadsToTheBackup)
{
    fs::create_directory_symlink(backup(), target() / "2026-05-04");
    const RunResult result =
        saveAndDelete(target(), {"--backup", backup(), "--subfolders", "%Y-%m-%d"});
    EXPECT_EQ(result.code, 4) << told(result);
    expectCardKept(result);
    expectNoLeftovers();
}

TEST_F(PlaceAliasTest, EndsWhereASubfolderOfTheTargetLeadsToTheCard)
{
    fs::create_directory_symlink(pictures(), target() / "2026-05-04");
    const RunResult result = saveAndDelete(target(), {"--subfolders", "%Y-%m-%d"});
    EXPECT_EQ(result.code, 4) << told(result);
    expectCardKept(result);
    expectNoLeftovers();
    EXPECT_EQ(copies("photo a"), 1U);
}

// The lower name may be a folder of an earlier group: those went well, and stay.
TEST_F(PlaceAliasTest, KeepsWhatWasSavedBeforeASubfolderThatIsTheBackup)
{
    addPicture("C.JPG", "photo c");
    ASSERT_EQ(std::system(("touch -d 2026-05-05T12:00Z " + (pictures() / "C.JPG").string()).c_str()),
        0);
    const test::BindMount bound(backup(), target() / "2026-05-05");
    const RunResult result =
        saveAndDelete(target(), {"--backup", backup(), "--subfolders", "%Y-%m-%d"});
    EXPECT_EQ(result.code, 4) << told(result);
    expectPromiseKept(result);
    EXPECT_EQ(copiesBelow({card()}, "photo c"), 1U);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
}

TEST_F(PlaceAliasTest, NumbersTheSecondCopyWhereTheBackupNamesTheTarget)
{
    fs::create_directory_symlink(target(), root() / "link");
    for (const fs::path& named : {target(), root() / "link"}) {
        const RunResult result = saveAndDelete(target(), {"--backup", named});
        EXPECT_EQ(result.code, 0) << told(result);
        EXPECT_EQ(result.summary()["deleted"], 0);
        for (const char* bytes : {"photo a", "photo b"}) {
            EXPECT_EQ(copiesOffTheCard(bytes), 2U) << named;
            EXPECT_EQ(copiesBelow({card()}, bytes), 1U);
        }
        expectNoLeftovers();
    }
}

// A pool as card unlinks in every branch, also in the one that the copies were put into.
TEST_F(PlaceAliasTest, LosesNothingWhereThePoolOfTheCardHoldsTheTarget)
{
    fs::create_directories(branch() / "DCIM/100MFX");
    for (const char* folder : {"DCIM/100MFX", "DCIM", "", "pictures"}) {
        for (const bool isAll : {true, false}) {
            const test::OddMount pool("pool",
                view("pool"),
                {card(), branch()},
                {"create=0", isAll ? "unlink=all" : "unlink=first"});
            fs::create_directories(branch() / folder);
            const RunResult result =
                saveFrom(pool.at(), branch() / folder, {"--delete-originals", "--yes"});
            expectPromiseKept(result);
            for (const char* bytes : {"photo a", "photo b"})
                EXPECT_GE(copies(bytes), 1U) << folder;
        }
        addPicture("A.JPG", "photo a");
        addPicture("B.JPG", "photo b");
    }
}

TEST_F(PlaceAliasTest, LosesNothingWhereSubfoldersMeetThePoolsOwn)
{
    fs::create_directories(branch() / "DCIM");
    const test::OddMount pool("pool", view("pool"), {card(), branch()}, {"create=0"});
    const RunResult result = saveFrom(pool.at(),
        branch() / "DCIM",
        {"--subfolders", "100MFX", "--delete-originals", "--yes"});
    expectPromiseKept(result);
}

// The view misses the marker, since it was asked for that name before.
TEST_F(PlaceAliasTest, LosesNothingWhereTheCardIsAViewThatRemembers)
{
    const fs::path saved = target() / "2026-05-04";
    fs::create_directories(saved);
    fs::copy_file(pictures() / "A.JPG", saved / "A.JPG");
    fs::last_write_time(saved / "A.JPG", fs::last_write_time(pictures() / "A.JPG"));
    fs::remove(pictures() / "A.JPG");
    const test::OddMount cached("cached", view("cached"), {saved});
    const RunResult result = saveFrom(
        cached.at(), target(), {"--subfolders", "%Y-%m-%d", "--delete-originals", "--yes"});
    EXPECT_NE(result.code, 0) << told(result);
    EXPECT_EQ(copies("photo a"), 1U) << told(result);
    EXPECT_TRUE(result.events("summary").empty() || !result.summary()["card_may_be_wiped"])
        << told(result);
}

TEST_F(PlaceAliasTest, LeavesNoMarkerWhereItRefuses)
{
    const test::BindMount targetAgain(target(), view("target"));
    saveAndDelete(target(), {"--backup", targetAgain.at()});
    expectNoLeftovers();
    const test::OddMount cardAgain("mirror", view("card"), {pictures()});
    saveAndDelete(cardAgain.at());
    saveAndDelete(target(), {"--backup", cardAgain.at()});
    expectNoLeftovers();
}

} // namespace e2e
