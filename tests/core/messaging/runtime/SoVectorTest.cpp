#include "messaging/SoVector.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ScObjects::SoVector;

class SoVectorTest : public testing::Test {
protected:
    void appendTimes(int count)
    {
        for (int i = 0; i < count; ++i)
            m_vector.append(&m_numbers[static_cast<std::size_t>(i)]);
    }

    // The places in m_numbers that the elements point to.
    std::vector<long> places() const
    {
        std::vector<long> result;
        for (long i = 0; i < m_vector.length(); ++i)
            result.push_back(m_vector[i] - m_numbers.data());
        return result;
    }

    std::array<int, 100> m_numbers{};
    SoVector<int> m_vector;
};

using Places = std::vector<long>;

} // namespace

TEST_F(SoVectorTest, StartsEmptyWithRoomFor32)
{
    EXPECT_EQ(m_vector.length(), 0);
    EXPECT_EQ(m_vector.capacity(), 32);
}

TEST_F(SoVectorTest, GrowsAtThe33rdElement)
{
    appendTimes(32);
    EXPECT_EQ(m_vector.capacity(), 32);
    m_vector.append(&m_numbers[32]);
    EXPECT_EQ(m_vector.capacity(), 64);
    EXPECT_EQ(m_vector.length(), 33);
}

TEST_F(SoVectorTest, GrowsByAConstant)
{
    appendTimes(65);
    EXPECT_EQ(m_vector.capacity(), 96);
}

TEST_F(SoVectorTest, MakesRoomForAsManyAsItIsTold)
{
    EXPECT_TRUE(m_vector.reserve(10));
    EXPECT_EQ(m_vector.capacity(), 32); // it has more
    EXPECT_TRUE(m_vector.reserve(99));
    EXPECT_EQ(m_vector.capacity(), 99);
    appendTimes(99);
    EXPECT_EQ(m_vector.capacity(), 99);
    appendTimes(1);
    EXPECT_EQ(m_vector.capacity(), 131);
    EXPECT_EQ(m_vector.length(), 100);
}

TEST_F(SoVectorTest, KeepsTheOrderWhenRoomIsMadeForARingThatGoesRoundItsEnd)
{
    appendTimes(32);
    for (int i = 0; i < 20; ++i)
        m_vector.removeAt(0);
    appendTimes(5);
    EXPECT_TRUE(m_vector.reserve(50));
    EXPECT_EQ(places(), (Places{20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 0, 1, 2, 3, 4}));
}

TEST_F(SoVectorTest, KeepsTheOrderWhenItGrows)
{
    appendTimes(70);
    const Places found = places();
    for (long i = 0; i < 70; ++i)
        EXPECT_EQ(found[static_cast<std::size_t>(i)], i);
}

TEST_F(SoVectorTest, HoldsTheSamePointerTwice)
{
    m_vector.append(&m_numbers[7]);
    m_vector.append(&m_numbers[7]);
    EXPECT_EQ(places(), (Places{7, 7}));
}

TEST_F(SoVectorTest, RemovesTheFirstThatIsEqual)
{
    for (const std::size_t i : {1U, 2U, 3U, 2U})
        m_vector.append(&m_numbers[i]);
    m_vector.remove(&m_numbers[2]);
    EXPECT_EQ(places(), (Places{1, 3, 2}));
}

TEST_F(SoVectorTest, RemovesNothingThatIsNotThere)
{
    appendTimes(3);
    m_vector.remove(&m_numbers[50]);
    m_vector.remove(nullptr);
    EXPECT_EQ(places(), (Places{0, 1, 2}));
}

TEST_F(SoVectorTest, GivesBackWhatItTakesOutAtAPlace)
{
    appendTimes(4);
    EXPECT_EQ(m_vector.removeAt(1), &m_numbers[1]);
    EXPECT_EQ(m_vector.removeAt(2), &m_numbers[3]); // the last
    EXPECT_EQ(m_vector.removeAt(0), &m_numbers[0]);
    EXPECT_EQ(places(), Places{2});
}

TEST_F(SoVectorTest, TakesNothingOutAtAPlaceThatIsNone)
{
    EXPECT_EQ(m_vector.removeAt(0), nullptr);
    appendTimes(3);
    EXPECT_EQ(m_vector.removeAt(-1), nullptr);
    EXPECT_EQ(m_vector.removeAt(3), nullptr);
    EXPECT_EQ(places(), (Places{0, 1, 2}));
}

TEST_F(SoVectorTest, TakesOutOfAFullArray)
{
    appendTimes(32);
    m_vector.removeAt(0);
    EXPECT_EQ(m_vector[30], &m_numbers[31]);
    m_vector.append(&m_numbers[0]);
    EXPECT_EQ(m_vector[31], &m_numbers[0]);
    EXPECT_EQ(m_vector.capacity(), 32);
}

TEST_F(SoVectorTest, NeverShrinks)
{
    appendTimes(40);
    while (m_vector.length() != 0)
        m_vector.removeAt(0);
    EXPECT_EQ(m_vector.capacity(), 64);
}

TEST_F(SoVectorTest, LeavesItsElementsAlone)
{
    int* const number = new int(5);
    {
        SoVector<int> vector;
        vector.append(number);
    }
    EXPECT_EQ(*number, 5); // for a sanitizer
    delete number;
}
