#include "mfx/engine/saving/NumberedCopies.h"

#include "apps/mfx/engine/SavingFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace mfx {
namespace {

using tests::namesBelow;

// One group on the card, saved as P and a number.
class NumberedCopiesTest : public tests::SavingFixture {
protected:
    NumberedCopiesTest() { rules.rename = NamePattern("P{seq:2}"); }

    void SetUp() override { folders.listNumbers(rules.rename->numberMatcher()); }

    // What the stager makes of it; what it would copy is staged under some name.
    std::unique_ptr<GroupWork> stage()
    {
        auto work = stageOne();
        EXPECT_FALSE(work->failed) << work->members[0].error;
        return work;
    }
    std::vector<std::string> found()
    {
        const auto work = stage();
        return work->alreadyPresent ? finalNames(*work) : std::vector<std::string>();
    }
};

TEST_F(NumberedCopiesTest, FindsAPhotoUnderAnotherNumber)
{
    card.add("A.JPG", "photo");
    target.add("P03.JPG", "other");
    target.add("P07.JPG", "photo");
    EXPECT_THAT(found(), ElementsAre("P07.JPG"));
    folders.leave();
    EXPECT_THAT(namesBelow(target.path()), ElementsAre("P03.JPG", "P07.JPG"));
}

TEST_F(NumberedCopiesTest, TakesTheLowestOfSeveral)
{
    card.add("A.JPG", "photo");
    for (const char* name : {"P100.JPG", "P07.JPG", "P12.JPG"})
        target.add(name, "photo");
    EXPECT_THAT(found(), ElementsAre("P07.JPG"));
}

TEST_F(NumberedCopiesTest, FindsAGroupWholeUnderOneStemOrNotAtAll)
{
    card.add("A.CR2", "raw");
    card.add("A.JPG", "photo");
    target.add("P01.CR2", "raw");
    target.add("P02.JPG", "photo");
    EXPECT_THAT(found(), IsEmpty());
    target.add("P03-1.CR2", "raw");
    target.add("P03-1.JPG", "photo");
    FinalFolders later{target.path(), places};
    later.listNumbers(rules.rename->numberMatcher());
    insertCard();
    GroupStager stager(plan(), later);
    const auto work = stager.take();
    EXPECT_TRUE(work->alreadyPresent);
    EXPECT_THAT(finalNames(*work), ElementsAre("P03-1.CR2", "P03-1.JPG"));
}

TEST_F(NumberedCopiesTest, LooksAtNoOtherNames)
{
    card.add("A.JPG", "photo");
    for (const char* name : {"A.JPG", "P1.JPG", "P01.jpeg", "P01.JPG.bak", "Q01.JPG"})
        target.add(name, "photo");
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(NumberedCopiesTest, LooksInTheFolderOfTheGroupAlone)
{
    card.add("A.JPG", "photo");
    target.add("2025/P01.JPG", "photo");
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(NumberedCopiesTest, ReadsNoSourceWhereNoSizeFits)
{
    card.add("A.CR2", "raw");
    card.add("A.JPG", "photo");
    target.add("P01.CR2", "raw"); // of that size, but without its twin
    target.add("P01.JPG", "a longer photo");
    insertCard();
    dryRun = true; // nothing is copied
    GroupStager stager(plan(), folders);
    const auto work = stager.take();
    for (const MemberWork& member : work->members)
        EXPECT_FALSE(member.digest) << member.source;
}

TEST_F(NumberedCopiesTest, ComparesTheBytes)
{
    card.add("A.JPG", "photo");
    target.add("P01.JPG", "phot0");
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(NumberedCopiesTest, TakesTheSourceItselfForNoCopy)
{
    card.add("P01.JPG", "photo");
    std::filesystem::create_hard_link(card.path("P01.JPG"), target.path("P01.JPG"));
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(NumberedCopiesTest, FindsFilesWithoutAnExtension)
{
    card.add("A", "photo");
    target.add("P04", "photo");
    EXPECT_THAT(found(), ElementsAre("P04"));
}

TEST_F(NumberedCopiesTest, HoldsDatesAndNamesAgainstTheGroupsOwn)
{
    rules.rename = NamePattern("{name}_{seq:2}");
    folders.listNumbers(rules.rename->numberMatcher());
    card.add("A.JPG", "photo");
    target.add("B_01.JPG", "photo");
    EXPECT_THAT(found(), IsEmpty());
}

} // namespace
} // namespace mfx
