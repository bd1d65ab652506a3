#include "mfx/engine/saving/CardRoom.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "mfx/engine/saving/FolderStatus.h"
#include "support/disks/Mounts.h"

#include <gmock/gmock.h>

using testing::IsEmpty;

namespace mfx {
namespace {

namespace fs = std::filesystem;

using tests::TestCard;

class CardRoomTest : public testing::Test {
protected:
    static CardContents scan(const fs::path& folder) { return scanCard(folder.string()); }

    // Of a folder that is there.
    static std::uint64_t device(const fs::path& path) { return deviceOf(path.string()).value(); }

    TestCard folder;
};

class MountedCardRoomTest : public CardRoomTest {
protected:
    void SetUp() override
    {
        if (!test::canMount()) {
            GTEST_SKIP() << "mounting needs root";
        }
    }
};

TEST_F(CardRoomTest, KnowsTheCardsDevice)
{
    const TestCard card{TestCard::Device::kOther};
    const TestCard beside{TestCard::Device::kOther};
    const CardContents contents = card.scan();
    const CardRoom room(contents, false);
    EXPECT_TRUE(room.isOnDevice(device(beside.path())));
    EXPECT_FALSE(room.isOnDevice(device(folder.path())));
}

TEST_F(CardRoomTest, BelievesDevicesWhereTheyTellAll)
{
    const TestCard card{TestCard::Device::kOther};
    const CardContents contents = card.scan();
    const CardRoom room(contents, false);
    EXPECT_FALSE(room.isTakenBy(card.path())) << "no trial was needed, and so none was made";
}

TEST_F(MountedCardRoomTest, KnowsAllDevicesThatAreMountedBelowTheCard)
{
    folder.addFolder("card");
    const test::MemoryMount card(folder.path("card"), 1 << 20);
    const test::MemoryMount below(card.at() / "below", 1 << 20);
    const test::MemoryMount other(folder.path("other"), 1 << 20);
    const CardContents contents = scan(card.at());
    const CardRoom room(contents, false);
    EXPECT_TRUE(room.isOnDevice(device(below.at())));
    EXPECT_FALSE(room.isOnDevice(device(other.at())));
}

TEST_F(MountedCardRoomTest, TriesWhoseRoomAPoolTakes)
{
    const test::MemoryMount card(folder.path("card"), 8 << 20);
    const test::MemoryMount other(folder.path("other"), 8 << 20);
    fs::create_directory(card.at() / "branch");
    const CardContents contents = scan(card.at());
    {
        const test::OddMount pool(
            "pool", folder.path("pool"), {other.at(), card.at() / "branch"}, {"create=1"});
        EXPECT_FALSE(CardRoom(contents, false).isOnDevice(device(pool.at())));
        EXPECT_TRUE(CardRoom(contents, false).isTakenBy(pool.at().string()));
        EXPECT_FALSE(CardRoom(contents, true).isTakenBy(pool.at().string())) << "only looks";
    }
    const test::OddMount elsewhere("pool", folder.path("elsewhere"), {other.at()});
    EXPECT_FALSE(CardRoom(contents, false).isTakenBy(elsewhere.at().string()));
    EXPECT_TRUE(fs::is_empty(card.at() / "branch"));
}

TEST_F(CardRoomTest, KnowsAnImageThatLiesOnTheCard)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "mounting an image needs root";
    }
    folder.add("card/DCIM/A.JPG");
    const test::LoopMount image(folder.path("image"), folder.path("card/disk"), 1 << 20);
    const CardContents contents = scan(folder.path("card"));
    EXPECT_TRUE(CardRoom(contents, false).isOnDevice(device(image.at())));
    const CardContents inImage = scan(image.at());
    EXPECT_FALSE(CardRoom(inImage, false).isOnDevice(device(folder.path())))
        << "a card in an image takes room from the disk, not the disk from the card";
}

} // namespace
} // namespace mfx
