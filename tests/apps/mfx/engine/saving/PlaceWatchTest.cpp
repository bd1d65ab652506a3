#include "mfx/engine/saving/PlaceWatch.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "support/disks/Mounts.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::IsEmpty;

namespace mfx {
namespace {

namespace fs = std::filesystem;

using tests::namesBelow;
using tests::TestCard;

class PlaceWatchTest : public testing::Test {
protected:
    PlaceWatchTest()
    {
        card.add("DCIM/A.JPG");
        card.addFolder("Saved");
        target.addFolder("photos");
        other.addFolder("backup");
    }

    std::string photos() const { return target.path("photos"); }
    std::string backup() const { return other.path("backup"); }

    PlaceWatch& watch(const std::string& to, std::optional<std::string> second = std::nullopt)
    {
        contents = card.scan();
        m_watch.emplace(contents, to, std::move(second), false);
        m_watch->open();
        return *m_watch;
    }

    // How the target's own folder stands to the others.
    FolderKinship kinship(const std::string& to, std::optional<std::string> second = std::nullopt)
    {
        PlaceWatch& places = watch(to, std::move(second));
        WorkFolder work(places.targetOwnPath());
        EXPECT_FALSE(work.layMarker(places.marker()));
        return places.kinshipOf(to, places.targetOwnPath(), work);
    }

    TestCard card{TestCard::Device::kOther};
    TestCard target;
    TestCard other;
    CardContents contents;

private:
    std::optional<PlaceWatch> m_watch;
};

class MountedPlaceWatchTest : public PlaceWatchTest {
protected:
    void SetUp() override
    {
        if (!test::canMount()) {
            GTEST_SKIP() << "mounting needs root";
        }
    }
};

TEST_F(PlaceWatchTest, FindsPlacesOfTheirOwnApart)
{
    EXPECT_EQ(kinship(photos()).toCard, Kinship::kApart);
    EXPECT_EQ(kinship(photos(), backup()).toBackup, Kinship::kSameDevice); // one disk
    EXPECT_THAT(namesBelow(card.path()), testing::SizeIs(3));
}

TEST_F(PlaceWatchTest, LeavesNothingBehind)
{
    kinship(photos(), backup());
    watch(photos());
    EXPECT_THAT(namesBelow(photos()), IsEmpty());
    EXPECT_THAT(namesBelow(backup()), IsEmpty());
}

TEST_F(PlaceWatchTest, KnowsAFolderOfTheCardByItsInode)
{
    EXPECT_EQ(kinship(card.path("DCIM")).toCard, Kinship::kAlias);
    EXPECT_EQ(kinship(card.path()).toCard, Kinship::kAlias); // they lie below it
    const FolderKinship kin = kinship(card.path("Saved"));
    EXPECT_EQ(kin.toCard, Kinship::kSameDevice);
    EXPECT_EQ(kin.cardFolder, card.path("Saved"));
}

TEST_F(PlaceWatchTest, SeesThatCopiesLieOnTheCardsDevice)
{
    const TestCard same{TestCard::Device::kOther};
    EXPECT_EQ(kinship(same.path()).toCard, Kinship::kSameDevice);
}

TEST_F(PlaceWatchTest, TakesABackupThatNamesTheTargetAtItsWord)
{
    EXPECT_EQ(kinship(photos(), photos()).toBackup, Kinship::kSameName);
}

TEST_F(PlaceWatchTest, RefusesABackupThatIsAFolderOfTheCard)
{
    try {
        watch(photos(), card.path("DCIM"));
        FAIL() << "it was taken";
    } catch (const PlaceError& error) {
        EXPECT_THAT(error.what(), HasSubstr(card.path("DCIM")));
    }
}

TEST_F(PlaceWatchTest, SaysWhichPlaceIsNoLongerWhereItWas)
{
    PlaceWatch& places = watch(photos(), backup());
    EXPECT_EQ(places.lostPlace(), std::nullopt);
    fs::rename(backup(), other.path("moved"));
    EXPECT_THAT(places.lostPlace().value_or(""), HasSubstr(backup()));
    fs::create_directory(backup());
    EXPECT_TRUE(places.lostPlace()) << "another folder of that name is no second copy's place";
    fs::rename(photos(), target.path("moved"));
    EXPECT_THAT(places.lostPlace().value_or(""), HasSubstr(photos()));
}

TEST_F(PlaceWatchTest, NamesItsOwnPathsAsPeopleDo)
{
    const PlaceWatch& places = watch(photos(), backup());
    EXPECT_EQ(places.nameOf(places.targetOwnPath() + "/2026/A.JPG"), photos() + "/2026/A.JPG");
    EXPECT_EQ(places.nameOf(places.backupOwnPath() + "/A.JPG"), backup() + "/A.JPG");
    EXPECT_EQ(places.nameOf("/elsewhere"), "/elsewhere");
}

TEST_F(PlaceWatchTest, LooksAndMakesNothingForAPlan)
{
    contents = card.scan();
    PlaceWatch places(contents, photos() + "/none", backup(), true);
    places.open();
    EXPECT_EQ(places.targetOwnPath(), photos() + "/none");
    EXPECT_THAT(namesBelow(backup()), IsEmpty());
}

TEST_F(MountedPlaceWatchTest, SeesTheTargetBehindAnyMountOfIt)
{
    {
        const test::BindMount bound(photos(), other.path("view"));
        EXPECT_EQ(kinship(photos(), other.path("view")).toBackup, Kinship::kAlias);
    }
    for (const char* mode : {"mirror", "forgetful", "cached"}) {
        const test::OddMount view(mode, other.path("view"), {photos()});
        EXPECT_EQ(kinship(photos(), other.path("view")).toBackup, Kinship::kAlias) << mode;
        EXPECT_EQ(kinship(other.path("view"), photos()).toBackup, Kinship::kAlias) << mode;
    }
}

TEST_F(MountedPlaceWatchTest, SeesTheCardBehindAnyMountOfIt)
{
    for (const char* mode : {"mirror", "forgetful", "cached"}) {
        const test::OddMount view(mode, other.path("view"), {card.path("DCIM")});
        EXPECT_EQ(kinship(other.path("view")).toCard, Kinship::kAlias) << mode;
        EXPECT_THROW(watch(photos(), other.path("view")), PlaceError) << mode;
    }
}

TEST_F(MountedPlaceWatchTest, SeesTheCardsDiskBehindAPoolThatHasIt)
{
    const test::OddMount pool("pool", other.path("pool"), {card.path()});
    const TestCard above;
    EXPECT_EQ(
        kinship((fs::path(other.path("pool")) / "Saved").string()).toCard, Kinship::kSameDevice);
}

TEST_F(MountedPlaceWatchTest, TellsTwoDisksApart)
{
    const test::MemoryMount one(target.path("one"), 1 << 20);
    const test::MemoryMount two(target.path("two"), 1 << 20);
    EXPECT_EQ(kinship(one.at(), two.at()).toBackup, Kinship::kApart);
    const test::BindMount again(one.at(), target.path("again"));
    fs::create_directory(one.at() / "a");
    EXPECT_EQ(kinship(one.at() / "a", again.at()).toBackup, Kinship::kSameDevice);
}

} // namespace
} // namespace mfx
