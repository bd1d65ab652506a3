#include "mfx/engine/names/LastNumber.h"

#include "apps/mfx/engine/CardFixture.h"
#include "mfx/engine/names/NamePattern.h"

#include <gmock/gmock.h>

using testing::Optional;

namespace mfx {
namespace {

class LastNumberTest : public testing::Test {
protected:
    std::optional<std::uint64_t> last(bool looksBelow = false, bool stops = false) const
    {
        return lastNumberIn(
            folder.path(), NamePattern("P{seq:3}").numberMatcher(), looksBelow, [stops] {
                return stops;
            });
    }

    tests::TestCard folder;
};

TEST_F(LastNumberTest, IsNoneWhereNothingFits)
{
    EXPECT_FALSE(last());
    folder.add("Q007.JPG");
    folder.add("P7.JPG");
    EXPECT_FALSE(last());
    EXPECT_FALSE(
        lastNumberIn(folder.path("missing"), NamePattern("P{seq:3}").numberMatcher(), true, [] {
            return false;
        }));
}

TEST_F(LastNumberTest, IsTheGreatest)
{
    for (const char* name : {"P007.JPG", "P012.CR2", "P011-3.JPG", "P99999999999.JPG"})
        folder.add(name);
    EXPECT_THAT(last(), Optional(12U));
}

TEST_F(LastNumberTest, LooksBelowOnlyWhereItIsTold)
{
    folder.add("P001.JPG");
    folder.add("2026/05/P042.JPG");
    folder.add(".mfxdownload/1-1/P077.JPG");
    EXPECT_THAT(last(), Optional(1U));
    EXPECT_THAT(last(true), Optional(42U)) << "what is not saved yet is not there";
}

TEST_F(LastNumberTest, FollowsNoLinks)
{
    const tests::TestCard other;
    other.add("P042.JPG");
    std::filesystem::create_directory_symlink(other.path(), folder.path("link"));
    EXPECT_FALSE(last(true));
}

TEST_F(LastNumberTest, StopsWhenItIsTold)
{
    folder.add("P001.JPG");
    EXPECT_FALSE(last(true, true));
}

} // namespace
} // namespace mfx
