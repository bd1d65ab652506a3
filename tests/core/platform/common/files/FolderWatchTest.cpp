#include "platform/common/files/FolderWatch.h"

#include "support/TestFolder.h"

#include <chrono>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <poll.h>

namespace fs = std::filesystem;

namespace {

class FolderWatchTest : public testing::Test {
protected:
    bool isReadable(const Pt::FolderWatch& watch, int milliseconds = 5000) const
    {
        pollfd wanted{watch.descriptor(), POLLIN, 0};
        return ::poll(&wanted, 1, milliseconds) == 1;
    }

    test::TestFolder m_folder;
};

TEST_F(FolderWatchTest, IsSilentAsLongAsNothingChanges)
{
    m_folder.write("a.jpg", "x");
    Pt::FolderWatch watch(m_folder.path());
    EXPECT_TRUE(watch.isWatching());
    EXPECT_FALSE(watch.takeChanges());
    EXPECT_FALSE(isReadable(watch, 0));
}

TEST_F(FolderWatchTest, TellsOfAFileThatCameAndIsSilentOnceItWasHeard)
{
    Pt::FolderWatch watch(m_folder.path());
    m_folder.write("a.jpg", "x");
    EXPECT_TRUE(isReadable(watch));
    EXPECT_TRUE(watch.takeChanges());
    EXPECT_FALSE(isReadable(watch, 0));
}

TEST_F(FolderWatchTest, TellsOfContentNameRightsAndRemoval)
{
    const std::string path = m_folder.write("a.jpg", "x");
    Pt::FolderWatch watch(m_folder.path());
    std::ofstream(path, std::ios::app) << "more";
    EXPECT_TRUE(watch.takeChanges()) << "content";
    fs::rename(path, m_folder.path("b.jpg"));
    EXPECT_TRUE(watch.takeChanges()) << "name";
    fs::permissions(m_folder.path("b.jpg"), fs::perms::owner_read);
    EXPECT_TRUE(watch.takeChanges()) << "rights";
    fs::remove(m_folder.path("b.jpg"));
    EXPECT_TRUE(watch.takeChanges()) << "removal";
    fs::create_hard_link(m_folder.write("c.jpg", "x"), m_folder.path("d.jpg"));
    EXPECT_TRUE(watch.takeChanges()) << "a second name";
    EXPECT_TRUE(watch.isWatching());
}

TEST_F(FolderWatchTest, SaysNothingOfFoldersBelow)
{
    fs::create_directory(m_folder.path("below"));
    Pt::FolderWatch watch(m_folder.path());
    m_folder.write("below/a.jpg", "x");
    EXPECT_FALSE(watch.takeChanges());
}

TEST_F(FolderWatchTest, EndsWhenItsFolderIsRemoved)
{
    const std::string path = m_folder.path("gone");
    fs::create_directory(path);
    Pt::FolderWatch watch(path);
    fs::remove(path);
    EXPECT_TRUE(watch.takeChanges());
    EXPECT_FALSE(watch.isWatching());
}

TEST_F(FolderWatchTest, EndsWhenItsFolderIsMovedAway)
{
    const std::string path = m_folder.path("moved");
    fs::create_directory(path);
    Pt::FolderWatch watch(path);
    fs::rename(path, m_folder.path("elsewhere"));
    EXPECT_TRUE(watch.takeChanges());
    EXPECT_FALSE(watch.isWatching());
}

TEST_F(FolderWatchTest, WatchesNothingWhereThereIsNoFolder)
{
    Pt::FolderWatch missing(m_folder.path("missing"));
    EXPECT_FALSE(missing.isWatching());
    EXPECT_FALSE(missing.takeChanges());
    Pt::FolderWatch file(m_folder.write("file", "x"));
    EXPECT_FALSE(file.isWatching());
    Pt::FolderWatch none;
    EXPECT_FALSE(none.takeChanges());
}

TEST_F(FolderWatchTest, LeavesNoDescriptorOpen)
{
    const auto before = test::openDescriptors();
    {
        Pt::FolderWatch watch(m_folder.path());
        watch = Pt::FolderWatch(m_folder.path());
    }
    EXPECT_EQ(test::openDescriptors(), before);
}

} // namespace
