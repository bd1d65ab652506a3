#include "mfx/engine/names/TargetName.h"

#include "apps/mfx/engine/CardFixture.h"
#include "platform/common/text/NameText.h"

#include <set>

#include <gmock/gmock.h>

namespace mfx {

namespace {

using testing::ElementsAre;
using tests::TestCard;

std::vector<std::string> names(const GroupTarget& target, std::uint64_t number = 0)
{
    std::vector<std::string> all;
    for (std::size_t member = 0; member < target.size(); ++member)
        all.push_back(target.fileName(member, number));
    return all;
}

// The names of the only group of a card.
GroupTarget targetOf(
    const TestCard& card, const NamingRules& rules = {}, const CaptureDate& date = {})
{
    const CardContents contents = card.scan();
    const std::vector<ItemGroup> groups = groupItems(contents);
    EXPECT_EQ(groups.size(), 1U);
    return groupTarget(contents, groups.at(0), date, rules, 12);
}

TEST(TargetNameTest, NumbersBehindTheStem)
{
    EXPECT_EQ(numberedStem("IMG", 0), "IMG");
    EXPECT_EQ(numberedStem("IMG", 1), "IMG-1");
    EXPECT_EQ(numberedStem("IMG-1", 12), "IMG-1-12");
    EXPECT_EQ(numberedStem("", 1), "-1");
}

TEST(TargetNameTest, MakesAStemShow)
{
    EXPECT_EQ(safeStem("IMG"), "IMG");
    EXPECT_EQ(safeStem(""), "_");
    EXPECT_EQ(safeStem("."), "_");
    EXPECT_EQ(safeStem(".."), "_.");
    EXPECT_EQ(safeStem(".hidden"), "_hidden");
    EXPECT_EQ(safeStem("a/b"), "a_b");
    EXPECT_EQ(safeStem(std::string("a\0b", 3)), "a_b");
    EXPECT_EQ(safeStem("a.b"), "a.b");
}

TEST(TargetNameTest, KeepsTheDevicesNamesWithoutAPattern)
{
    const TestCard card;
    card.add("a.cr2");
    card.add("a.JPG");
    card.add("a.cr2.xmp");
    const GroupTarget target = targetOf(card);
    EXPECT_EQ(target.subfolder(), "");
    EXPECT_THAT(names(target), ElementsAre("a.cr2", "a.JPG", "a.cr2.xmp"));
    EXPECT_THAT(names(target, 3), ElementsAre("a-3.cr2", "a-3.JPG", "a-3.cr2.xmp"));
}

TEST(TargetNameTest, GivesAGroupOneNewStemAndFolder)
{
    const TestCard card;
    card.add("a.cr2");
    card.add("a.JPG");
    NamingRules rules;
    rules.rename.emplace("{date:%Y%m%d}_{seq:4}_{ext}.{ext}");
    rules.subfolders.emplace("%Y/%m");
    const CaptureDate date{parseDateText("2021:03:26 21:19:07"), DateSource::kExifOriginal};
    const GroupTarget target = targetOf(card, rules, date);
    EXPECT_EQ(target.subfolder(), "2021/03");
    EXPECT_THAT(names(target), ElementsAre("20210326_0012_cr2.cr2", "20210326_0012_cr2.JPG"));
    const GroupTarget undated = targetOf(card, rules);
    EXPECT_EQ(undated.subfolder(), "undated");
    EXPECT_THAT(names(undated), ElementsAre("undated_0012_cr2.cr2", "undated_0012_cr2.JPG"));
}

TEST(TargetNameTest, WritesBytesThatAreNoTextAsDigits)
{
    const TestCard card;
    card.add("gr\xFC.j\xFF");
    EXPECT_THAT(names(targetOf(card)), ElementsAre("gr%FC.j%FF"));
}

TEST(TargetNameTest, LeavesComposedAndDecomposedLettersAsTheyAre)
{
    for (const std::string name : {"\xC3\xBC.jpg", "u\xCC\x88.jpg", "line\nfeed.jpg", "dot..jpg"}) {
        const TestCard card;
        card.add(name);
        EXPECT_THAT(names(targetOf(card)), ElementsAre(name));
    }
}

TEST(TargetNameTest, KeepsEveryNumberedNameWithin255Bytes)
{
    const std::string stem(251, 'x');
    const TestCard card;
    card.add(stem + ".jpg");
    const GroupTarget target = targetOf(card);
    EXPECT_THAT(names(target), ElementsAre(stem + ".jpg"));
    std::set<std::string> all;
    for (std::uint64_t number = 0; number <= 1200; ++number) {
        const std::string name = target.fileName(0, number);
        EXPECT_LE(name.size(), 255U);
        EXPECT_EQ(name.substr(name.size() - 4), ".jpg");
        all.insert(name);
    }
    EXPECT_EQ(all.size(), 1201U); // none is given twice
    EXPECT_EQ(target.fileName(0, 10), std::string(248, 'x') + "-10.jpg");
    EXPECT_EQ(target.fileName(0, UINT64_MAX).size(), 255U);
}

TEST(TargetNameTest, CutsAllMembersOfAGroupAlike)
{
    const std::string stem(247, 'x');
    const TestCard card;
    card.add(stem + ".cr2");
    card.add(stem + ".cr2.xmp");
    const GroupTarget target = targetOf(card);
    EXPECT_THAT(names(target), ElementsAre(stem + ".cr2", stem + ".cr2.xmp"));
    const std::string cut(245, 'x');
    EXPECT_THAT(names(target, 1), ElementsAre(cut + "-1.cr2", cut + "-1.cr2.xmp"));
}

TEST(TargetNameTest, CutsForTheLongestExtensionWhereverItStands)
{
    const GroupTarget target("", std::string(250, 'x'), {"jpeg", "mov"});
    const std::string cut(248, 'x');
    EXPECT_THAT(names(target, 1), ElementsAre(cut + "-1.jpeg", cut + "-1.mov"));
}

TEST(TargetNameTest, CutsNeitherLettersNorEscapedBytes)
{
    std::string umlauts;
    for (int i = 0; i < 125; ++i)
        umlauts += "\xC3\xBC";
    const GroupTarget letters("", umlauts, {"jpeg"}); // 250 bytes, and 5
    EXPECT_EQ(letters.fileName(0, 0).size(), 255U);
    EXPECT_EQ(letters.fileName(0, 1), umlauts.substr(0, 248) + "-1.jpeg");
    EXPECT_EQ(letters.fileName(0, 10), umlauts.substr(0, 246) + "-10.jpeg");
    const TestCard card;
    card.add(std::string(200, '\xFF') + ".jpg");
    const std::string name = targetOf(card).fileName(0, 0);
    EXPECT_LE(name.size(), 255U);
    EXPECT_EQ((name.size() - 4) % 3, 0U);
    EXPECT_TRUE(Pt::isUtf8(name));
}

TEST(TargetNameTest, TellsThatAPatternGivesNoFileName)
{
    const TestCard card;
    card.add("a");
    NamingRules rules;
    rules.rename.emplace("{ext}");
    EXPECT_THROW(targetOf(card, rules), PatternError);
}

} // namespace
} // namespace mfx
