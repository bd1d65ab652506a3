#include "mfx/engine/saving/CopyIdentity.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

Pt::FileStatus file(std::uint64_t device, std::uint64_t inode, std::int64_t changed)
{
    Pt::FileStatus status;
    status.device = device;
    status.inode = inode;
    status.size = 5;
    status.modified = 1000;
    status.changed = changed;
    return status;
}

const Pt::FileStatus kOriginal = file(1, 7, 2000);

TEST(CopyIdentityTest, BelievesNumbersOfFileSystemsThatKeepTheirOwnFiles)
{
    EXPECT_TRUE(isToldApart(file(2, 8, 2000), kOriginal, true));
    EXPECT_TRUE(isToldApart(file(2, 7, 3000), kOriginal, true));
    EXPECT_TRUE(
        isToldApart(file(1, 8, 2000), kOriginal, true)); // FAT: the times are the copy's too
    EXPECT_FALSE(isToldApart(kOriginal, kOriginal, true));
}

TEST(CopyIdentityTest, TakesOneImageThatIsMountedTwiceForOne)
{
    EXPECT_FALSE(isToldApart(file(2, 7, 2000), kOriginal, true));
}

TEST(CopyIdentityTest, GoesByTheLastChangeThroughPoolsAndOverlays)
{
    EXPECT_FALSE(isToldApart(file(2, 8, 2000), kOriginal, false));
    EXPECT_FALSE(isToldApart(file(1, 8, 2000), kOriginal, false));
    EXPECT_FALSE(isToldApart(file(1, 7, 3000), kOriginal, false));
    EXPECT_TRUE(isToldApart(file(2, 8, 3000), kOriginal, false));
}

TEST(CopyIdentityTest, TellsNothingApartWhereTimesAreUnknown)
{
    EXPECT_FALSE(isToldApart(file(2, 8, 0), kOriginal, false));
    EXPECT_FALSE(isToldApart(file(2, 8, 3000), file(1, 7, 0), false));
}

} // namespace
} // namespace mfx
