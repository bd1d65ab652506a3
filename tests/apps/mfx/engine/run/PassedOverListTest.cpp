#include "mfx/engine/run/PassedOverList.h"

#include "apps/mfx/engine/CardFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace mfx {
namespace {

std::vector<PassedOver> passedOver(const CardContents& card)
{
    PassedOverList list;
    for (const NotHandled& entry : card.notHandled)
        list.add(card, entry);
    return list.take();
}

TEST(PassedOverListTest, LeavesOutWhatIsHarmless)
{
    const tests::TestCard card;
    card.add("THUMBS.DB");
    card.add("System Volume Information/tracking.log", "text");
    EXPECT_THAT(passedOver(card.scan()), IsEmpty());
}

TEST(PassedOverListTest, NamesPicturesInFoldersOfSystems)
{
    const tests::TestCard card;
    card.add("LOST.DIR/0001", "\xFF\xD8\xFF");
    card.add(".Trash-1000/files/A.JPG");
    const auto kinds = passedOver(card.scan());
    ASSERT_THAT(kinds, SizeIs(1));
    EXPECT_EQ(kinds[0].reason, NotHandledReason::kSystemFolder);
    EXPECT_EQ(kinds[0].count, 2U);
    EXPECT_THAT(kinds[0].names, ElementsAre(".Trash-1000/files/A.JPG", "LOST.DIR/0001"));
}

TEST(PassedOverListTest, NamesFiveOfAKindAndCountsTheRest)
{
    const tests::TestCard card;
    for (int i = 0; i < 7; ++i)
        card.add("LOST.DIR/" + std::to_string(i) + ".JPG");
    for (int i = 0; i < 6; ++i)
        card.add(".hidden" + std::to_string(i));
    const auto kinds = passedOver(card.scan());
    ASSERT_THAT(kinds, SizeIs(2));
    for (const PassedOver& kind : kinds)
        EXPECT_THAT(kind.names, SizeIs(5)) << reasonWord(kind.reason);
    EXPECT_EQ(kinds[0].count, 6U); // hidden
    EXPECT_EQ(kinds[1].count, 7U);
}

TEST(PassedOverListTest, TellsAPictureWithTheNameOfASystemsFile)
{
    const tests::TestCard card;
    card.add("DCIM/._A.JPG", "\xFF\xD8\xFF");
    card.add("DCIM/._B.JPG", std::string("\0\5\26\7", 4));
    const auto kinds = passedOver(card.scan());
    ASSERT_THAT(kinds, SizeIs(1));
    EXPECT_EQ(kinds[0].reason, NotHandledReason::kHidden);
    EXPECT_THAT(kinds[0].names, ElementsAre("DCIM/._A.JPG"));
}

TEST(PassedOverListTest, KeepsKindsApartThatTheScanDidNotMake)
{
    PassedOverList list;
    list.add(PassedOverKind::kEmptyFile, "A.JPG");
    list.add(PassedOverKind::kNotAskedFor, "B.JPG");
    list.add(PassedOverKind::kEmptyFile, "C.JPG");
    const auto kinds = list.take();
    ASSERT_THAT(kinds, SizeIs(2));
    EXPECT_EQ(kinds[0].kind, PassedOverKind::kEmptyFile);
    EXPECT_THAT(kinds[0].names, ElementsAre("A.JPG", "C.JPG"));
    EXPECT_EQ(kinds[1].kind, PassedOverKind::kNotAskedFor);
    EXPECT_THAT(kinds[1].names, ElementsAre("B.JPG"));
}

} // namespace
} // namespace mfx
