#include "mfx/engine/saving/FinalFolders.h"

#include "apps/mfx/engine/SavingFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace mfx {
namespace {

using tests::namesBelow;
using tests::TestCard;

class FinalFoldersTest : public testing::Test {
protected:
    TestCard target;
    CardContents card; // nothing is on it
    PlaceWatch places{card, target.path(), std::nullopt, false};
};

TEST_F(FinalFoldersTest, KnowsStemsByAnyFileThatHasThem)
{
    target.add("IMG_1.xmp");
    target.add("IMG_2.CR2.xmp");
    target.add("plain");
    StemRegister stems;
    stems.read(target.path());
    EXPECT_TRUE(stems.isTaken("IMG_1.JPG"));
    EXPECT_TRUE(stems.isTaken("IMG_2.JPG"));
    EXPECT_TRUE(stems.isTaken("plain.jpg"));
    EXPECT_FALSE(stems.isTaken("IMG_3.JPG"));
    EXPECT_FALSE(stems.isTaken("IMG.JPG"));
    stems.take("IMG_3.MOV");
    EXPECT_TRUE(stems.isTaken("IMG_3.JPG"));
}

TEST_F(FinalFoldersTest, MakesEachFolderOnce)
{
    FinalFolders folders(target.path(), places);
    FinalFolder& folder = folders.open("2024/05");
    EXPECT_EQ(folder.path, target.path("2024/05"));
    EXPECT_FALSE(folder.error);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path));
    EXPECT_EQ(&folders.open("2024/05"), &folder);
    EXPECT_EQ(folders.open("").path, target.path());
}

TEST_F(FinalFoldersTest, OnlyLooksForAPlan)
{
    target.add(".mfxdownload/IMG_1.CR2", "raw");
    target.addFolder("2024/.mfxdownload");
    target.add("IMG_2.JPG");
    const auto before = namesBelow(target.path());
    FinalFolders folders(target.path(), places, true);
    EXPECT_TRUE(folders.open("").stems.isTaken("IMG_2.CR2"));
    folders.open("2024");
    folders.open("2025");
    EXPECT_THAT(folders.takeRestored(), IsEmpty());
    folders.leave();
    EXPECT_EQ(namesBelow(target.path()), before);
}

TEST_F(FinalFoldersTest, SaysWhyAFolderCannotBeUsed)
{
    target.add("2024", "a file");
    FinalFolders folders(target.path(), places);
    EXPECT_EQ(folders.open("2024").error, std::errc::file_exists);
    EXPECT_TRUE(folders.open("2024/05").error);
    EXPECT_FALSE(folders.open("2025").error);
}

TEST_F(FinalFoldersTest, TellsOfEachRestoredFileOnceAndKnowsItsStem)
{
    target.add("2024/.mfxdownload/IMG_1.CR2", "raw");
    FinalFolders folders(target.path(), places);
    EXPECT_TRUE(folders.open("2024").stems.isTaken("IMG_1.JPG"));
    EXPECT_THAT(folders.takeRestored(), ElementsAre(target.path("2024/IMG_1.CR2")));
    folders.open("2024");
    EXPECT_THAT(folders.takeRestored(), IsEmpty());
}

TEST_F(FinalFoldersTest, LeavesNoWorkFolder)
{
    FinalFolders folders(target.path(), places);
    std::error_code error;
    for (const char* name : {"", "2024"}) {
        WorkFolder& work = folders.open(name).work;
        work.dropItemFolder(work.makeItemFolder(error).value());
    }
    folders.leave();
    EXPECT_THAT(namesBelow(target.path()), ElementsAre("2024"));
}

TEST_F(FinalFoldersTest, FlushesAllThatIsThereAndReportsWhatIsNot)
{
    target.add("file", "x");
    FinalFolders folders(target.path(), places);
    EXPECT_FALSE(folders.flush());
    folders.open("file"); // cannot be used, so there is nothing in it to flush
    folders.open("2024/05");
    EXPECT_FALSE(folders.flush());
    std::filesystem::remove_all(target.path("2024/05"));
    EXPECT_EQ(folders.flush(), std::errc::no_such_file_or_directory);
}

} // namespace
} // namespace mfx
