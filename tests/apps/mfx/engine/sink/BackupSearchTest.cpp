#include "mfx/engine/sink/BackupSearch.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "platform/common/files/FileCopy.h"

namespace mfx {
namespace {

using tests::TestCard;

class BackupSearchTest : public testing::Test {
protected:
    BackupSearchTest() { target.add("IMG_1.JPG", "bytes"); }

    bool holds(const std::string& deviceName = "IMG_1.JPG")
    {
        std::error_code error;
        const std::string saved = target.path("IMG_1.JPG");
        return findBackup(backup.path(),
            deviceName,
            Pt::digestOfFile(saved, error).value(),
            Pt::fileStatus(saved, error))
            .has_value();
    }

    TestCard target;
    TestCard backup;
};

TEST_F(BackupSearchTest, FindsTheDevicesName)
{
    EXPECT_FALSE(holds());
    backup.add("IMG_1.JPG", "bytes");
    EXPECT_TRUE(holds());
}

TEST_F(BackupSearchTest, FindsANumberedForm)
{
    backup.add("IMG_1.JPG", "other");
    backup.add("IMG_1-1.JPG", "more than these");
    backup.add("IMG_1-2.JPG", "bytes");
    EXPECT_TRUE(holds());
}

TEST_F(BackupSearchTest, FindsANumberedFormBesideNothing)
{
    backup.add("IMG_1-1.JPG", "bytes");
    EXPECT_TRUE(holds());
}

TEST_F(BackupSearchTest, GoesOnFromTheNumberInTheDevicesName)
{
    backup.add("IMG-7-8.JPG", "other");
    backup.add("IMG-7-9.JPG", "bytes");
    EXPECT_TRUE(holds("IMG-7.JPG"));
    EXPECT_FALSE(holds("IMG-6.JPG"));
}

TEST_F(BackupSearchTest, TrustsBytesAndNotNamesOrSizes)
{
    backup.add("IMG_1.JPG", "Bytes");
    backup.add("IMG_1-1.JPG", "bytes ");
    backup.add("IMG_1.jpg", "bytes");
    EXPECT_FALSE(holds());
}

TEST_F(BackupSearchTest, TakesTheSavedFileUnderNoNameForItsBackup)
{
    std::filesystem::create_hard_link(target.path("IMG_1.JPG"), backup.path("IMG_1.JPG"));
    std::filesystem::create_hard_link(target.path("IMG_1.JPG"), backup.path("IMG_1-1.JPG"));
    EXPECT_FALSE(holds());
    backup.add("IMG_1-2.JPG", "bytes");
    EXPECT_TRUE(holds());
}

TEST_F(BackupSearchTest, FollowsNoLink)
{
    std::filesystem::create_symlink(target.path("IMG_1.JPG"), backup.path("IMG_1.JPG"));
    std::filesystem::create_symlink("nowhere", backup.path("IMG_1-1.JPG"));
    backup.addFolder("IMG_1-2.JPG");
    EXPECT_FALSE(holds());
}

TEST_F(BackupSearchTest, NumbersNamesWithoutExtensionAndWithSeveralDots)
{
    backup.add("plain-1", "bytes");
    backup.add("a.b-1.JPG", "bytes");
    EXPECT_TRUE(holds("plain"));
    EXPECT_TRUE(holds("a.b.JPG"));
    EXPECT_FALSE(holds("a.b"));
}

TEST_F(BackupSearchTest, FindsNothingInAFolderThatIsNotThere)
{
    std::filesystem::remove_all(backup.path());
    EXPECT_FALSE(holds());
}

} // namespace
} // namespace mfx
