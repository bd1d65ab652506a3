// Card, target and backup that are one place under several names: a picture that was "copied" onto
// itself has one copy.

#include "e2e/support/MountFixture.h"

#include <unistd.h>

namespace e2e {

class PlaceAliasTest : public PlaceTest {
protected:
    void arrange() override
    {
        addTwoPictures();
        makePlaces();
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
    const test::OddMount pool("pool", view("pool"), {branch(), pictures()}, {"create=0"});
    const RunResult result = saveAndDelete(pool.at());
    EXPECT_NE(result.code, 0) << told(result);
    expectCardKept(result);
}

TEST_F(PlaceAliasTest, DeletesNothingWhereAForgetfulPoolShowsTheOriginals)
{
    for (const char* times : {"times=real", "times=zero"}) {
        const test::OddMount pool(
            "pool", view("pool"), {branch(), pictures()}, {"create=0", times, "norename2=yes"});
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

TEST_F(PlaceAliasTest, MakesRealSecondCopiesWhereAnOverlayBackupShowsTheOriginals)
{
    const test::MemoryMount upper(disk("upper"), 8 << 20);
    const test::OverlayMount overlay(
        view("overlay"), pictures(), upper.at() / "up", upper.at() / "work");
    const RunResult result = saveAndDelete(target(), {"--backup", overlay.at()});
    EXPECT_EQ(copiesBelow({upper.at()}, "photo a"), 1U) << told(result);
    expectPromiseKept(result, 2);
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

TEST_F(PlaceAliasTest, RefusesOrMakesRealSecondCopiesWhereTheBackupShowsTheCard)
{
    {
        const test::OddMount mirror("mirror", view("mirror"), {pictures()});
        expectRefused(saveAndDelete(target(), {"--backup", mirror.at()}), mirror.at(), pictures());
        expectNothingCopied();
    }
    // What the pool shows of the card is no second copy: a real one is made beside it.
    const test::OddMount pool("pool", view("pool"), {branch(), pictures()}, {"create=0"});
    const RunResult result = saveAndDelete(target(), {"--backup", pool.at()});
    EXPECT_EQ(copiesBelow({branch()}, "photo a"), 1U) << told(result);
    expectPromiseKept(result, 2);
}

// One image twice: the kernel lets the second be read-only, so it can only be the card.
TEST_F(PlaceAliasTest, DeletesNothingWhereCardAndTargetAreOneImage)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "no devices for images";
    }
    const fs::path image = root() / "image";
    {
        const test::LoopMount first(view("first"), image, 16 << 20);
        write(first.at() / "A.JPG", "photo c");
    }
    const test::LoopMount second(view("second"), image, 16 << 20, true);
    const test::LoopMount first(view("first"), image, 16 << 20, true);
    const RunResult result = saveFrom(first.at(), second.at(), {"--delete-originals", "--yes"});
    EXPECT_NE(result.code, 0) << told(result);
    EXPECT_EQ(contentOf(first.at() / "A.JPG"), "photo c");
}

// The second look is as old as its mount: what is made on the disk does not show there.
TEST_F(PlaceAliasTest, LetsNoCardGoThatIsAnOlderLookAtTheTargetsImage)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "no devices for images";
    }
    const fs::path image = root() / "image";
    const test::LoopMount disk(view("disk"), image, 16 << 20);
    write(disk.at() / "A.JPG", "photo c");
    fs::create_directory(disk.at() / "target");
    ::sync();
    const test::LoopMount look(view("look"), image, 16 << 20, true);
    ASSERT_EQ(contentOf(look.at() / "A.JPG"), "photo c");
    const RunResult result = saveFrom(look.at(), disk.at() / "target", {});
    EXPECT_EQ(result.summary()["saved"], 1) << told(result);
    EXPECT_EQ(result.summary()["copies_on_cards_device"], true) << told(result);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
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
    ASSERT_EQ(
        std::system(("touch -d 2026-05-05T12:00Z " + (pictures() / "C.JPG").string()).c_str()), 0);
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
        EXPECT_EQ(result.code, 1) << told(result); // deletion was asked for and may not be
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
        addTwoPictures();
    }
}

TEST_F(PlaceAliasTest, LosesNothingWhereSubfoldersMeetThePoolsOwn)
{
    fs::create_directories(branch() / "DCIM");
    const test::OddMount pool("pool", view("pool"), {card(), branch()}, {"create=0"});
    const RunResult result = saveFrom(
        pool.at(), branch() / "DCIM", {"--subfolders", "100MFX", "--delete-originals", "--yes"});
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

// A link is no copy of what it leads to.
TEST_F(PlaceAliasTest, DeletesNothingWhereACopyIsALinkToTheOriginal)
{
    for (const fs::path& folder : {target(), backup()}) {
        fs::create_symlink(pictures() / "A.JPG", folder / "A.JPG");
        const RunResult result = saveAndDelete(target(), {"--backup", backup()});
        expectPromiseKept(result, 2);
        fs::remove_all(target());
        fs::remove_all(backup());
        for (const fs::path& again : {target(), backup()})
            fs::create_directories(again);
        addTwoPictures();
    }
}

TEST_F(PlaceAliasTest, MakesACopyWhereABackupIsALinkToTheSavedOne)
{
    write(target() / "A.JPG", "photo a");
    fs::create_symlink(target() / "A.JPG", backup() / "A.JPG");
    const RunResult result = saveAndDelete(target(), {"--backup", backup()});
    expectPromiseKept(result, 2);
}

TEST_F(PlaceAliasTest, MakesACopyWhereOnlyALinkOfTheOriginalStands)
{
    const fs::path beside = card().parent_path() / "beside";
    fs::create_directories(beside);
    fs::create_hard_link(pictures() / "A.JPG", beside / "A.JPG");
    const RunResult result = saveAndDelete(beside);
    EXPECT_EQ(copies("photo a"), 2U) << told(result);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
    expectPromiseKept(result);
}

TEST_F(PlaceAliasTest, DeletesNothingWhereASubfolderIsCalledLikeTheBackup)
{
    const fs::path inner = target() / "copies";
    const RunResult result = saveAndDelete(target(), {"--subfolders", "copies", "--backup", inner});
    EXPECT_EQ(copiesBelow({card()}, "photo a"), 1U) << told(result);
    expectPromiseKept(result, 2);
}

TEST_F(PlaceAliasTest, KeepsTwoCopiesWhereOnePlaceLiesInTheOther)
{
    EXPECT_EQ(saveAndDelete(target(), {"--backup", target() / "copies"}).code, 0);
    EXPECT_EQ(copiesOffTheCard("photo a"), 2U);
    addPicture("A.JPG", "photo a2");
    addPicture("B.JPG", "photo b2");
    EXPECT_EQ(saveAndDelete(backup() / "pictures", {"--backup", backup()}).code, 0);
    EXPECT_EQ(copiesOffTheCard("photo a2"), 2U);
}

// Killed at each call on the card in turn: nothing is lost, and the next run sets all right.
TEST_F(PlaceAliasTest, LosesNothingWhereADeletionIsKilled)
{
    bool isThrough = false;
    for (int call = 1; call < 60 && !isThrough; ++call) {
        addTwoPictures();
        setVariable("LD_PRELOAD", FAULT_SHIM);
        setVariable("FAULT_ROOT", card());
        setVariable("FAULT_ONLY", "rename,renameat2,unlink,mkdir,rmdir,link");
        setVariable("FAULT_KILL", "1");
        setVariable("FAULT_AT", std::to_string(call));
        const RunResult killed = saveAndDelete(target());
        isThrough = killed.code == 0;
        unsetVariable("LD_PRELOAD");
        for (const char* bytes : {"photo a", "photo b"})
            EXPECT_GE(copies(bytes), 1U) << call;
        EXPECT_EQ(saveAndDelete(target()).code, 0) << call;
        for (const char* bytes : {"photo a", "photo b"})
            EXPECT_EQ(copiesOffTheCard(bytes), 1U) << call;
        EXPECT_TRUE(filesIn(card()).empty()) << call;
        expectNoLeftovers();
    }
    EXPECT_TRUE(isThrough);
}

} // namespace e2e
