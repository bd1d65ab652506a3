#include "pictures/scheduling/PictureQueue.h"

#include "apps/pictures/PictureFolder.h"

#include <gmock/gmock.h>

namespace pictures {

using test::happens;

class PictureQueueTest : public testing::Test {
protected:
    PictureQueueTest()
    {
        QObject::connect(&m_queue, &PictureQueue::ready, &m_queue, [this](const PictureWish& wish) {
            m_order.push_back(wish.path);
        });
    }
    bool isThere(const PictureWish& wish)
    {
        const Picture* const picture = m_queue.find(wish);
        return picture != nullptr && picture->status == ReadStatus::kDone;
    }

    test::PictureFolder m_folder;
    PictureQueue m_queue{1};
    std::vector<QString> m_order;
};

TEST_F(PictureQueueTest, ReadsWhatIsWantedInOrder)
{
    std::vector<PictureWish> wishes;
    for (const char* const name : {"a.png", "b.png", "c.png"})
        wishes.push_back({m_folder.addPicture(name), 1, {100, 100}});
    m_queue.want(wishes);
    ASSERT_TRUE(happens([&] { return m_order.size() == 3; }));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(m_order[i], wishes[i].path);
        EXPECT_TRUE(isThere(wishes[i]));
    }
    EXPECT_EQ(m_queue.find(wishes[0])->fullSize, QSize(300, 200));
    EXPECT_EQ(m_queue.find(wishes[0])->image.width(), 100);
    EXPECT_NEAR(m_queue.find(wishes[0])->image.height(), 67, 1);
}

TEST_F(PictureQueueTest, GivesAllPixelsForAnEmptyBox)
{
    const PictureWish wish{m_folder.addPicture("a.png"), 1, {}};
    m_queue.want({wish});
    ASSERT_TRUE(happens([&] { return isThere(wish); }));
    EXPECT_EQ(m_queue.find(wish)->image.size(), QSize(300, 200));
}

TEST_F(PictureQueueTest, TellsAPictureFromItsLaterSelfAndFromItsOtherSizes)
{
    const PictureWish wish{m_folder.addPicture("a.png"), 1, {100, 100}};
    m_queue.want({wish});
    ASSERT_TRUE(happens([&] { return isThere(wish); }));
    EXPECT_EQ(m_queue.find({wish.path, 2, wish.box}), nullptr);
    EXPECT_EQ(m_queue.find({wish.path, 1, {50, 50}}), nullptr);
}

TEST_F(PictureQueueTest, DoesNotReadTwiceWhatIsThere)
{
    const PictureWish wish{m_folder.addPicture("a.png"), 1, {100, 100}};
    const PictureWish other{m_folder.addPicture("b.png"), 1, {100, 100}};
    m_queue.want({wish});
    ASSERT_TRUE(happens([&] { return isThere(wish); }));
    m_queue.want({wish, other});
    ASSERT_TRUE(happens([&] { return isThere(other); }));
    EXPECT_EQ(m_order.size(), 2U);
}

TEST_F(PictureQueueTest, GivesUpWhatIsNotWantedAnyMore)
{
    std::vector<PictureWish> wishes;
    for (int i = 0; i < 30; ++i)
        wishes.push_back(
            {m_folder.addPicture(std::to_string(i) + ".png", Qt::red, {2000, 1500}), 1, {}});
    m_queue.want(wishes);
    m_queue.want({wishes.back()});
    ASSERT_TRUE(happens([&] { return isThere(wishes.back()); }));
    EXPECT_LE(m_order.size(), 2U);
    m_queue.want({wishes.front()});
    EXPECT_TRUE(happens([&] { return isThere(wishes.front()); })) << "wanted again";
}

TEST_F(PictureQueueTest, SaysWhatCannotBeReadAndTriesWhatIsGoneAgain)
{
    const PictureWish broken{m_folder.addBytes("a.png", "no picture"), 1, {}};
    const PictureWish missing{m_folder.path("missing.png"), 1, {}};
    m_queue.want({broken, missing});
    ASSERT_TRUE(happens([&] { return m_order.size() == 2; }));
    EXPECT_NE(m_queue.find(broken)->status, ReadStatus::kDone);
    EXPECT_EQ(m_queue.find(missing)->status, ReadStatus::kUnreadable);
    m_folder.addPicture("missing.png");
    m_queue.want({broken, missing});
    EXPECT_TRUE(happens([&] { return isThere(missing); }));
    EXPECT_EQ(m_order.size(), 3U);
}

TEST_F(PictureQueueTest, StaysWithinItsBoundOfMemory)
{
    std::vector<PictureWish> wishes;
    for (int i = 0; i < 20; ++i)
        wishes.push_back(
            {m_folder.addPicture(std::to_string(i) + ".png", Qt::red, {3000, 2000}), 1, {}});
    m_queue.want(wishes);
    ASSERT_TRUE(happens([&] { return m_order.size() == 20; }));
    qint64 bytes = 0;
    for (const PictureWish& wish : wishes) {
        if (const Picture* const picture = m_queue.find(wish))
            bytes += picture->image.sizeInBytes();
    }
    EXPECT_GT(bytes, 100'000'000);
    EXPECT_LE(bytes, PictureQueue::kImageBound);
}

} // namespace pictures
