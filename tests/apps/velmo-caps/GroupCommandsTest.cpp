#include "apps/velmo-caps/StoreCommand.h"

namespace test {
namespace {

using GroupCommandsTest = StoreCommand;

TEST_F(GroupCommandsTest, EntriesAreAddedOnceInLowerCaseAndKeepTheirOrder)
{
    done({"group-add", "NX/3/Tevoro-2.0"});
    done({"group-add", "cs/2/viewer-1.0"});
    done({"group-add", "nx/3/tevoro-2.0"});
    EXPECT_EQ(run({"groups"}).out, "nx/3/tevoro-2.0\ncs/2/viewer-1.0\n");
    const Json object = run({"groups", "--json"}).objects().at(1);
    EXPECT_EQ(object["group"], "cs");
    EXPECT_EQ(object["version"], "2");
    EXPECT_EQ(object["specifier"], "viewer-1.0");
    EXPECT_EQ(run({"list"}).out, "");
}

TEST_F(GroupCommandsTest, AnEntryIsRemovedAndThenItIsNotThere)
{
    done({"group-add", "nx/3/tevoro-2.0"});
    done({"group-remove", "NX/3/tevoro-2.0"});
    EXPECT_EQ(run({"groups"}).out, "");
    EXPECT_EQ(run({"group-remove", "nx/3/tevoro-2.0"}).code, 3);
}

TEST_F(GroupCommandsTest, RefusesWhatIsNoEntry)
{
    for (const char* const entry : {"nx",
             "nx/3",
             "/3/a-1",
             "nx//a-1",
             "nx/3/",
             "nx/3/a/b",
             "n x/3/a",
             "nx/3/a-",
             "nx/3/{a}",
             "nx/3/a*"})
        EXPECT_EQ(run({"group-add", entry}).code, 2) << entry;
}

TEST_F(GroupCommandsTest, TheUsersEntriesFollowTheMachinesAndCoverNone)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone changes the machine's store";
    done({"group-add", "nx/3/b-1.0"});
    done({"group-add", "nx/3/a-1.0", "--machine"});
    EXPECT_EQ(run({"groups"}).out, "nx/3/a-1.0\nnx/3/b-1.0\n");
    done({"group-remove", "nx/3/a-1.0"});
    EXPECT_EQ(run({"groups"}).out, "nx/3/b-1.0\n");
    EXPECT_EQ(run({"groups", "--machine"}).out, "nx/3/a-1.0\n");
}

} // namespace
} // namespace test
