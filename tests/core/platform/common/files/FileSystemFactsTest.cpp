#include "platform/common/files/FileSystemFacts.h"

#include "support/TestFolder.h"
#include "support/disks/Mounts.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

using testing::IsEmpty;
using testing::Not;

namespace Pt {
namespace {

class FileSystemFactsTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!test::canMount()) {
            GTEST_SKIP() << "mounting needs root";
        }
        std::filesystem::create_directory(folder.path("real"));
    }
    std::string real() const { return folder.path("real"); }
    std::string view() const { return folder.path("view"); }

    test::TestFolder folder;
};

TEST_F(FileSystemFactsTest, TellsDisksInMemoryApart)
{
    const test::MemoryMount one(folder.path("one"), 1 << 20);
    const test::MemoryMount two(folder.path("two"), 1 << 20);
    EXPECT_THAT(disksOf(one.at()), Not(IsEmpty()));
    EXPECT_NE(disksOf(one.at()), disksOf(two.at()));
    EXPECT_EQ(disksOf(one.at()), disksOf(one.at() / "."));
    EXPECT_THAT(disksOf(folder.path("none")), IsEmpty());
}

TEST_F(FileSystemFactsTest, FindsOneDiskBehindTwoMounts)
{
    const test::BindMount bound(real(), view());
    EXPECT_EQ(disksOf(view()), disksOf(real()));
}

TEST_F(FileSystemFactsTest, BelievesWhatKeepsItsOwnFiles)
{
    const test::MemoryMount disk(folder.path("disk"), 1 << 20);
    EXPECT_TRUE(keepsItsOwnFiles(disk.at()));
    const test::OddMount odd("mirror", view(), {real()});
    EXPECT_FALSE(keepsItsOwnFiles(view()));
    EXPECT_FALSE(keepsItsOwnFiles(folder.path("none")));
}

TEST_F(FileSystemFactsTest, DoesNotBelieveOverlays)
{
    const test::MemoryMount disk(folder.path("disk"), 1 << 20);
    const test::OverlayMount over(view(), real(), disk.at() / "upper", disk.at() / "work");
    EXPECT_FALSE(keepsItsOwnFiles(view()));
}

TEST_F(FileSystemFactsTest, FindsOneRoomBehindTwoViews)
{
    const test::MemoryMount disk(folder.path("disk"), 8 << 20);
    const test::MemoryMount other(folder.path("other"), 8 << 20);
    std::filesystem::create_directory(disk.at() / "branch");
    const test::OddMount pool("pool", view(), {other.at(), disk.at() / "branch"}, {"create=1"});
    EXPECT_TRUE(sharesRoom(view(), disk.at()));
    EXPECT_FALSE(sharesRoom(view(), other.at()));
    EXPECT_FALSE(sharesRoom(folder.path("none"), disk.at()));
    EXPECT_TRUE(std::filesystem::is_empty(disk.at() / "branch"));
}

// Others make room while we look.
TEST_F(FileSystemFactsTest, FindsOneRoomWhereOthersRemoveFiles)
{
    constexpr int kFiles = 40;
    const test::MemoryMount disk(folder.path("disk"), 256 << 20);
    std::filesystem::create_directory(disk.at() / "branch");
    const test::OddMount mirror("mirror", view(), {disk.at() / "branch"});
    for (int file = 0; file < kFiles; ++file)
        std::ofstream(disk.at() / std::to_string(file)) << std::string(300'000, 'x');
    std::thread remover([&disk] {
        for (int file = 0; file < kFiles; ++file) {
            std::filesystem::remove(disk.at() / std::to_string(file));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    for (int look = 0; look < 20; ++look)
        EXPECT_TRUE(sharesRoom(view(), disk.at())) << look;
    remover.join();
}

TEST_F(FileSystemFactsTest, KnowsTheDeviceOfAnImage)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "mounting an image needs root";
    }
    const auto deviceOf = [](const std::string& path) {
        struct stat found = {};
        EXPECT_EQ(::stat(path.c_str(), &found), 0);
        return found.st_dev;
    };
    const test::LoopMount disk(view(), folder.path("image"), 1 << 20);
    EXPECT_EQ(imageFile(deviceOf(view()))->device, deviceOf(folder.path()));
    EXPECT_EQ(imageFile(deviceOf(folder.path())), std::nullopt);
}

TEST_F(FileSystemFactsTest, NamesTheLetterThatIsNotTaken)
{
    const test::OddMount odd("letters", view(), {real()});
    EXPECT_EQ(refusedLetter(view(), "IMG:1.JPG"), ":");
    EXPECT_EQ(refusedLetter(view(), "IMG 1.JPG."), ".");
    EXPECT_EQ(refusedLetter(view(), "IMG 1.JPG"), std::nullopt);
    EXPECT_EQ(refusedLetter(view(), "\xC3\xA4.JPG"), std::nullopt);
    EXPECT_EQ(refusedLetter(real(), "IMG:1.JPG"), std::nullopt);
}

TEST_F(FileSystemFactsTest, MakesAFileForAMomentWhereNothingElseTells)
{
    const test::OddMount odd("letters", view(), {real()}, {"lookup=no"});
    EXPECT_EQ(refusedLetter(view(), "IMG:1.JPG"), std::nullopt);
    EXPECT_EQ(refusedLetter(view(), "IMG:1.JPG", LetterTest::kMakesFiles), ":");
    EXPECT_TRUE(std::filesystem::is_empty(real()));
}

} // namespace
} // namespace Pt
