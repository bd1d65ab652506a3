#include "pictures/folder/FolderContents.h"

#include "pictures/folder/PathText.h"
#include "support/TestFolder.h"

#include <filesystem>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace pictures {

class FolderContentsTest : public testing::Test {
protected:
    QString folder() const { return QString::fromStdString(m_folder.path()); }

    std::vector<std::string> shownNames() const
    {
        std::vector<std::string> names;
        for (const PictureGroup& group : listFolder(folder()).groups)
            names.push_back(group.name.toStdString());
        return names;
    }
    void write(std::initializer_list<const char*> names)
    {
        for (const char* const name : names)
            m_folder.write(name, "bytes");
    }

    test::TestFolder m_folder;
};

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST_F(FolderContentsTest, ShowsPicturesAndNothingElse)
{
    write({"b.jpg", "notes.txt", "a.png", ".hidden.jpg", "noextension"});
    fs::create_directory(m_folder.path("folder.jpg"));
    EXPECT_THAT(shownNames(), ElementsAre("a.png", "b.jpg"));
}

TEST_F(FolderContentsTest, SortsNumbersAsPeopleDo)
{
    write({"img10.jpg", "img9.jpg", "img100.jpg"});
    EXPECT_THAT(shownNames(), ElementsAre("img9.jpg", "img10.jpg", "img100.jpg"));
}

TEST_F(FolderContentsTest, ShowsTheJpegOfARawFileAndNamesWhatBelongsToIt)
{
    write({"a.NEF", "a.JPG", "a.xmp", "a.NEF.xmp"});
    const FolderContents contents = listFolder(folder());
    ASSERT_EQ(contents.groups.size(), 1U);
    EXPECT_EQ(contents.groups[0].name, u"a.JPG");
    EXPECT_EQ(contents.groups[0].kind, PictureKind::kJpeg);
    EXPECT_EQ(contents.groups[0].companions, QStringList({"a.NEF", "a.NEF.xmp", "a.xmp"}));
}

TEST_F(FolderContentsTest, ShowsAMovieByItselfWithItsStill)
{
    write({"MVI_1.AVI", "MVI_1.THM"});
    const FolderContents contents = listFolder(folder());
    ASSERT_EQ(contents.groups.size(), 1U);
    EXPECT_EQ(contents.groups[0].name, u"MVI_1.AVI");
    EXPECT_EQ(contents.groups[0].companions, QStringList({"MVI_1.THM"}));
}

TEST_F(FolderContentsTest, ShowsThePictureOfALivePhoto)
{
    write({"IMG_1.HEIC", "IMG_1.MOV"});
    EXPECT_THAT(shownNames(), ElementsAre("IMG_1.HEIC"));
}

TEST_F(FolderContentsTest, LeavesOutSidecarsWithoutAPicture)
{
    write({"lonely.xmp", "lonely.THM"});
    EXPECT_THAT(shownNames(), IsEmpty());
}

TEST_F(FolderContentsTest, FollowsLinksToFilesButNotThoseThatLeadNowhere)
{
    const std::string target = m_folder.write("elsewhere/target", "bytes");
    fs::create_symlink(target, m_folder.path("link.jpg"));
    fs::create_symlink(m_folder.path("nowhere"), m_folder.path("dangling.jpg"));
    fs::create_symlink(m_folder.path("loop.jpg"), m_folder.path("loop.jpg"));
    EXPECT_THAT(shownNames(), ElementsAre("link.jpg"));
}

TEST_F(FolderContentsTest, KnowsSizesAndTimesOnlyOnceItHasLooked)
{
    write({"a.jpg"});
    FolderContents contents = listFolder(folder());
    EXPECT_EQ(contents.groups[0].bytes, -1);
    addFileStatus(contents);
    EXPECT_EQ(contents.groups[0].bytes, 5);
    EXPECT_GT(contents.groups[0].modified, 1'600'000'000'000'000'000);
}

TEST_F(FolderContentsTest, LeavesOutWhatIsGoneByThen)
{
    write({"a.jpg", "b.jpg"});
    FolderContents contents = listFolder(folder());
    fs::remove(m_folder.path("a.jpg"));
    addFileStatus(contents);
    ASSERT_EQ(contents.groups.size(), 1U);
    EXPECT_EQ(contents.groups[0].name, u"b.jpg");
}

TEST_F(FolderContentsTest, SaysWhyAFolderCannotBeRead)
{
    const FolderContents missing = listFolder(folder() + "/missing");
    EXPECT_FALSE(missing.problem.isEmpty());
    EXPECT_TRUE(missing.groups.empty());
    const FolderContents file =
        listFolder(QString::fromStdString(m_folder.write("file.jpg", "bytes")));
    EXPECT_FALSE(file.problem.isEmpty());
    EXPECT_TRUE(listFolder(folder()).problem.isEmpty());
}

TEST_F(FolderContentsTest, EndsSoonWhenItIsCancelled)
{
    write({"a.jpg", "b.jpg"});
    const std::atomic<bool> cancelled = true;
    EXPECT_TRUE(listFolder(folder(), &cancelled).groups.empty());
    FolderContents contents = listFolder(folder());
    addFileStatus(contents, &cancelled);
    EXPECT_EQ(contents.groups[0].bytes, -1);
}

TEST_F(FolderContentsTest, ReadsNamesOfAllLetters)
{
    write({"ä ö.jpg", "日本.jpg", "qu'ote\".jpg", "back\\slash.jpg"});
    EXPECT_EQ(shownNames().size(), 4U);
}

TEST_F(FolderContentsTest, FindsFilesWhoseNamesAreNoUtf8)
{
    write({"Gr\xFC\xDF.jpg", "Gr\xFC\xDF.xmp", "Gr\xDF\xFC.jpg", "a\nb.jpg"});
    FolderContents contents = listFolder(folder());
    addFileStatus(contents);
    std::vector<std::string> names;
    for (const PictureGroup& group : contents.groups) {
        names.push_back(pathBytes(group.name));
        EXPECT_EQ(group.bytes, 5);
    }
    EXPECT_THAT(names, UnorderedElementsAre("Gr\xFC\xDF.jpg", "Gr\xDF\xFC.jpg", "a\nb.jpg"));
}

TEST_F(FolderContentsTest, ShowsWhatTheFoldersBelowHoldWhereItHasNoPicturesItself)
{
    write({"2021-04-08/a.jpg",
        "2021-04-08/a.nef",
        "2021-04-09/a.jpg",
        "notes.txt",
        ".hidden/x.jpg",
        "1/2/3/deep.jpg",
        "1/2/3/4/deeper.jpg"});
    fs::create_directory_symlink(m_folder.path("2021-04-08"), m_folder.path("link"));
    EXPECT_THAT(
        shownNames(), ElementsAre("1/2/3/deep.jpg", "2021-04-08/a.jpg", "2021-04-09/a.jpg"));
    EXPECT_EQ(listFolder(folder()).groups[1].companions, QStringList({"2021-04-08/a.nef"}));
    FolderContents contents = listFolder(folder());
    addFileStatus(contents);
    EXPECT_EQ(contents.groups[2].bytes, 5);
}

TEST_F(FolderContentsTest, ShowsItsOwnPicturesAloneWhereItHasSome)
{
    write({"a.jpg", "below/b.jpg"});
    EXPECT_THAT(shownNames(), ElementsAre("a.jpg"));
}

} // namespace pictures
