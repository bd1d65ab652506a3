#include "pictures/scheduling/ThumbnailQueue.h"

#include "apps/pictures/PictureFolder.h"
#include "apps/pictures/support/PictureBytes.h"

#include <map>

#include <gmock/gmock.h>

namespace pictures {

using State = ThumbnailQueue::State;
using test::happens;

class ThumbnailQueueTest : public testing::Test {
protected:
    void SetUp() override { makeQueue(1); }
    void TearDown() override { m_queue.reset(); }

    void makeQueue(int workers)
    {
        m_queue = std::make_unique<ThumbnailQueue>(ThumbnailStore(m_folder.store()), workers);
        QObject::connect(m_queue.get(), &ThumbnailQueue::changed, m_queue.get(), [this](int row) {
            m_order.push_back(row);
        });
    }
    // A column of pictures with a color of its own each.
    std::vector<ThumbnailSubject> pictures(int count)
    {
        std::vector<ThumbnailSubject> subjects;
        for (int i = 0; i < count; ++i)
            subjects.push_back({m_folder.addPicture(std::to_string(i) + ".png", color(i)), 1, 1});
        return subjects;
    }
    // One that bears a small picture of another color.
    ThumbnailSubject twoFaced(const std::string& name, QColor full, QColor small)
    {
        const auto jpeg = [](QColor filling, QSize size) {
            QImage image(size, QImage::Format_RGB32);
            image.fill(filling);
            return tests::encoded(image, "jpg");
        };
        const std::string bytes =
            tests::withThumbnail(jpeg(full, {600, 400}), jpeg(small, {60, 40}));
        return {m_folder.addBytes(name, bytes), 1, 1};
    }
    QColor colorShown(int row) const
    {
        const QImage image = m_queue->image(row);
        return image.isNull() ? QColor() : image.pixelColor(image.rect().center());
    }
    static QColor color(int i) { return QColor::fromHsv(i * 7 % 360, 255, 255); }
    bool shows(int row, int picture)
    {
        const QImage image = m_queue->image(row);
        return !image.isNull()
            && image.pixel(image.width() / 2, image.height() / 2) == color(picture).rgb();
    }

    test::PictureFolder m_folder;
    std::unique_ptr<ThumbnailQueue> m_queue;
    std::vector<int> m_order;
};

TEST_F(ThumbnailQueueTest, ReadsWhatIsVisibleFirstThenAroundItThenTheRest)
{
    m_queue->setVisible(10, 12);
    m_queue->setSubjects(pictures(20));
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    ASSERT_EQ(m_order.size(), 20U);
    EXPECT_EQ(std::vector(m_order.begin(), m_order.begin() + 3), std::vector({10, 11, 12}));
    EXPECT_EQ(std::vector(m_order.begin() + 3, m_order.begin() + 7), std::vector({13, 9, 14, 8}));
    for (int row = 7; row <= 15; ++row) {
        EXPECT_EQ(m_queue->state(row), State::kReady) << row;
        EXPECT_TRUE(shows(row, row)) << row;
    }
    EXPECT_EQ(m_queue->state(0), State::kStored);
    EXPECT_EQ(m_queue->state(19), State::kStored);
}

TEST_F(ThumbnailQueueTest, ReadsAgainWhatBecomesVisible)
{
    m_queue->setVisible(0, 1);
    m_queue->setSubjects(pictures(12));
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    EXPECT_EQ(m_queue->state(10), State::kStored);
    m_queue->setVisible(10, 11);
    EXPECT_TRUE(happens([&] { return shows(10, 10) && shows(11, 11); }));
}

TEST_F(ThumbnailQueueTest, KeepsWhatWasReadWhenRowsChangePlaces)
{
    std::vector<ThumbnailSubject> subjects = pictures(4);
    m_queue->setVisible(0, 3);
    m_queue->setSubjects(subjects);
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    std::ranges::reverse(subjects);
    m_order.clear();
    m_queue->setSubjects(subjects);
    EXPECT_TRUE(m_queue->isIdle());
    for (int row = 0; row < 4; ++row)
        EXPECT_TRUE(shows(row, 3 - row));
    EXPECT_TRUE(m_order.empty());
}

TEST_F(ThumbnailQueueTest, ReadsAPictureAnewThatHasChanged)
{
    std::vector<ThumbnailSubject> subjects = pictures(1);
    m_queue->setVisible(0, 0);
    m_queue->setSubjects(subjects);
    ASSERT_TRUE(happens([&] { return shows(0, 0); }));
    m_folder.addPicture("0.png", color(9));
    subjects[0].modified = 2;
    m_queue->setSubjects(subjects);
    EXPECT_TRUE(happens([&] { return shows(0, 9); }));
}

TEST_F(ThumbnailQueueTest, SaysWhatIsBrokenAndTriesItAgainWhenTheFolderIsReadAgain)
{
    const ThumbnailSubject subject{m_folder.addBytes("a.png", "no picture"), 1, 10};
    m_queue->setVisible(0, 0);
    m_queue->setSubjects({subject});
    ASSERT_TRUE(happens([&] { return m_queue->state(0) == State::kBroken; }));
    EXPECT_TRUE(m_queue->image(0).isNull());
    EXPECT_EQ(m_order, std::vector({0}));
    m_queue->setSubjects({subject});
    EXPECT_TRUE(happens([&] { return m_order.size() == 2; }));
}

TEST_F(ThumbnailQueueTest, WaitsForSizesAndTimes)
{
    std::vector<ThumbnailSubject> subjects = pictures(1);
    subjects[0].bytes = -1;
    m_queue->setVisible(0, 0);
    m_queue->setSubjects(subjects);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_queue->state(0), State::kUnread);
    subjects[0].bytes = 1;
    m_queue->setSubjects(subjects);
    EXPECT_TRUE(happens([&] { return shows(0, 0); }));
}

TEST_F(ThumbnailQueueTest, FitsImagesIntoTheBoxAndShowsTheFormerOnesUntilThen)
{
    m_queue->setBox(100);
    m_queue->setVisible(0, 0);
    m_queue->setSubjects(pictures(1));
    ASSERT_TRUE(happens([&] { return shows(0, 0); }));
    EXPECT_EQ(m_queue->image(0).width(), 100);
    m_queue->setBox(60);
    EXPECT_EQ(m_queue->image(0).width(), 100);
    EXPECT_TRUE(happens([&] { return m_queue->image(0).width() == 60; }));
}

TEST_F(ThumbnailQueueTest, StaysWithinItsBoundOfMemory)
{
    makeQueue(2);
    m_queue->setBox(1024);
    std::vector<ThumbnailSubject> subjects;
    for (int i = 0; i < 60; ++i)
        subjects.push_back(
            {m_folder.addPicture(std::to_string(i) + ".png", color(i), {1024, 1024}), 1, 1});
    m_queue->setVisible(0, 59);
    m_queue->setSubjects(subjects);
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    qint64 bytes = 0;
    for (int row = 59; row >= 0; --row)
        bytes += m_queue->image(row).sizeInBytes();
    EXPECT_GT(bytes, 60'000'000);
    EXPECT_LE(bytes, ThumbnailQueue::kImageBound);
}

TEST_F(ThumbnailQueueTest, SurvivesAnyOrderOfCalls)
{
    makeQueue(3);
    std::vector<ThumbnailSubject> subjects = pictures(30);
    for (int i = 0; i < 200; ++i) {
        switch (i * 7 % 5) {
        case 0:
            m_queue->setVisible(i % 30, i % 30 + 4);
            break;
        case 1:
            m_queue->setBox(64 + i % 3 * 50);
            break;
        case 2:
            m_queue->setSubjects({subjects.begin(), subjects.begin() + i % 30});
            break;
        case 3:
            m_queue->setVisible(0, -1);
            break;
        default:
            QCoreApplication::processEvents();
        }
    }
    m_queue->setSubjects(subjects);
    m_queue->setBox(64);
    m_queue->setVisible(0, 29);
    EXPECT_TRUE(happens([&] {
        for (int row = 0; row < 30; ++row) {
            if (!shows(row, row) || m_queue->image(row).width() != 64)
                return false;
        }
        return m_queue->isIdle();
    }));
}

// The first looks at all that is visible stand before the first thumbnail does.
TEST_F(ThumbnailQueueTest, ShowsAFirstLookAtAllThatIsVisible)
{
    std::vector<ThumbnailSubject> subjects;
    for (const char* const name : {"a.jpg", "b.jpg", "c.jpg"})
        subjects.push_back(twoFaced(name, Qt::blue, Qt::red));
    std::vector<std::pair<int, bool>> shown; // rows, and whether it was the first look
    QObject::connect(m_queue.get(), &ThumbnailQueue::changed, m_queue.get(), [&](int row) {
        shown.emplace_back(row, colorShown(row).red() > 200);
    });
    m_queue->setBox(90);
    m_queue->setVisible(0, 1);
    m_queue->setSubjects(subjects);
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    EXPECT_EQ(shown,
        (std::vector<std::pair<int, bool>>{
            {0, true}, {1, true}, {0, false}, {1, false}, {2, false}}));
    for (int row = 0; row < 3; ++row) {
        EXPECT_EQ(m_queue->state(row), State::kReady);
        EXPECT_GT(colorShown(row).blue(), 200) << row;
    }
}

TEST_F(ThumbnailQueueTest, ShowsAFirstLookInTheSizeOfTheThumbnail)
{
    QSize size;
    QObject::connect(m_queue.get(), &ThumbnailQueue::changed, m_queue.get(), [&](int row) {
        size = size.isEmpty() ? m_queue->image(row).size() : size;
    });
    m_queue->setBox(90);
    m_queue->setVisible(0, 0);
    m_queue->setSubjects({twoFaced("a.jpg", Qt::blue, Qt::red)});
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    EXPECT_EQ(size, QSize(90, 60));
}

TEST_F(ThumbnailQueueTest, TakesNoFirstLookWhereTheStoreHasTheThumbnail)
{
    const ThumbnailSubject subject = twoFaced("a.jpg", Qt::blue, Qt::red);
    QImage kept(200, 133, QImage::Format_RGB32);
    kept.fill(Qt::green);
    ThumbnailStore(m_folder.store()).save(subject, ThumbnailSize::kLarge, kept);
    m_queue->setVisible(0, 0);
    m_queue->setSubjects({subject});
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    EXPECT_EQ(m_order, std::vector({0})) << "shown once";
    EXPECT_EQ(colorShown(0), QColor(Qt::green));
}

TEST_F(ThumbnailQueueTest, DoesNotPutAFirstLookOverAFormerSize)
{
    m_queue->setBox(100);
    m_queue->setVisible(0, 0);
    m_queue->setSubjects({twoFaced("a.jpg", Qt::blue, Qt::red)});
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    m_order.clear();
    m_queue->setBox(300);
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    EXPECT_EQ(m_order, std::vector({0})) << "once";
    EXPECT_EQ(m_queue->image(0).width(), 300);
}

TEST_F(ThumbnailQueueTest, TakesTheFirstLookBackWhereThePictureIsBroken)
{
    const ThumbnailSubject subject = twoFaced("a.jpg", Qt::blue, Qt::red);
    const std::string path = subject.path.toStdString();
    std::string bytes = test::read(path);
    constexpr std::size_t kScanHead = 14; // what the decoder wants to see before there is a picture
    std::filesystem::resize_file(path, bytes.rfind("\xFF\xDA") + kScanHead);
    std::vector<bool> shown;
    QObject::connect(m_queue.get(), &ThumbnailQueue::changed, m_queue.get(), [&](int row) {
        shown.push_back(!m_queue->image(row).isNull());
    });
    m_queue->setVisible(0, 0);
    m_queue->setSubjects({subject});
    ASSERT_TRUE(happens([&] { return m_queue->isIdle(); }));
    EXPECT_EQ(m_queue->state(0), State::kBroken);
    EXPECT_EQ(shown, (std::vector<bool>{true, false}));
}

TEST_F(ThumbnailQueueTest, IsIdleWithoutPictures)
{
    EXPECT_TRUE(m_queue->isIdle());
    m_queue->setSubjects({});
    m_queue->setVisible(0, 10);
    EXPECT_TRUE(m_queue->isIdle());
}

} // namespace pictures
