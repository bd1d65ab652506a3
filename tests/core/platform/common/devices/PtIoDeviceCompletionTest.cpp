// What is told of requests: their cancelling, completions that call back, ends, threads.

#include "core/platform/support/IoDeviceFixture.h"
#include "platform/common/devices/PtIoDevice.h"

#include <cerrno>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Pt::IoRequest;
using test::StagedDevice;
using testing::ElementsAre;
using testing::HasSubstr;
using PtIoDeviceCompletionTest = test::IoDeviceFixture;

} // namespace

TEST_F(PtIoDeviceCompletionTest, CancelsWaitingOnesInOrderAndFlyingOnesWhenTheyFinish)
{
    const Request reading = request(1);
    const Request writing = request(2);
    m_device->read(*reading);
    m_device->write(*writing);
    const Request waiting[] = {request(3, IoRequest::kLow),
        request(4, IoRequest::kHigh),
        request(5),
        request(6, IoRequest::kHigh),
        request(7, IoRequest::kLow)};
    m_device->read(*waiting[0]);
    m_device->write(*waiting[1]);
    m_device->read(*waiting[2]);
    m_device->read(*waiting[3]);
    m_device->write(*waiting[4]);
    m_device->cancelAll();
    EXPECT_THAT(m_told.all(),
        ElementsAre("cancelled 6", "cancelled 4", "cancelled 5", "cancelled 3", "cancelled 7"));
    EXPECT_EQ(bitsOf(waiting[0]), "00101001");
    EXPECT_EQ(bitsOf(reading), "00110001");
    EXPECT_THAT(m_device->issued(), ElementsAre("read 1", "write 2"));
    m_device->finish(*reading, 0, 1);
    m_device->finish(*writing, EIO); // cancelled, however it finishes
    EXPECT_THAT(m_told.all(), testing::Contains("cancelled 1"));
    EXPECT_THAT(m_told.all(), testing::Contains("cancelled 2"));
    EXPECT_EQ(m_told.count(), 7U);
    const Request last = request(8);
    EXPECT_TRUE(m_device->read(*last)) << "the place was not given back";
    m_device->finish(*last);
}

TEST_F(PtIoDeviceCompletionTest, CancelsNothingTwice)
{
    const Request first = request(1);
    m_device->read(*first);
    const Request second = request(2);
    m_device->read(*second);
    m_device->cancelAll();
    m_device->cancelAll();
    m_device->finish(*first);
    m_device->cancelAll();
    EXPECT_THAT(m_told.all(), ElementsAre("cancelled 2", "cancelled 1"));
}

TEST_F(PtIoDeviceCompletionTest, MayBeCalledByACompletion)
{
    const Request flying = request(1);
    const Request low = request(2, IoRequest::kLow);
    const Request next = request(3);
    const Request added = request(4);
    const Request first = request(9, IoRequest::kNormal, [&](IoRequest&) {
        m_device->priority(*low, IoRequest::kHigh);
        EXPECT_TRUE(m_device->write(*added));
        EXPECT_EQ(m_told.count(), 1U);
        m_device->cancelAll();
        EXPECT_EQ(m_told.count(), 1U) << "told inside of another completion";
    });
    for (const Request* each : {&first, &flying, &low, &next})
        m_device->read(**each);
    m_device->finish(*first);
    EXPECT_THAT(m_told.all(), ElementsAre("completed 9 0", "cancelled 2", "cancelled 3"));
    m_device->finish(*flying);
    m_device->finish(*added);
    EXPECT_EQ(m_told.count(), 5U);
}

TEST_F(PtIoDeviceCompletionTest, MayBeCalledByTheCompletionOfACancelledRequest)
{
    const Request replacement = request(3);
    const Request waiting = request(2, IoRequest::kNormal, [&](IoRequest&) {
        EXPECT_FALSE(m_device->read(*replacement));
        m_device->cancelAll();
    });
    const Request flying = request(1);
    m_device->read(*flying);
    m_device->read(*waiting);
    m_device->cancelAll();
    EXPECT_THAT(m_told.all(), ElementsAre("cancelled 2", "cancelled 3"));
    m_device->finish(*flying);
}

// What is cancelled while it waits has held no place that it could give to another.
TEST_F(PtIoDeviceCompletionTest, GivesNoPlaceAwayForWhatIsCancelledWhileItWaits)
{
    const Request flying = request(1);
    const Request replacement = request(4);
    const Request waiting =
        request(2, IoRequest::kNormal, [&](IoRequest&) { m_device->read(*replacement); });
    for (const Request& each : {flying, waiting, request(3)})
        m_device->read(*each);
    m_device->cancelAll();
    EXPECT_THAT(m_told.all(), ElementsAre("cancelled 2", "cancelled 3"));
    EXPECT_THAT(m_device->issued(), ElementsAre("read 1"));
    m_device->finish(*flying);
    m_device->finish(*replacement);
    EXPECT_EQ(m_told.count(), 4U);
}

TEST_F(PtIoDeviceCompletionTest, LogsWhatACompletionThrowsAndGoesOn)
{
    testing::internal::CaptureStderr();
    const Request first =
        request(1, IoRequest::kNormal, [](IoRequest&) { throw std::runtime_error("not mine"); });
    const Request second = request(2);
    m_device->read(*first);
    m_device->read(*second);
    m_device->finish(*first);
    EXPECT_TRUE(first->isDone());
    m_device->finish(*second);
    EXPECT_EQ(m_told.count(), 2U);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
        HasSubstr("Exception in I/O completion notification!\n not mine \n"));
}

TEST_F(PtIoDeviceCompletionTest, DoesWithoutACompletion)
{
    const Request asked(new IoRequest({}, nullptr, 1));
    m_device->read(*asked);
    m_device->finish(*asked);
    EXPECT_TRUE(asked->isDone());
}

TEST_F(PtIoDeviceCompletionTest, LivesUntilItsRequestsAreDone)
{
    bool hasEnded = false;
    StagedDevice* const device = m_device.get();
    device->atTheEnd = [&] { hasEnded = true; };
    auto* const asked = new IoRequest({}, nullptr, 1); // the device's alone
    device->read(*asked);
    m_device = nullptr;
    EXPECT_FALSE(hasEnded);
    device->finish(*asked);
    EXPECT_TRUE(hasEnded);
}

TEST_F(PtIoDeviceCompletionTest, MayGoInTheCompletionOfItsLastRequest)
{
    m_device->isBlocking = true;
    bool hasEnded = false;
    m_device->atTheEnd = [&] { hasEnded = true; };
    StagedDevice* const device = m_device.get();
    device->read(*request(1, IoRequest::kNormal, [&](IoRequest&) { m_device = nullptr; }));
    EXPECT_TRUE(hasEnded);
}

TEST_F(PtIoDeviceCompletionTest, LogsWhatThrowsWhenALastReferenceGoesWithARequest)
{
    testing::internal::CaptureStderr();
    StagedDevice* const device = m_device.get();
    const Request asked = request(1);
    device->read(*asked);
    device->atTheEnd = [] { throw std::runtime_error("cannot close"); };
    m_device = nullptr;
    device->finish(*asked);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot close"));
}

// The request was told: the call must not fail any more.
TEST_F(PtIoDeviceCompletionTest, LogsWhatThrowsWhenALastReferenceGoesWithTheCall)
{
    using Call = std::function<void(StagedDevice&, IoRequest&)>;
    const Call calls[] = {[](StagedDevice& device, IoRequest& asked) { device.read(asked); },
        [](StagedDevice& device, IoRequest& asked) { device.write(asked); },
        [](StagedDevice& device, IoRequest& asked) { device.control(asked); }};
    for (const Call& call : calls) {
        m_device = new StagedDevice;
        m_device->isBlocking = true;
        m_device->atTheEnd = [] { throw std::runtime_error("cannot close"); };
        StagedDevice* const device = m_device.get();
        const Request asked =
            request(1, IoRequest::kNormal, [&](IoRequest&) { m_device = nullptr; });
        testing::internal::CaptureStderr();
        EXPECT_NO_THROW(call(*device, *asked));
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot close"));
        EXPECT_TRUE(asked->isDone());
    }
}

TEST_F(PtIoDeviceCompletionTest, LogsWhatARequestThrowsThatGoesWithTheCall)
{
    class Breaking final : public IoRequest {
    public:
        using IoRequest::IoRequest;
        ~Breaking() noexcept(false) override { throw std::runtime_error("cannot go"); }
    };
    m_device->isBlocking = true;
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(m_device->read(*new Breaking({}, nullptr, 1)));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot go"));
}

// Every request is told once, whatever other threads do meanwhile.
TEST_F(PtIoDeviceCompletionTest, TellsEachRequestOnceUnderManyThreads)
{
    constexpr std::uint32_t kRequests = 400;
    constexpr int kThreads = 4;
    m_device = new StagedDevice(2, 1);
    m_device->isBlocking = true;
    std::vector<std::vector<Request>> all(kThreads);
    for (auto& each : all)
        for (std::uint32_t i = 0; i < kRequests; ++i)
            each.push_back(request(i, static_cast<IoRequest::ReqPri>(i % 3)));
    std::vector<std::thread> threads;
    for (auto& mine : all) {
        threads.emplace_back([this, &mine] {
            for (std::uint32_t i = 0; i < kRequests; ++i) {
                if (i % 2 == 0)
                    m_device->read(*mine[i]);
                else
                    m_device->write(*mine[i]);
                m_device->priority(*mine[i], IoRequest::kLow);
                if (i % 50 == 49)
                    m_device->cancelAll();
            }
        });
    }
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(m_told.count(), kRequests * kThreads);
    for (const auto& each : all)
        for (const Request& asked : each)
            EXPECT_TRUE(asked->isDone());
}

// A place that was just given back and a request that just comes must find each other.
TEST_F(PtIoDeviceCompletionTest, LeavesNoRequestWaitingBehindTheLastTransfer)
{
    m_device->isBlocking = true;
    for (int round = 0; round < 2000; ++round) {
        const Request mine = request(1);
        const Request other = request(2);
        std::thread thread([&] { m_device->read(*other); });
        m_device->read(*mine);
        thread.join();
        ASSERT_TRUE(mine->isDone());
        ASSERT_TRUE(other->isDone());
    }
}

TEST_F(PtIoDeviceCompletionTest, IsCancelledFromSeveralThreadsAtOnce)
{
    for (int round = 0; round < 50; ++round) {
        const Request flying = request(1);
        m_device->read(*flying);
        std::vector<Request> waiting;
        for (std::uint32_t i = 0; i < 40; ++i) {
            waiting.push_back(request(i, static_cast<IoRequest::ReqPri>(i % 3)));
            m_device->read(*waiting.back());
        }
        const std::size_t before = m_told.count();
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([this] { m_device->cancelAll(); });
        for (std::thread& each : threads)
            each.join();
        EXPECT_EQ(m_told.count() - before, 40U);
        m_device->finish(*flying);
        EXPECT_EQ(m_told.count() - before, 41U);
    }
}
