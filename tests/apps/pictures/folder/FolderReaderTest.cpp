#include "pictures/folder/FolderReader.h"

#include "apps/pictures/PictureFolder.h"

#include <filesystem>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace pictures {

using test::happens;

class FolderReaderTest : public testing::Test {
protected:
    FolderReaderTest()
    {
        QObject::connect(&m_reader,
            &FolderReader::contentsRead,
            &m_reader,
            [this](const FolderContents& contents) { m_seen.push_back(contents); });
        QObject::connect(&m_reader, &FolderReader::finished, &m_reader, [this] { ++m_finished; });
    }
    bool shows(std::size_t count) const
    {
        return !m_seen.empty() && m_seen.back().groups.size() == count
            && (count == 0 || m_seen.back().groups.front().bytes >= 0);
    }

    test::PictureFolder m_folder;
    FolderReader m_reader;
    std::vector<FolderContents> m_seen;
    int m_finished = 0;
};

TEST_F(FolderReaderTest, GivesNamesFirstThenSizes)
{
    m_folder.addPicture("a.png");
    m_reader.follow(m_folder.path());
    EXPECT_TRUE(m_reader.isReading());
    ASSERT_TRUE(happens([&] { return m_finished == 1; }));
    ASSERT_EQ(m_seen.size(), 2U);
    EXPECT_EQ(m_seen[0].groups.at(0).bytes, -1);
    EXPECT_GT(m_seen[1].groups.at(0).bytes, 0);
    EXPECT_FALSE(m_reader.isReading());
}

TEST_F(FolderReaderTest, FollowsWhatComesAndGoes)
{
    m_reader.follow(m_folder.path());
    ASSERT_TRUE(happens([&] { return m_finished == 1; }));
    m_folder.addPicture("a.png");
    EXPECT_TRUE(happens([&] { return shows(1); }));
    m_folder.addPicture("b.png");
    EXPECT_TRUE(happens([&] { return shows(2); }));
    fs::remove(m_folder.path("a.png").toStdString());
    EXPECT_TRUE(happens([&] { return shows(1); }));
}

TEST_F(FolderReaderTest, NoticesAFileWithOtherContent)
{
    m_folder.addBytes("a.jpg", "one");
    m_reader.follow(m_folder.path());
    ASSERT_TRUE(happens([&] { return shows(1); }));
    m_folder.addBytes("a.jpg", "longer");
    EXPECT_TRUE(happens([&] { return m_seen.back().groups.at(0).bytes == 6; }));
}

TEST_F(FolderReaderTest, ReadsASwarmOfChangesFewTimes)
{
    m_reader.follow(m_folder.path());
    ASSERT_TRUE(happens([&] { return m_finished == 1; }));
    for (int i = 0; i < 500; ++i)
        m_folder.addBytes(std::to_string(i) + ".jpg", "x");
    EXPECT_TRUE(happens([&] { return shows(500); }));
    EXPECT_LE(m_finished, 10);
}

TEST_F(FolderReaderTest, SaysSoWhenTheFolderGoesAndFindsItAgain)
{
    const std::string path = m_folder.path("trip").toStdString();
    fs::create_directory(path);
    m_folder.addBytes("trip/a.jpg", "x");
    m_reader.follow(QString::fromStdString(path));
    ASSERT_TRUE(happens([&] { return shows(1); }));
    fs::rename(path, path + "-away");
    EXPECT_TRUE(happens([&] { return !m_seen.back().problem.isEmpty(); }));
    EXPECT_TRUE(m_seen.back().groups.empty());
    fs::rename(path + "-away", path);
    EXPECT_TRUE(happens([&] { return shows(1); }));
    m_folder.addBytes("trip/b.jpg", "x");
    EXPECT_TRUE(happens([&] { return shows(2); })) << "it is watched again";
}

TEST_F(FolderReaderTest, ForgetsTheFormerFolder)
{
    fs::create_directory(m_folder.path("one").toStdString());
    fs::create_directory(m_folder.path("two").toStdString());
    m_folder.addBytes("one/a.jpg", "x");
    m_reader.follow(m_folder.path("one"));
    m_reader.follow(m_folder.path("two"));
    ASSERT_TRUE(happens([&] { return m_finished == 1; }));
    for (const FolderContents& contents : m_seen)
        EXPECT_EQ(contents.folder, m_folder.path("two"));
}

TEST_F(FolderReaderTest, FollowsNoneAfterAnEmptyPath)
{
    m_reader.follow(m_folder.path());
    m_reader.follow({});
    m_reader.refresh();
    EXPECT_FALSE(m_reader.isReading());
    QCoreApplication::processEvents();
    EXPECT_TRUE(m_seen.empty());
}

TEST_F(FolderReaderTest, ReadsAgainWhenAsked)
{
    m_reader.follow(m_folder.path());
    ASSERT_TRUE(happens([&] { return m_finished == 1; }));
    m_reader.refresh();
    EXPECT_TRUE(happens([&] { return m_finished == 2; }));
    EXPECT_EQ(m_seen.size(), 3U) << "names alone come the first time only";
}

TEST_F(FolderReaderTest, CanBeLeftInTheMiddle)
{
    for (int i = 0; i < 2000; ++i)
        m_folder.addBytes(std::to_string(i) + ".jpg", "x");
    FolderReader reader;
    reader.follow(m_folder.path());
    QCoreApplication::processEvents();
}

} // namespace pictures
