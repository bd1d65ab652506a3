#include "platform/common/devices/PtIoQueue.h"

#include "platform/common/devices/PtIoRequest.h"

#include <memory>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A queue with the links of some requests, which stay outside of any device.
class PtIoQueueTest : public testing::Test {
protected:
    Pt::IoRequest* at(std::size_t index) { return m_requests[index].get(); }
    std::vector<Pt::IoRequest*> content()
    {
        std::vector<Pt::IoRequest*> all;
        m_queue.forEach([&](Pt::IoRequest& each) { all.push_back(&each); });
        return all;
    }
    static Pt::SmartPointer<Pt::IoRequest> request() { return new Pt::IoRequest({}, nullptr, 0); }

    std::vector<Pt::SmartPointer<Pt::IoRequest>> m_requests{request(), request(), request()};
    Pt::IoQueue::Link m_first{at(0)};
    Pt::IoQueue::Link m_second{at(1)};
    Pt::IoQueue::Link m_third{at(2)};
    Pt::IoQueue m_queue;
};

} // namespace

TEST_F(PtIoQueueTest, IsEmptyAtFirst)
{
    EXPECT_EQ(m_queue.count(), 0U);
    EXPECT_EQ(m_queue.pop_front(), nullptr);
    EXPECT_EQ(m_queue.count(), 0U);
    EXPECT_THAT(content(), IsEmpty());
}

TEST_F(PtIoQueueTest, GivesTheOldestFirst)
{
    m_queue.push_back(m_first);
    m_queue.push_back(m_second);
    EXPECT_EQ(m_queue.count(), 2U);
    EXPECT_THAT(content(), ElementsAre(at(0), at(1)));
    EXPECT_EQ(m_queue.pop_front(), at(0));
    m_queue.push_back(m_first);
    EXPECT_EQ(m_queue.pop_front(), at(1));
    EXPECT_EQ(m_queue.pop_front(), at(0));
    EXPECT_EQ(m_queue.pop_front(), nullptr);
}

TEST_F(PtIoQueueTest, LetsALinkGoFromAnyPlace)
{
    for (auto* const each : {&m_first, &m_second, &m_third})
        m_queue.push_back(*each);
    Pt::IoQueue::remove(m_second);
    EXPECT_THAT(content(), ElementsAre(at(0), at(2)));
    Pt::IoQueue::remove(m_third);
    m_queue.push_back(m_second);
    EXPECT_THAT(content(), ElementsAre(at(0), at(1)));
    Pt::IoQueue::remove(m_first);
    Pt::IoQueue::remove(m_second);
    EXPECT_THAT(content(), IsEmpty());
    EXPECT_EQ(m_queue.count(), 0U);
}

TEST_F(PtIoQueueTest, KnowsWhichQueueALinkIsIn)
{
    Pt::IoQueue other;
    EXPECT_EQ(m_first.queue, nullptr);
    m_queue.push_back(m_first);
    EXPECT_EQ(m_first.queue, &m_queue);
    Pt::IoQueue::remove(m_first);
    Pt::IoQueue::remove(m_first);
    EXPECT_EQ(m_first.queue, nullptr);
    other.push_back(m_first);
    EXPECT_EQ(m_first.queue, &other);
    EXPECT_EQ(other.count(), 1U);
    EXPECT_EQ(m_queue.count(), 0U);
}

TEST(PtIoRequestTest, IsNobodysAtFirst)
{
    char bytes[4] = {};
    const Pt::SmartPointer<Pt::IoRequest> request(
        new Pt::IoRequest({}, bytes, sizeof bytes, Pt::IoRequest::kHigh));
    EXPECT_EQ(request->bytes(), bytes);
    EXPECT_EQ(request->length(), 4U);
    EXPECT_EQ(request->priority(), Pt::IoRequest::kHigh);
    EXPECT_TRUE(request->status().none());
    EXPECT_FALSE(request->isDone());
}

TEST(PtIoRequestTest, RefusesAPriorityThatIsNone)
{
    for (const int each : {-1, 3})
        EXPECT_THROW(new Pt::IoRequest({}, nullptr, 0, static_cast<Pt::IoRequest::ReqPri>(each)),
            std::out_of_range);
}
