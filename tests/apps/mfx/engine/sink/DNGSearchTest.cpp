#include "mfx/engine/sink/DNGSearch.h"

#include "apps/mfx/engine/CardFixture.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

TEST(DNGSearchTest, PutsTheExtensionInThePlaceOfTheRawFiles)
{
    const tests::TestCard folder;
    EXPECT_EQ(nextDNGPath(folder.path("IMG_1.CR2")), folder.path("IMG_1.dng"));
    EXPECT_EQ(nextDNGPath(folder.path("a.b.NEF")), folder.path("a.b.dng"));
    EXPECT_EQ(nextDNGPath(folder.path("plain")), folder.path("plain.dng"));
}

TEST(DNGSearchTest, CountsWhereTheNameIsTaken)
{
    const tests::TestCard folder;
    folder.add("IMG_1.dng");
    EXPECT_EQ(nextDNGPath(folder.path("IMG_1.CR2")), folder.path("IMG_1_1.dng"));
    std::filesystem::create_symlink("nowhere", folder.path("IMG_1_1.dng"));
    folder.addFolder("IMG_1_2.dng");
    EXPECT_EQ(nextDNGPath(folder.path("IMG_1.CR2")), folder.path("IMG_1_3.dng"));
}

TEST(DNGSearchTest, CutsNoDotOfAFolder)
{
    const tests::TestCard folder;
    EXPECT_EQ(nextDNGPath(folder.path("2024.05/plain")), folder.path("2024.05/plain.dng"));
}

} // namespace
} // namespace mfx
