#include "mfx/engine/saving/UnconvertedMarks.h"

#include "apps/mfx/engine/SavingFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace mfx {
namespace {

using tests::namesBelow;

class UnconvertedMarksTest : public testing::Test {
protected:
    void SetUp() override { folder.addFolder("work"); }

    tests::TestCard folder;
    UnconvertedMarks marks{folder.path(), folder.path("work")};
};

TEST_F(UnconvertedMarksTest, HasNoneWhereNothingWasMarked)
{
    EXPECT_THAT(marks.names(), IsEmpty());
    marks.remove("A.CR2");
    marks.removeAll();
    marks.leave();
    EXPECT_THAT(namesBelow(folder.path()), ElementsAre("work"));
}

TEST_F(UnconvertedMarksTest, KeepsEachUntilItIsRemoved)
{
    for (const char* const name : {"A.CR2", "B.NEF", "C.ARW"}) {
        folder.add(name);
        marks.add(name);
        marks.add(name);
    }
    EXPECT_THAT(marks.names(), ElementsAre("A.CR2", "B.NEF", "C.ARW"));
    marks.remove("B.NEF");
    EXPECT_THAT(marks.names(), ElementsAre("A.CR2", "C.ARW"));
    marks.leave();
    EXPECT_THAT(marks.names(), ElementsAre("A.CR2", "C.ARW")) << "some are left";
    marks.removeAll();
    marks.leave();
    EXPECT_THAT(namesBelow(folder.path("work")), IsEmpty());
}

TEST_F(UnconvertedMarksTest, DropsThoseWhoseRawFileIsGone)
{
    folder.add("A.CR2");
    marks.add("A.CR2");
    marks.add("B.NEF");
    EXPECT_THAT(marks.names(), ElementsAre("A.CR2"));
    EXPECT_THAT(namesBelow(folder.path("work")), ElementsAre("unconverted", "unconverted/A.CR2"));
}

TEST_F(UnconvertedMarksTest, RemovesNothingThatIsNoMark)
{
    folder.add("A.CR2");
    folder.add("work/unconverted/A.CR2", "bytes of somebody");
    folder.addFolder("work/unconverted/B.NEF");
    EXPECT_THAT(marks.names(), IsEmpty());
    marks.remove("A.CR2");
    marks.removeAll();
    marks.leave();
    EXPECT_THAT(namesBelow(folder.path("work")),
        ElementsAre("unconverted", "unconverted/A.CR2", "unconverted/B.NEF"));
}

} // namespace
} // namespace mfx
