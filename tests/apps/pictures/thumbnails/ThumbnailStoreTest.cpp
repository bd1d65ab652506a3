#include "pictures/thumbnails/ThumbnailStore.h"

#include "apps/pictures/support/PictureBytes.h"
#include "pictures/thumbnails/ThumbnailName.h"
#include "support/Environment.h"
#include "support/TestFolder.h"

#include <sys/stat.h>
#include <unistd.h>

namespace pictures {
namespace {

using tests::difference;
using tests::slopes;

class ThumbnailStoreTest : public testing::Test {
protected:
    std::string fileOf(const std::string& size, const ThumbnailSubject& subject) const
    {
        return m_folder.path(
            "cache/thumbnails/" + size + '/' + thumbnailName(fileUri(subject.path)).toStdString());
    }
    static unsigned int modeOf(const std::string& path)
    {
        struct stat status { };
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 0777;
    }
    static std::ptrdiff_t filesIn(const std::string& folder)
    {
        const std::filesystem::directory_iterator files(folder);
        return std::distance(begin(files), end(files));
    }

    const test::TestFolder m_folder;
    const ThumbnailStore m_store{QString::fromStdString(m_folder.path("cache/thumbnails"))};
    const ThumbnailSubject m_subject{QStringLiteral("/photos/a b.jpg"), 1'600'000'000, 12'345};
};

TEST_F(ThumbnailStoreTest, GivesBackWhatWasSaved)
{
    EXPECT_FALSE(m_store.find(m_subject, ThumbnailSize::kLarge).has_value());
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kLarge, slopes(200, 100)));
    const auto found = m_store.find(m_subject, ThumbnailSize::kLarge);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(difference(*found, slopes(200, 100)), 0);
}

TEST_F(ThumbnailStoreTest, ScalesDownWhatIsTooLargeAndNothingElse)
{
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kNormal, slopes(600, 300)));
    EXPECT_EQ(m_store.find(m_subject, ThumbnailSize::kNormal)->size(), QSize(128, 64));
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kNormal, slopes(20, 10)));
    EXPECT_EQ(m_store.find(m_subject, ThumbnailSize::kNormal)->size(), QSize(20, 10));
}

TEST_F(ThumbnailStoreTest, TakesALargerOneButNoSmallerOne)
{
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kXLarge, slopes(512, 256)));
    EXPECT_EQ(m_store.find(m_subject, ThumbnailSize::kNormal)->size(), QSize(128, 64));
    EXPECT_FALSE(m_store.find(m_subject, ThumbnailSize::kXXLarge).has_value());
}

TEST_F(ThumbnailStoreTest, GivesNothingForAPictureThatChangedOrAnotherOne)
{
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kLarge, slopes(20, 10)));
    ThumbnailSubject other = m_subject;
    other.modified += 1;
    EXPECT_FALSE(m_store.find(other, ThumbnailSize::kLarge).has_value());
    other = m_subject;
    other.bytes += 1;
    EXPECT_FALSE(m_store.find(other, ThumbnailSize::kLarge).has_value());
    other = m_subject;
    other.path = QStringLiteral("/photos/b.jpg");
    std::filesystem::copy(fileOf("large", m_subject), fileOf("large", other));
    EXPECT_FALSE(m_store.find(other, ThumbnailSize::kLarge).has_value());
}

TEST_F(ThumbnailStoreTest, LiesWhereTheStandardHasItForItsOwnerAlone)
{
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kXXLarge, slopes(20, 10)));
    ASSERT_TRUE(m_store.saveFailure(m_subject));
    for (const char* folder : {"cache",
             "cache/thumbnails",
             "cache/thumbnails/xx-large",
             "cache/thumbnails/fail",
             "cache/thumbnails/fail/tevoro-2.0"})
        EXPECT_EQ(modeOf(m_folder.path(folder)), 0700U) << folder;
    for (const char* size : {"xx-large", "fail/tevoro-2.0"})
        EXPECT_EQ(modeOf(fileOf(size, m_subject)), 0600U) << size;
    EXPECT_EQ(filesIn(m_folder.path("cache/thumbnails/xx-large")), 1);
}

TEST_F(ThumbnailStoreTest, IsTheUsersOwnWhereNoFolderIsNamed)
{
    test::Environment environment;
    environment.set("XDG_CACHE_HOME", m_folder.path("cache"));
    EXPECT_EQ(ThumbnailStore().folder(), m_store.folder());
}

TEST_F(ThumbnailStoreTest, NotesFailuresOfAPictureAsItIs)
{
    EXPECT_FALSE(m_store.isKnownToFail(m_subject));
    ASSERT_TRUE(m_store.saveFailure(m_subject));
    EXPECT_TRUE(m_store.isKnownToFail(m_subject));
    EXPECT_FALSE(m_store.find(m_subject, ThumbnailSize::kNormal).has_value());
    ThumbnailSubject changed = m_subject;
    changed.modified += 1;
    EXPECT_FALSE(m_store.isKnownToFail(changed));
}

TEST_F(ThumbnailStoreTest, RefusesRubbish)
{
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kNormal, slopes(20, 10)));
    const std::string path = fileOf("normal", m_subject);
    const std::string whole = test::read(path);
    const auto isFound = [this] {
        return m_store.find(m_subject, ThumbnailSize::kNormal).has_value();
    };
    ASSERT_TRUE(isFound());
    for (const std::string& rubbish :
        {std::string(), std::string(5000, 'x'), whole.substr(0, 60)}) {
        std::ofstream(path, std::ios::binary) << rubbish;
        EXPECT_FALSE(isFound()) << rubbish.size();
    }
    std::filesystem::remove(path);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_FALSE(isFound());
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_FALSE(isFound());
    EXPECT_FALSE(m_store.save(m_subject, ThumbnailSize::kNormal, slopes(20, 10)));
    EXPECT_EQ(filesIn(m_folder.path("cache/thumbnails/normal")), 1);
}

TEST_F(ThumbnailStoreTest, RefusesAThumbnailThatIsTooLargeForItsFolder)
{
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kXXLarge, slopes(1000, 10)));
    std::filesystem::create_directories(m_folder.path("cache/thumbnails/normal"));
    std::filesystem::rename(fileOf("xx-large", m_subject), fileOf("normal", m_subject));
    EXPECT_FALSE(m_store.find(m_subject, ThumbnailSize::kNormal).has_value());
}

TEST_F(ThumbnailStoreTest, KeepsNoThumbnailsOfWhatLiesInside)
{
    const std::string link = m_folder.path("link");
    m_folder.write("cache/thumbnails/normal/x.png", "x");
    std::filesystem::create_symlink(m_folder.path("cache/thumbnails"), link);
    for (const std::string& folder : {m_folder.path("cache/thumbnails"), link}) {
        ThumbnailSubject inside = m_subject;
        inside.path = QString::fromStdString(folder + "/normal/x.png");
        EXPECT_FALSE(m_store.save(inside, ThumbnailSize::kNormal, slopes(9, 9)));
        EXPECT_FALSE(m_store.saveFailure(inside));
    }
    EXPECT_EQ(filesIn(m_folder.path("cache/thumbnails/normal")), 1);
}

TEST_F(ThumbnailStoreTest, SavesNothingWhereItCannotOrMayNot)
{
    EXPECT_FALSE(m_store.save(m_subject, ThumbnailSize::kNormal, QImage()));
    ThumbnailSubject relative = m_subject;
    relative.path = QStringLiteral("a.jpg");
    EXPECT_FALSE(m_store.save(relative, ThumbnailSize::kNormal, slopes(9, 9)));
    m_folder.write("file", "no folder");
    const ThumbnailStore blocked(QString::fromStdString(m_folder.path("file/thumbnails")));
    EXPECT_FALSE(blocked.save(m_subject, ThumbnailSize::kNormal, slopes(9, 9)));
    EXPECT_FALSE(blocked.saveFailure(m_subject));
    EXPECT_FALSE(blocked.find(m_subject, ThumbnailSize::kNormal).has_value());
}

TEST_F(ThumbnailStoreTest, FollowsNoLinkInTheStore)
{
    ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kLarge, slopes(20, 10)));
    ASSERT_TRUE(m_store.saveFailure(m_subject));
    const std::filesystem::path store = m_folder.path("cache/thumbnails");
    for (const std::string part : {"large", "fail", "fail/tevoro-2.0"}) {
        const std::string elsewhere = m_folder.path("elsewhere");
        std::filesystem::rename(store / part, elsewhere);
        std::filesystem::create_directory_symlink(elsewhere, store / part);
        EXPECT_EQ(m_store.find(m_subject, ThumbnailSize::kLarge).has_value(), part != "large");
        EXPECT_EQ(m_store.isKnownToFail(m_subject), part == "large");
        EXPECT_EQ(m_store.save(m_subject, ThumbnailSize::kLarge, slopes(20, 10)), part != "large");
        EXPECT_EQ(m_store.saveFailure(m_subject), part == "large");
        std::filesystem::remove(store / part);
        std::filesystem::rename(elsewhere, store / part);
    }
}

TEST_F(ThumbnailStoreTest, MayLieOnAnotherDisk)
{
    std::filesystem::create_directories(m_folder.path("disk"));
    std::filesystem::create_directories(m_folder.path("cache"));
    std::filesystem::create_directory_symlink(
        m_folder.path("disk"), m_folder.path("cache/thumbnails"));
    EXPECT_TRUE(m_store.save(m_subject, ThumbnailSize::kLarge, slopes(20, 10)));
    EXPECT_TRUE(m_store.find(m_subject, ThumbnailSize::kLarge).has_value());
}

TEST_F(ThumbnailStoreTest, UsesNoFolderOfAnotherUser)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give a folder away";
    constexpr uid_t kNobody = 65534;
    for (const std::string part : {"large", "fail/tevoro-2.0", "fail", ""}) {
        ASSERT_TRUE(m_store.save(m_subject, ThumbnailSize::kLarge, slopes(20, 10)));
        ASSERT_TRUE(m_store.saveFailure(m_subject));
        const std::string folder = m_folder.path("cache/thumbnails/" + part);
        ASSERT_EQ(::chown(folder.c_str(), kNobody, kNobody), 0);
        const bool isForThumbnails = part == "large" || part.empty();
        EXPECT_EQ(m_store.find(m_subject, ThumbnailSize::kLarge).has_value(), !isForThumbnails);
        EXPECT_EQ(m_store.save(m_subject, ThumbnailSize::kLarge, slopes(20, 10)), !isForThumbnails);
        EXPECT_EQ(m_store.isKnownToFail(m_subject), part == "large");
        EXPECT_EQ(m_store.saveFailure(m_subject), part == "large");
        ASSERT_EQ(::chown(folder.c_str(), 0, 0), 0);
    }
}

TEST(ThumbnailSizeTest, IsTheSmallestThatIsEnough)
{
    EXPECT_EQ(thumbnailSizeFor(1), ThumbnailSize::kNormal);
    EXPECT_EQ(thumbnailSizeFor(128), ThumbnailSize::kNormal);
    EXPECT_EQ(thumbnailSizeFor(129), ThumbnailSize::kLarge);
    EXPECT_EQ(thumbnailSizeFor(600), ThumbnailSize::kXXLarge);
    EXPECT_EQ(thumbnailSizeFor(4000), ThumbnailSize::kXXLarge);
}

} // namespace
} // namespace pictures
