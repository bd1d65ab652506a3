#include "pictures/thumbnails/ThumbnailLoader.h"

#include "apps/pictures/support/PictureBytes.h"
#include "pictures/folder/PathText.h"
#include "pictures/thumbnails/ThumbnailName.h"
#include "support/TestFolder.h"

#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>

namespace pictures {
namespace {

using tests::encoded;
using tests::slopes;

constexpr qint64 kThen = 1'600'000'000;

class ThumbnailLoaderTest : public testing::Test {
protected:
    ThumbnailSubject subjectOf(
        const std::string& name, const std::string& bytes, qint64 time = kThen) const
    {
        const std::string path = m_folder.write(name, bytes);
        setTime(path, time);
        return {QString::fromStdString(path), time, static_cast<qint64>(bytes.size())};
    }
    static void setTime(const std::string& path, qint64 time)
    {
        const timespec times[2] = {{time, 500}, {time, 500}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    ThumbnailResult load(
        const ThumbnailSubject& subject, ThumbnailSize size = ThumbnailSize::kNormal) const
    {
        return loadThumbnail(m_store, subject, size, nullptr);
    }

    const test::TestFolder m_folder;
    const ThumbnailStore m_store{QString::fromStdString(m_folder.path("store"))};
};

TEST_F(ThumbnailLoaderTest, ReadsAPictureOnceAndThenTheStore)
{
    const ThumbnailSubject subject = subjectOf("a.jpg", encoded(slopes(800, 400), "jpg"));
    const ThumbnailResult first = load(subject);
    EXPECT_EQ(first.status, ReadStatus::kDone);
    EXPECT_FALSE(first.fromStore);
    EXPECT_EQ(first.image.size(), QSize(128, 64));
    EXPECT_EQ(first.fullSize, QSize(800, 400));
    const ThumbnailResult second = load(subject);
    EXPECT_TRUE(second.fromStore);
    EXPECT_EQ(second.fullSize, QSize(800, 400));
    EXPECT_EQ(tests::difference(second.image, first.image), 0);
}

TEST_F(ThumbnailLoaderTest, TellsTheFullSizeOfALargerThumbnailToo)
{
    const ThumbnailSubject subject = subjectOf("a.jpg", encoded(slopes(800, 400), "jpg"));
    load(subject, ThumbnailSize::kXLarge);
    const ThumbnailResult smaller = load(subject);
    EXPECT_TRUE(smaller.fromStore);
    EXPECT_EQ(smaller.image.size(), QSize(128, 64));
    EXPECT_EQ(smaller.fullSize, QSize(800, 400));
}

// The store's address of it has the bytes themselves.
TEST_F(ThumbnailLoaderTest, ReadsAPictureWhoseNameIsNoUtf8)
{
    ThumbnailSubject subject = subjectOf("Gr\xFC\xDF\n.jpg", encoded(slopes(800, 400), "jpg"));
    subject.path = pathText(m_folder.path("Gr\xFC\xDF\n.jpg"));
    EXPECT_EQ(load(subject).status, ReadStatus::kDone);
    EXPECT_TRUE(load(subject).fromStore);
    EXPECT_TRUE(fileUri(subject.path).endsWith("/Gr%FC%DF%0A.jpg"));
}

TEST_F(ThumbnailLoaderTest, NotesWhatIsBrokenUntilItChanges)
{
    const ThumbnailSubject broken = subjectOf("a.jpg", "no picture");
    EXPECT_EQ(load(broken).status, ReadStatus::kBroken);
    EXPECT_TRUE(m_store.isKnownToFail(broken));
    EXPECT_TRUE(load(broken).fromStore);
    const ThumbnailSubject mended = subjectOf("a.jpg", encoded(slopes(9, 9), "jpg"), kThen + 1);
    EXPECT_EQ(load(mended).status, ReadStatus::kDone);
    const std::string huge = tests::withDimensions(encoded(slopes(16, 16), "jpg"), 60'000, 60'000);
    const ThumbnailSubject large = subjectOf("b.jpg", huge);
    EXPECT_EQ(load(large).status, ReadStatus::kTooLarge);
    EXPECT_TRUE(m_store.isKnownToFail(large));
}

TEST_F(ThumbnailLoaderTest, NotesNothingOfWhatMayBeReadLater)
{
    ThumbnailSubject gone = subjectOf("a.jpg", "x");
    std::filesystem::remove(m_folder.path("a.jpg"));
    EXPECT_EQ(load(gone).status, ReadStatus::kUnreadable);
    EXPECT_FALSE(m_store.isKnownToFail(gone));
    const ThumbnailSubject subject = subjectOf("b.jpg", encoded(slopes(9, 9), "jpg"));
    const std::atomic<bool> cancelled = true;
    EXPECT_EQ(loadThumbnail(m_store, subject, ThumbnailSize::kNormal, &cancelled).status,
        ReadStatus::kCancelled);
    EXPECT_FALSE(m_store.isKnownToFail(subject));
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("store")));
}

TEST_F(ThumbnailLoaderTest, StoresNothingOfAPictureThatMayStillChange)
{
    const ThumbnailSubject fresh =
        subjectOf("a.jpg", encoded(slopes(9, 9), "jpg"), std::time(nullptr));
    EXPECT_EQ(load(fresh).status, ReadStatus::kDone);
    ThumbnailSubject stale = subjectOf("b.jpg", encoded(slopes(9, 9), "jpg"));
    stale.modified -= 1;
    EXPECT_EQ(load(stale).status, ReadStatus::kDone);
    stale.modified += 1;
    stale.bytes += 1;
    EXPECT_EQ(load(stale).status, ReadStatus::kDone);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("store")));
    const ThumbnailSubject half = subjectOf("c.jpg", "half", std::time(nullptr));
    EXPECT_EQ(load(half).status, ReadStatus::kBroken);
    EXPECT_FALSE(m_store.isKnownToFail(half));
}

TEST_F(ThumbnailLoaderTest, ShowsAPictureAlthoughTheStoreTakesNothing)
{
    m_folder.write("store", "a file");
    const ThumbnailSubject subject = subjectOf("a.jpg", encoded(slopes(9, 9), "jpg"));
    EXPECT_EQ(load(subject).status, ReadStatus::kDone);
    EXPECT_FALSE(load(subject).fromStore);
}

} // namespace
} // namespace pictures
