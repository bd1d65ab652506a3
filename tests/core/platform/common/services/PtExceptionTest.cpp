#include "platform/common/services/PtException.h"

#include "core/platform/WideLiteral.h"
#include "platform/common/services/PtExPost.h"
#include "platform/common/services/PtExSystem.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>
#include <thread>

#include <gtest/gtest.h>

using test::wide;

namespace {

Pt::ExReason reason(const char16_t* text)
{
    return {wide(text).c_str(), Pt::ExWhere::here(), 3};
}

Pt::WideText textOf(const Pt::Exception& exception, std::size_t index)
{
    return exception.reasons().at(index).text();
}

// The process-wide queue for one test.
class QueueTest : public testing::Test {
protected:
    QueueTest() { Pt::ExceptionInit(); }
    ~QueueTest() override { Pt::ExceptionUninit(); }

    static std::unique_ptr<Pt::Exception> polled()
    {
        return std::unique_ptr<Pt::Exception>(Pt::Exception::Poll());
    }
};

using ExPostTest = QueueTest;

} // namespace

TEST(PtExceptionTest, KeepsACopyOfTheReasonsText)
{
    Pt::WideText text = wide(u"card");
    const Pt::ExReason kept(text.c_str(), {"file.cpp", 12}, 7);
    const Pt::ExReason copy(kept);
    text[0] = 'x';
    EXPECT_EQ(wide(u"card"), kept.text());
    EXPECT_EQ(wide(u"card"), copy.text());
    EXPECT_NE(kept.text(), copy.text());
    EXPECT_STREQ(copy.file(), "file.cpp");
    EXPECT_EQ(copy.line(), 12);
    EXPECT_EQ(copy.severity(), 7u);
}

TEST(PtExceptionTest, KnowsTheCallersPlace)
{
    const Pt::ExWhere where = Pt::ExWhere::here();
    EXPECT_EQ(where.line, __LINE__ - 1);
    EXPECT_STREQ(where.file, __FILE__);
}

TEST(PtExceptionTest, PutsANewReasonBeforeThoseOfItsCause)
{
    const Pt::Exception first(reason(u"first"));
    const Pt::Exception second(reason(u"second"), first);
    const Pt::Exception third(reason(u"third"), second);
    ASSERT_EQ(third.reasons().size(), 3u);
    EXPECT_EQ(textOf(third, 0), wide(u"third"));
    EXPECT_EQ(textOf(third, 1), wide(u"second"));
    EXPECT_EQ(textOf(third, 2), wide(u"first"));
    EXPECT_EQ(first.reasons().size(), 1u);
}

TEST(PtExceptionTest, ClonesWithTheFrontReasonTwice)
{
    const Pt::Exception original(reason(u"new"), Pt::Exception(reason(u"old")));
    const std::unique_ptr<Pt::Exception> clone(original.clone());
    ASSERT_EQ(clone->reasons().size(), 3u);
    EXPECT_EQ(textOf(*clone, 0), wide(u"new"));
    EXPECT_EQ(textOf(*clone, 1), wide(u"new"));
    EXPECT_EQ(textOf(*clone, 2), wide(u"old"));
}

TEST(PtExceptionTest, SaysNothingInWhat)
{
    EXPECT_STREQ(Pt::Exception(reason(u"text")).what(), "");
    EXPECT_STREQ(Pt::ExSystem(EACCES, Pt::ExWhere::here()).what(), "");
}

TEST(PtExceptionTest, IsCaughtAsAStandardException)
{
    EXPECT_THROW(throw Pt::ExSystem(EIO, Pt::ExWhere::here()), std::exception);
}

TEST(PtExSystemTest, CarriesTheSystemsTextAndPlace)
{
    const Pt::ExSystem failure(ENOENT, {"place.cpp", 5});
    ASSERT_EQ(failure.reasons().size(), 1u);
    EXPECT_EQ(failure.errorCode(), ENOENT);
    EXPECT_EQ(textOf(failure, 0), Pt::toUtf16(std::strerror(ENOENT)));
    EXPECT_STREQ(failure.reasons().front().file(), "place.cpp");
    EXPECT_EQ(failure.reasons().front().line(), 5);
    EXPECT_EQ(failure.reasons().front().severity(), 1u);
}

TEST(PtExSystemTest, StandsBeforeItsCause)
{
    const Pt::ExSystem failure(ENOSPC, Pt::ExWhere::here(), Pt::Exception(reason(u"old")));
    ASSERT_EQ(failure.reasons().size(), 2u);
    EXPECT_EQ(textOf(failure, 0), Pt::toUtf16(std::strerror(ENOSPC)));
    EXPECT_EQ(textOf(failure, 1), wide(u"old"));
}

TEST(PtExSystemTest, ClonesAsAPlainCopy)
{
    const Pt::ExSystem failure(EIO, Pt::ExWhere::here());
    const Pt::Exception& base = failure;
    const std::unique_ptr<Pt::Exception> clone(base.clone());
    const auto* const system = dynamic_cast<Pt::ExSystem*>(clone.get());
    ASSERT_NE(system, nullptr);
    EXPECT_EQ(system->errorCode(), EIO);
    EXPECT_EQ(system->reasons().size(), 1u);
}

TEST(PtExSystemTest, GivesTheTextOfOtherNumbersToo)
{
    Pt::ExSystem failure(EIO, Pt::ExWhere::here());
    EXPECT_EQ(Pt::toUtf16(std::strerror(EPIPE)), failure.getErrorString(EPIPE));
    const unsigned short* const kept = failure.getErrorString(EPIPE);
    EXPECT_EQ(failure.getErrorString(EPIPE), kept);
    EXPECT_EQ(Pt::toUtf16(std::strerror(EIO)), failure.getErrorString(EIO));
    EXPECT_EQ(failure.errorCode(), EIO);
}

TEST(PtExSystemTest, TranslatesSystemErrors)
{
    struct {
        int systemError;
        int genericCode;
    } const rows[] = {{EACCES, 33000},
        {EBADF, 33001},
        {EINVAL, 33002},
        {EEXIST, 33003},
        {ETXTBSY, 33004},
        {ENOENT, 33005},
        {ENODEV, 33005},
        {ENOTDIR, 33005},
        {EMFILE, 33007},
        {ENAMETOOLONG, 33008},
        {ENOSPC, 33009},
        {ESPIPE, 33010},
        {EPIPE, 33011},
        {ECONNRESET, 33011},
        {EHOSTDOWN, 33012},
        {EHOSTUNREACH, 33012},
        {ENETDOWN, 33013},
        {ENETUNREACH, 33013},
        {ENETRESET, 33013},
        {ESHUTDOWN, 33014},
        {ENOTSOCK, 33014},
        {EIO, -1},
        {0, -1}};
    for (const auto& row : rows)
        EXPECT_EQ(
            Pt::ExSystem(row.systemError, Pt::ExWhere::here()).genericErrorCode(), row.genericCode)
            << row.systemError;
}

TEST(PtExSystemTest, HasANumberForWhatIsMissing)
{
    EXPECT_EQ(Pt::ExSystem(ENOENT, Pt::ExWhere::here()).genericErrorCode(), 33005);
}

TEST(PtExSystemTest, HasNoNumberForABrokenTransfer)
{
    EXPECT_EQ(Pt::ExSystem(EIO, Pt::ExWhere::here()).genericErrorCode(), -1);
}

TEST(PtExSystemTest, KnowsTheLastErrorOfTheThread)
{
    errno = ENOTDIR;
    EXPECT_EQ(Pt::ErrorCode(), ENOTDIR);
}

TEST(ExPostWithoutQueueTest, TakesAndGivesNothing)
{
    EXPECT_EQ(Pt::Exception::Post(Pt::Exception(reason(u"lost"))), 0);
    EXPECT_EQ(Pt::Exception::Poll(), nullptr);
}

TEST_F(ExPostTest, GivesNothingWhileItIsEmpty)
{
    EXPECT_EQ(polled(), nullptr);
}

TEST_F(ExPostTest, GivesClonesOldestFirst)
{
    EXPECT_EQ(Pt::Exception::Post(Pt::Exception(reason(u"first"))), 1);
    EXPECT_EQ(Pt::Exception::Post(Pt::ExSystem(EIO, Pt::ExWhere::here())), 1);
    const auto first = polled();
    ASSERT_TRUE(first);
    EXPECT_EQ(textOf(*first, 0), wide(u"first"));
    EXPECT_EQ(first->reasons().size(), 2u);
    EXPECT_NE(dynamic_cast<Pt::ExSystem*>(polled().get()), nullptr);
    EXPECT_EQ(polled(), nullptr);
}

TEST_F(ExPostTest, HandsAnExceptionToAnotherThread)
{
    std::thread([] { Pt::Exception::Post(Pt::Exception(reason(u"from there"))); }).join();
    const auto received = polled();
    ASSERT_TRUE(received);
    EXPECT_EQ(textOf(*received, 0), wide(u"from there"));
}

TEST_F(ExPostTest, KeepsTheQueueAtAFurtherInit)
{
    Pt::Exception::Post(Pt::Exception(reason(u"kept")));
    Pt::ExceptionInit();
    EXPECT_TRUE(polled());
}

// A leak checker sees the failure.
TEST_F(ExPostTest, DeletesWhatNobodyTook)
{
    Pt::Exception::Post(Pt::Exception(reason(u"left")));
    Pt::ExceptionUninit();
    EXPECT_EQ(Pt::Exception::Poll(), nullptr);
}
