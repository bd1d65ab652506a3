#include "mfx/engine/dng/OriginalSizes.h"

#include "apps/mfx/engine/CardFixture.h"
#include "support/RecordedDng.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

TEST(OriginalSizesTest, AreThoseOfTheRecords)
{
    const tests::TestCard folder;
    folder.add("A.dng", test::recordedDng("A.CR2", "12345"));
    folder.add("B.dng", "without a record");
    OriginalSizes sizes;
    EXPECT_EQ(sizes.of(folder.path("A.dng")), 5U);
    EXPECT_EQ(sizes.of(folder.path("B.dng")), std::nullopt);
    EXPECT_EQ(sizes.of(folder.path("C.dng")), std::nullopt);
}

TEST(OriginalSizesTest, ReadEachDNGOnce)
{
    const tests::TestCard folder;
    folder.add("A.dng", test::recordedDng("A.CR2", "12345"));
    OriginalSizes sizes;
    EXPECT_EQ(sizes.of(folder.path("A.dng")), 5U);
    std::filesystem::remove(folder.path("A.dng"));
    EXPECT_EQ(sizes.of(folder.path("A.dng")), 5U);
}

} // namespace
} // namespace mfx
