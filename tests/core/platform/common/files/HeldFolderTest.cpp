#include "platform/common/files/HeldFolder.h"

#include "support/TestFolder.h"
#include "support/disks/Mounts.h"

#include <optional>

namespace Pt {
namespace {

namespace fs = std::filesystem;

class HeldFolderTest : public testing::Test {
protected:
    HeldFolderTest() { fs::create_directory(folder.path("disk")); }

    HeldFolder hold()
    {
        auto held = HeldFolder::open(folder.path("disk"), error);
        EXPECT_TRUE(held) << error.message();
        return std::move(*held);
    }
    static void write(const HeldFolder& held, const std::string& name)
    {
        std::ofstream(held.ownPath() + '/' + name) << "bytes";
    }

    test::TestFolder folder;
    std::error_code error;
};

TEST_F(HeldFolderTest, LeadsToTheFolderUnderItsOwnPath)
{
    const HeldFolder held = hold();
    write(held, "file");
    EXPECT_EQ(test::read(folder.path("disk/file")), "bytes");
    EXPECT_EQ(held.path(), folder.path("disk"));
    EXPECT_TRUE(held.isAtItsPath());
}

TEST_F(HeldFolderTest, FollowsTheFolderAndNotItsName)
{
    const HeldFolder held = hold();
    fs::rename(folder.path("disk"), folder.path("moved"));
    fs::create_directory(folder.path("disk"));
    EXPECT_FALSE(held.isAtItsPath());
    EXPECT_TRUE(held.isNamedBy(folder.path("moved")));
    write(held, "file");
    EXPECT_EQ(test::read(folder.path("moved/file")), "bytes");
    EXPECT_FALSE(fs::exists(folder.path("disk/file")));
}

TEST_F(HeldFolderTest, NamesItsOwnPathsAsTheSystemDoes)
{
    const HeldFolder held = hold();
    EXPECT_EQ(HeldFolder::nameOf(held.ownPath() + "/sub/A.JPG"), folder.path("disk/sub/A.JPG"));
    EXPECT_EQ(HeldFolder::nameOf(held.ownPath()), folder.path("disk"));
    EXPECT_EQ(HeldFolder::nameOf("/elsewhere/A.JPG"), "/elsewhere/A.JPG");
}

TEST_F(HeldFolderTest, MakesNothingInAFolderThatIsGone)
{
    const HeldFolder held = hold();
    fs::remove(folder.path("disk"));
    EXPECT_FALSE(held.isAtItsPath());
    fs::create_directory(folder.path("disk"));
    write(held, "file");
    EXPECT_TRUE(fs::is_empty(folder.path("disk")));
}

TEST_F(HeldFolderTest, SaysWhyAFolderCannotBeHeld)
{
    EXPECT_FALSE(HeldFolder::open(folder.path("none"), error));
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    folder.write("file", "x");
    EXPECT_FALSE(HeldFolder::open(folder.path("file"), error));
    EXPECT_EQ(error, std::errc::not_a_directory);
}

TEST_F(HeldFolderTest, SeesThatADiskWasPulledFromUnderIt)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "mounting needs root";
    }
    std::optional<test::MemoryMount> disk(std::in_place, folder.path("disk"), 1 << 20);
    const HeldFolder held = hold();
    EXPECT_TRUE(held.isAtItsPath());
    disk->detach();
    EXPECT_FALSE(held.isAtItsPath());
    write(held, "file");
    EXPECT_TRUE(fs::is_empty(folder.path("disk")));
}

TEST_F(HeldFolderTest, KnowsItsFolderThoughInodeNumbersAreForgotten)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "mounting needs root";
    }
    const test::OddMount view("forgetful", folder.path("view"), {folder.path("disk")});
    const auto held = HeldFolder::open(folder.path("view"), error);
    ASSERT_TRUE(held);
    for (int look = 0; look < 5; ++look)
        EXPECT_TRUE(held->isAtItsPath());
}

} // namespace
} // namespace Pt
