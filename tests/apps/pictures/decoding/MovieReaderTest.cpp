#include "pictures/decoding/MovieReader.h"

#include "apps/pictures/support/ReaderFixture.h"

namespace pictures {
namespace {

using tests::encoded;
using tests::slopes;

class MovieReaderTest : public tests::ReaderFixture {
protected:
    void layStillBeside(const std::string& name) const
    {
        m_folder.write(name, encoded(slopes(160, 90), "jpg"));
    }
};

TEST_F(MovieReaderTest, ShowsTheStillBesideAMovieHoweverItsExtensionIsWritten)
{
    for (const char* still : {"a.THM", "a.thm", "a.Thm"}) {
        layStillBeside(still);
        const Picture picture = readBytes("a.avi", "RIFF1234AVI ", {128, 128});
        EXPECT_EQ(picture.status, ReadStatus::kDone) << still;
        EXPECT_EQ(picture.fullSize, QSize(160, 90)) << still;
        std::filesystem::remove(m_folder.path(still));
    }
    EXPECT_EQ(readBytes("a.avi", "RIFF1234AVI ", {128, 128}).status, ReadStatus::kBroken);
}

TEST_F(MovieReaderTest, ShowsTheSmallStillOfABrokenMovieRatherThanNothing)
{
    layStillBeside("a.THM");
    EXPECT_EQ(readBytes("a.avi", "RIFF1234AVI ", {1000, 1000}).image.size(), QSize(160, 90));
    EXPECT_EQ(readBytes("a.avi", "RIFF1234AVI ").image.size(), QSize(160, 90));
}

// A list of further files, or of addresses, under a movie's name.
TEST_F(MovieReaderTest, OpensNothingThatAMovieNames)
{
    const QString sample = tests::samplePath("video/MVI_0121.AVI");
    if (sample.isEmpty())
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    std::filesystem::copy(sample.toStdString(), m_folder.path("b.avi"));
    ASSERT_EQ(read(QString::fromStdString(m_folder.path("b.avi"))).status, ReadStatus::kDone);
    const std::string play = "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\n"
        + m_folder.path("b.avi") + "\n#EXT-X-ENDLIST\n";
    EXPECT_EQ(readBytes("c.mts", play).status, ReadStatus::kBroken);
}

TEST_F(MovieReaderTest, PrefersTheMovieToAStillThatIsTooSmall)
{
    const QString sample = tests::samplePath("video/IMG_3589.mov");
    if (sample.isEmpty())
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    std::filesystem::create_symlink(sample.toStdString(), m_folder.path("a.mov"));
    layStillBeside("a.thm");
    const QString movie = QString::fromStdString(m_folder.path("a.mov"));
    EXPECT_EQ(read(movie, {200, 200}).fullSize, QSize(160, 90));
    EXPECT_EQ(read(movie, {512, 512}).fullSize, QSize(1440, 1080));
}

} // namespace
} // namespace pictures
