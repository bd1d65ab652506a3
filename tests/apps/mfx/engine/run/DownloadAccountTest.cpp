#include "mfx/engine/run/DownloadAccount.h"

#include "apps/mfx/engine/CardFixture.h"
#include "support/TinyJpeg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace mfx {
namespace {

using testing::ElementsAre;

class DownloadAccountTest : public testing::Test {
protected:
    DownloadAccountTest()
    {
        m_card.add("A.JPG", "12345");
        m_card.add("B.CR2", "123");
        request.target = "/photos";
    }

    DownloadAccount make()
    {
        contents = m_card.scan();
        return {request, contents};
    }

    static ItemEvent failed(ItemStatus status)
    {
        ItemEvent event;
        event.name = "A.JPG";
        event.status = status;
        event.error = "why";
        return event;
    }

    tests::TestCard m_card;
    DownloadRequest request;
    CardContents contents;
    GroupWork work;
    MemberWork member;
};

TEST_F(DownloadAccountTest, BeginsWithWhatIsAskedForAndWhatTheCardHolds)
{
    request.backupFolder = "/backup";
    request.dryRun = true;
    const DownloadAccount account = make();
    EXPECT_EQ(account.summary.items, 2U);
    EXPECT_EQ(account.summary.folder, "/photos");
    EXPECT_TRUE(account.summary.backupWanted);
    EXPECT_TRUE(account.summary.dryRun);
    EXPECT_FALSE(account.summary.datesAreUsed);
    EXPECT_EQ(account.bytesOnCard(), 8U);
    EXPECT_EQ(account.items.size(), 2U);
    EXPECT_THAT(account.savedItems(), ElementsAre());
}

TEST_F(DownloadAccountTest, ListsWhatWipingTheCardWouldCostBesides)
{
    m_card.add("EMPTY.JPG", "");
    m_card.add("notes.txt", "words"); // harmless
    m_card.add(".hidden.jpg", ::tests::tinyJpegBytes());
    const DownloadSummary summary = make().summary;
    ASSERT_EQ(summary.passedOver.size(), 2U);
    EXPECT_EQ(summary.passedOver[0].kind, PassedOverKind::kNotHandled);
    EXPECT_THAT(summary.passedOver[0].names, ElementsAre(".hidden.jpg"));
    EXPECT_EQ(summary.passedOver[1].kind, PassedOverKind::kEmptyFile);
    EXPECT_THAT(summary.passedOver[1].names, ElementsAre("EMPTY.JPG"));
    EXPECT_EQ(summary.unsafe, 0U);
}

TEST_F(DownloadAccountTest, CountsAFolderThatCannotBeReadAsUnsafe)
{
    contents = m_card.scan();
    contents.problems.push_back({"DCIM/shut", std::make_error_code(std::errc::io_error)});
    const DownloadAccount account(request, contents);
    EXPECT_EQ(account.summary.unsafe, 1U);
    EXPECT_EQ(account.summary.failed, 1U);
    ASSERT_EQ(account.summary.notSafe.size(), 1U);
    EXPECT_EQ(account.summary.notSafe[0].name, "DCIM/shut");
}

TEST_F(DownloadAccountTest, CountsSavedAndPresentMembersAndThoseWithoutADate)
{
    DownloadAccount account = make();
    account.items[0].isProven = true;
    work.date.source = DateSource::kFileTime;
    account.countMember(work, member, {});
    work.date.source = DateSource::kExifOriginal;
    member.state = MemberState::kAlreadyPresent;
    member.item = 1;
    account.countMember(work, member, {});
    EXPECT_EQ(account.summary.saved, 1U);
    EXPECT_EQ(account.summary.existing, 1U);
    EXPECT_EQ(account.summary.datedByFile, 1U);
    EXPECT_EQ(account.summary.proven, 1U);
    EXPECT_EQ(account.summary.failed, 0U);
}

TEST_F(DownloadAccountTest, TakesAFailedConversionForAFailureThatIsSafe)
{
    DownloadAccount account = make();
    account.countMember(work, member, failed(ItemStatus::kDNGFailed));
    EXPECT_EQ(account.summary.failed, 1U);
    EXPECT_EQ(account.summary.unsafe, 0U);
    EXPECT_EQ(account.summary.saved, 1U);
    EXPECT_TRUE(account.summary.notSafe.empty());
}

TEST_F(DownloadAccountTest, CountsNothingOfAFailedGroupAsSaved)
{
    DownloadAccount account = make();
    work.failed = true;
    account.countMember(work, member, failed(ItemStatus::kFailed));
    EXPECT_EQ(account.summary.saved + account.summary.existing, 0U);
    EXPECT_EQ(account.summary.unsafe, 1U);
    ASSERT_EQ(account.summary.notSafe.size(), 1U);
    EXPECT_EQ(account.summary.notSafe[0].reason, "why");
}

TEST_F(DownloadAccountTest, NamesFiftyThatAreNotSafeAndCountsTheRest)
{
    DownloadAccount account = make();
    for (int i = 0; i < 60; ++i)
        account.addUnsafe("A.JPG", "why");
    EXPECT_EQ(account.summary.unsafe, 60U);
    EXPECT_EQ(account.summary.notSafe.size(), 50U);
    account.addNotSafe("B.CR2", "also");
    EXPECT_EQ(account.summary.unsafe, 60U);
}

TEST_F(DownloadAccountTest, TrustsNothingWhoseNamesMayBeLost)
{
    DownloadAccount account = make();
    account.items[0].isProven = account.items[1].isProven = true;
    account.summary.proven = 2;
    account.distrustAll();
    EXPECT_EQ(account.summary.proven, 0U);
    EXPECT_FALSE(account.items[0].isProven || account.items[1].isProven);
}

} // namespace
} // namespace mfx
