#include "platform/common/devices/PtIoDevice.h"

#include "core/platform/support/IoDeviceFixture.h"

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Pt::IoRequest;
using test::StagedDevice;
using test::TellingCompletion;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using PtIoDeviceTest = test::IoDeviceFixture;

} // namespace

TEST_F(PtIoDeviceTest, IssuesWhatHasAPlaceAndTellsItsEnd)
{
    const Request asked = request(5);
    EXPECT_TRUE(m_device->read(*asked));
    EXPECT_EQ(bitsOf(asked), "00010001");
    EXPECT_THAT(m_device->issued(), ElementsAre("read 5"));
    EXPECT_THAT(m_told.all(), IsEmpty());
    m_device->finish(*asked, 0, 3);
    EXPECT_THAT(m_told.all(), ElementsAre("completed 5 3"));
    EXPECT_EQ(bitsOf(asked), "00011001");
}

TEST_F(PtIoDeviceTest, LetsWaitWhatIsAboveTheLimit)
{
    const Request first = request(1);
    const Request second = request(2);
    EXPECT_TRUE(m_device->write(*first));
    EXPECT_FALSE(m_device->write(*second));
    EXPECT_EQ(bitsOf(second), "00000010");
    EXPECT_THAT(m_device->issued(), ElementsAre("write 1"));
    m_device->finish(*first);
    EXPECT_EQ(bitsOf(second), "00010010");
    EXPECT_THAT(m_device->issued(), ElementsAre("write 1", "write 2"));
    m_device->finish(*second);
    EXPECT_THAT(m_told.all(), ElementsAre("completed 1 0", "completed 2 0"));
}

TEST_F(PtIoDeviceTest, CountsReadsAndWritesApart)
{
    m_device = new StagedDevice(2, 1);
    const Request requests[] = {request(1), request(2), request(3), request(4), request(5)};
    EXPECT_TRUE(m_device->read(*requests[0]));
    EXPECT_TRUE(m_device->read(*requests[1]));
    EXPECT_FALSE(m_device->read(*requests[2]));
    EXPECT_TRUE(m_device->write(*requests[3]));
    EXPECT_FALSE(m_device->write(*requests[4]));
    m_device->finish(*requests[3]);
    EXPECT_THAT(m_device->issued(), ElementsAre("read 1", "read 2", "write 4", "write 5"));
    m_device->finish(*requests[1]);
    m_device->finish(*requests[0]);
    m_device->finish(*requests[2]);
    m_device->finish(*requests[4]);
    EXPECT_EQ(m_told.count(), 5U);
}

TEST_F(PtIoDeviceTest, AlwaysHasAPlace)
{
    m_device = new StagedDevice(0, 0);
    const Request asked = request(1);
    EXPECT_TRUE(m_device->read(*asked));
    m_device->finish(*asked);
    EXPECT_TRUE(asked->isDone());
}

TEST_F(PtIoDeviceTest, IssuesHighPrioritiesFirstAndOldOnesFirstWithinThem)
{
    const Request first = request(1);
    const Request waiting[] = {request(2, IoRequest::kLow),
        request(3),
        request(4, IoRequest::kHigh),
        request(5, IoRequest::kHigh),
        request(6)};
    m_device->read(*first);
    for (const Request& each : waiting)
        EXPECT_FALSE(m_device->read(*each));
    m_device->isBlocking = true;
    m_device->finish(*first);
    EXPECT_THAT(m_device->issued(),
        ElementsAre("read 1", "read 4", "read 5", "read 3", "read 6", "read 2"));
}

TEST_F(PtIoDeviceTest, MovesAWaitingRequestBehindThoseOfItsNewPriority)
{
    const Request first = request(1);
    const Request low = request(2, IoRequest::kLow);
    const Request high = request(3, IoRequest::kHigh);
    const Request normal = request(4);
    m_device->write(*first);
    for (const Request* each : {&low, &high, &normal})
        m_device->write(**each);
    m_device->priority(*low, IoRequest::kHigh);
    m_device->priority(*high, IoRequest::kHigh); // behind the other
    EXPECT_EQ(low->priority(), IoRequest::kHigh);
    m_device->isBlocking = true;
    m_device->finish(*first);
    EXPECT_THAT(m_device->issued(), ElementsAre("write 1", "write 2", "write 3", "write 4"));
}

TEST_F(PtIoDeviceTest, OnlyKeepsThePriorityOfWhatDoesNotWait)
{
    const Request asked = request(1);
    m_device->priority(*asked, IoRequest::kLow);
    EXPECT_EQ(asked->priority(), IoRequest::kLow);
    m_device->read(*asked);
    m_device->priority(*asked, IoRequest::kHigh);
    EXPECT_EQ(asked->priority(), IoRequest::kHigh);
    m_device->finish(*asked);
    EXPECT_THAT(m_told.all(), ElementsAre("completed 1 0"));
    EXPECT_THROW(m_device->priority(*asked, static_cast<IoRequest::ReqPri>(3)), std::out_of_range);
    EXPECT_EQ(asked->priority(), IoRequest::kHigh);
}

TEST_F(PtIoDeviceTest, StartsTheNextBeforeItTellsTheEndOfTheOneBefore)
{
    const Request second = request(2);
    std::vector<std::string> issuedByThen;
    const Request first =
        request(1, IoRequest::kNormal, [&](IoRequest&) { issuedByThen = m_device->issued(); });
    m_device->read(*first);
    m_device->read(*second);
    m_device->finish(*first);
    EXPECT_THAT(issuedByThen, ElementsAre("read 1", "read 2"));
    m_device->finish(*second);
}

TEST_F(PtIoDeviceTest, TellsInTheOrderOfTheTransfersWhenTheyBlock)
{
    const Request first = request(1);
    const Request second = request(2);
    const Request third = request(3);
    m_device->read(*first);
    m_device->read(*second);
    m_device->read(*third);
    m_device->isBlocking = true;
    m_device->finish(*first);
    EXPECT_THAT(m_told.all(), ElementsAre("completed 1 0", "completed 2 2", "completed 3 3"));
}

// On a stack that each completion inside another would use up.
TEST_F(PtIoDeviceTest, DoesNotNestHoweverManyWait)
{
    constexpr std::uint32_t kMany = 200000;
    const Request first = request(0);
    m_device->read(*first);
    for (std::uint32_t i = 1; i < kMany; ++i)
        m_device->read(*request(i));
    m_device->isBlocking = true;
    m_device->finish(*first);
    EXPECT_EQ(m_told.count(), kMany);
}

TEST_F(PtIoDeviceTest, DoesNotNestWhenEachCompletionAsksForMore)
{
    m_device->isBlocking = true;
    std::uint32_t number = 0;
    TellingCompletion::Then more = [&](IoRequest&) {
        if (++number < 100000)
            m_device->read(*request(number, IoRequest::kNormal, more));
    };
    m_device->read(*request(0, IoRequest::kNormal, more));
    EXPECT_EQ(m_told.count(), 100000U);
}

TEST_F(PtIoDeviceTest, IssuesControlsAtOnce)
{
    m_device->acceptControls();
    const Request requests[] = {request(1), request(2), request(3)};
    for (const Request& each : requests)
        m_device->control(*each);
    EXPECT_EQ(bitsOf(requests[0]), "00010100");
    EXPECT_THAT(m_device->issued(), ElementsAre("control 1", "control 2", "control 3"));
    m_device->finish(*requests[1], 0, 7);
    m_device->finish(*requests[0], EPIPE);
    m_device->cancelAll();
    m_device->finish(*requests[2]);
    EXPECT_THAT(m_told.all(),
        ElementsAre("completed 2 7", "failed 1 " + std::to_string(EPIPE), "cancelled 3"));
}

TEST_F(PtIoDeviceTest, CompletesAControlThatItDoesNotKnow)
{
    const Request asked = request(1);
    m_device->control(*asked);
    EXPECT_EQ(bitsOf(asked), "00011100");
    EXPECT_THAT(m_told.all(), ElementsAre("completed 1 0"));
}

TEST_F(PtIoDeviceTest, ThrowsOnWhatADirectIssueThrows)
{
    m_device->onIssue = [](IoRequest&) { throw Pt::ExSystem(ENOSPC, Pt::ExWhere::here()); };
    const Request asked = request(1);
    EXPECT_EQ(errorOfRead(asked), ENOSPC);
    EXPECT_THAT(m_told.all(), IsEmpty());
    EXPECT_TRUE(asked->status().none());
    m_device->onIssue = [](IoRequest&) { throw std::runtime_error("other"); };
    EXPECT_THROW(m_device->read(*asked), std::runtime_error);
    m_device->onIssue = nullptr;
    EXPECT_TRUE(m_device->read(*asked)) << "its place was not given back";
    m_device->finish(*asked);
    EXPECT_TRUE(asked->isDone());
}

// What came while the other was being issued would otherwise wait for nobody.
TEST_F(PtIoDeviceTest, GivesThePlaceOfADirectIssueThatThrewToTheNext)
{
    const Request second = request(2);
    m_device->onIssue = [&](IoRequest& each) {
        if (each.length() != 1)
            return;
        EXPECT_FALSE(m_device->read(*second));
        throw Pt::ExSystem(EIO, Pt::ExWhere::here());
    };
    EXPECT_EQ(errorOfRead(request(1)), EIO);
    EXPECT_THAT(m_device->issued(), ElementsAre("read 1", "read 2"));
    m_device->finish(*second);
    EXPECT_THAT(m_told.all(), ElementsAre("completed 2 0"));
}

TEST_F(PtIoDeviceTest, FailsWhatCannotBeIssuedFromTheQueueAndGoesOn)
{
    testing::internal::CaptureStderr();
    const Request first = request(1);
    m_device->read(*first);
    const Request waiting[] = {request(2), request(3), request(4)};
    for (const Request& each : waiting)
        m_device->read(*each);
    m_device->onIssue = [](IoRequest& each) {
        if (each.length() == 2)
            throw Pt::ExSystem(ENOSPC, Pt::ExWhere::here());
        if (each.length() == 3)
            throw std::runtime_error("no memory");
    };
    m_device->isBlocking = true;
    m_device->finish(*first);
    EXPECT_THAT(m_told.all(),
        ElementsAre("completed 1 0",
            "failed 2 " + std::to_string(ENOSPC),
            "failed 3 " + std::to_string(EIO),
            "completed 4 4"));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
        HasSubstr("Internal Exception in I/O Library when Issuing a I/O new request.\n no memory"));
}

TEST_F(PtIoDeviceTest, TellsTheErrorOfATransfer)
{
    const Request asked = request(1);
    m_device->write(*asked);
    m_device->finish(*asked, ENOSPC, 12);
    EXPECT_THAT(m_told.all(), ElementsAre("failed 1 " + std::to_string(ENOSPC)));
    EXPECT_TRUE(asked->isDone());
}

TEST_F(PtIoDeviceTest, RefusesARequestThatADeviceHas)
{
    const Request flying = request(1);
    const Request waiting = request(2);
    m_device->read(*flying);
    m_device->read(*waiting);
    const StagedDevice::Pointer other(new StagedDevice);
    EXPECT_EQ(errorOfRead(flying), EBUSY);
    EXPECT_EQ(errorOfRead(waiting), EBUSY);
    EXPECT_THROW(other->write(*waiting), Pt::ExSystem);
    EXPECT_THROW(other->control(*flying), Pt::ExSystem);
    m_device->finish(*flying);
    m_device->finish(*waiting);
    EXPECT_THAT(m_told.all(), ElementsAre("completed 1 0", "completed 2 0"));
}

TEST_F(PtIoDeviceTest, TakesADoneRequestAgain)
{
    const Request asked = request(1);
    m_device->read(*asked);
    m_device->cancelAll();
    m_device->finish(*asked);
    EXPECT_TRUE(m_device->write(*asked));
    EXPECT_EQ(bitsOf(asked), "00010010");
    m_device->finish(*asked, 0, 9);
    EXPECT_THAT(m_told.all(), ElementsAre("cancelled 1", "completed 1 9"));
}

TEST_F(PtIoDeviceTest, RefusesTheRequestInItsOwnCompletion)
{
    int error = 0;
    const Request asked = request(1, IoRequest::kNormal, [&](IoRequest& same) {
        EXPECT_FALSE(same.isDone());
        error = errorOfRead(&same);
    });
    m_device->read(*asked);
    m_device->finish(*asked);
    EXPECT_EQ(error, EBUSY);
    EXPECT_TRUE(asked->isDone());
}
