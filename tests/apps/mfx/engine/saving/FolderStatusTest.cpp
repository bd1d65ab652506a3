#include "mfx/engine/saving/FolderStatus.h"

#include "apps/mfx/engine/CardFixture.h"
#include "support/disks/Mounts.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

class FolderStatusTest : public testing::Test {
protected:
    tests::TestCard folder;
};

TEST_F(FolderStatusTest, KnowsAFolderBehindALink)
{
    folder.addFolder("real");
    std::filesystem::create_directory_symlink("real", folder.path("link"));
    const auto real = folderStatus(folder.path("real"));
    ASSERT_TRUE(real);
    EXPECT_EQ(real->kind, Pt::FileStatus::Kind::kFolder);
    EXPECT_EQ(folderStatus(folder.path("link")), real);
    EXPECT_EQ(deviceOf(folder.path("link")), real->device);
}

TEST_F(FolderStatusTest, KnowsNothingOfWhatIsNoFolder)
{
    folder.add("file");
    std::filesystem::create_symlink("nowhere", folder.path("dead"));
    for (const char* name : {"file", "dead", "none"}) {
        EXPECT_FALSE(folderStatus(folder.path(name))) << name;
        EXPECT_EQ(deviceOf(folder.path(name)), std::nullopt) << name;
    }
}

TEST_F(FolderStatusTest, SeesWhatIsMountedOnAFolder)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "mounting needs root";
    }
    folder.addFolder("disk");
    const auto before = deviceOf(folder.path("disk"));
    const test::MemoryMount disk(folder.path("disk"), 1 << 20);
    EXPECT_NE(deviceOf(folder.path("disk")), before);
}

} // namespace
} // namespace mfx
