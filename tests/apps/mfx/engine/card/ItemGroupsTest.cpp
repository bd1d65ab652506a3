#include "mfx/engine/card/ItemGroups.h"

#include "apps/mfx/engine/CardFixture.h"

#include <gmock/gmock.h>

namespace mfx {
namespace {

using testing::ElementsAre;
using tests::groupNames;
using tests::TestCard;

TEST(ItemGroupsTest, PutsOneShotTogetherWithThePrimaryFirst)
{
    const TestCard card;
    for (const std::string name :
        {"a.JPG", "a.THM", "a.WAV", "a.cr2", "a.cr2.xmp", "a.mov", "a.xmp", "a.zzz", "a"})
        card.add(name);
    EXPECT_THAT(groupNames(card.scan()),
        ElementsAre(ElementsAre(
            "a.cr2", "a.JPG", "a.mov", "a.WAV", "a", "a.THM", "a.zzz", "a.cr2.xmp", "a.xmp")));
}

TEST(ItemGroupsTest, KeepsDifferentStemsApart)
{
    const TestCard card;
    for (const std::string name : {"IMG_1.CR2", "IMG_10.CR2", "IMG_1.JPG", "img_1.xmp"})
        card.add(name);
    EXPECT_THAT(groupNames(card.scan()),
        ElementsAre(ElementsAre("IMG_1.CR2", "IMG_1.JPG"),
            ElementsAre("IMG_10.CR2"),
            ElementsAre("img_1.xmp")));
}

TEST(ItemGroupsTest, NeverCrossesFolders)
{
    const TestCard card;
    card.add("100/a.cr2");
    card.add("101/a.jpg");
    card.add("a.xmp");
    EXPECT_THAT(groupNames(card.scan()),
        ElementsAre(ElementsAre("a.xmp"), ElementsAre("a.cr2"), ElementsAre("a.jpg")));
}

TEST(ItemGroupsTest, PutsASidecarBesideTheUnknownFormItNames)
{
    const TestCard card;
    for (const std::string name : {"a.zzz", "a.zzz.xmp", "my.trip.xmp", "my.jpg"})
        card.add(name);
    EXPECT_THAT(groupNames(card.scan()),
        ElementsAre(
            ElementsAre("a.zzz", "a.zzz.xmp"), ElementsAre("my.jpg"), ElementsAre("my.trip.xmp")));
}

TEST(ItemGroupsTest, GivesEachSpellingOfAnExtensionAGroup)
{
    const TestCard card;
    for (const std::string name : {"a.JPG", "a.jpg", "a.xmp", "b.%FF", "b.\xFF"})
        card.add(name);
    EXPECT_THAT(groupNames(card.scan()),
        ElementsAre(ElementsAre("a.JPG", "a.xmp"),
            ElementsAre("a.jpg"),
            ElementsAre("b.%FF"),
            ElementsAre("b.\xFF")));
}

TEST(ItemGroupsTest, ComparesStemsByteForByte)
{
    const TestCard card;
    card.add("u\xCC\x88.cr2"); // decomposed
    card.add("\xC3\xBC.jpg"); // composed
    EXPECT_EQ(groupItems(card.scan()).size(), 2U);
}

TEST(ItemGroupsTest, TellsStemAndExtensions)
{
    const TestCard card;
    card.add("a.cr2");
    card.add("a.cr2.xmp");
    card.add("a");
    const CardContents contents = card.scan();
    const ItemGroup group = groupItems(contents).at(0);
    EXPECT_EQ(groupStem(contents, group), "a");
    EXPECT_EQ(memberExtension(contents, group, 0), "cr2");
    EXPECT_EQ(memberExtension(contents, group, 1), "");
    EXPECT_EQ(memberExtension(contents, group, 2), "cr2.xmp");
}

TEST(ItemGroupsTest, HasNoGroupsOnAnEmptyCard)
{
    EXPECT_TRUE(groupItems(TestCard().scan()).empty());
}

TEST(ItemGroupsTest, PairsTheSamples)
{
    const std::string raw = tests::samplePath("raw");
    const std::string video = tests::samplePath("video");
    if (raw.empty() || video.empty()) {
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    }
    EXPECT_THAT(groupNames(scanCard(raw)),
        testing::IsSupersetOf({std::vector<std::string>{"CRW_0101.CRW", "CRW_0101.THM"},
            {"CRW_0112.CRW", "CRW_0112.THM"},
            {"P003914.KDC"}}));
    EXPECT_THAT(groupNames(scanCard(video)),
        testing::IsSupersetOf({std::vector<std::string>{"IMG_3589.HEIC", "IMG_3589.mov"},
            {"MVI_0121.AVI", "MVI_0121.THM"}}));
}

} // namespace
} // namespace mfx
