#include "mfx/engine/saving/GroupWork.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

GroupWork pair()
{
    GroupWork work;
    for (const char* source : {"/card/IMG_1.CR2", "/card/IMG_1.JPG"}) {
        work.members.emplace_back();
        work.members.back().source = source;
    }
    return work;
}

TEST(GroupWorkTest, NamesTheCulpritToTheOthers)
{
    GroupWork work = pair();
    failGroup(work, 1, "it cannot be read");
    EXPECT_TRUE(work.failed);
    EXPECT_EQ(work.members[1].error, "it cannot be read");
    EXPECT_EQ(work.members[0].error,
        "not saved, because IMG_1.JPG belongs to it and failed (it cannot be read); --only can "
        "take it alone");
}

TEST(GroupWorkTest, GivesOneReasonToAllWhereNoMemberIsToBlame)
{
    GroupWork work = pair();
    failGroup(work, 2, "the folder is full");
    EXPECT_TRUE(work.failed);
    EXPECT_EQ(work.members[0].error, "the folder is full");
    EXPECT_EQ(work.members[1].error, "the folder is full");
}

} // namespace
} // namespace mfx
