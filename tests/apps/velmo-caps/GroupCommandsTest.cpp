#include "apps/velmo-caps/StoreCommand.h"
#include "velmo_caps/StoreWriter.h"

namespace test {
namespace {

class GroupCommandsTest : public StoreCommand {
protected:
    // As a program may write it that checks nothing.
    void storeOfOthers(const std::string& entry) const
    {
        velmo_caps::StoreWriter writer(
            {velmo_caps::StoreKind::kNamed, userFile()}, [](const std::string&) {});
        velmo_caps::StoreWriter::Change change(writer);
        change.set({velmo_caps::Face::kPcd, 1, "/velmo/tevorotalk/groups"},
            "Group",
            "/velmo/tevorotalk/groups/" + entry);
        change.commit();
    }
};

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
    for (const char* const entry :
        {"nx", "nx/3", "/3/a-1", "nx//a-1", "nx/3/", "n x/3/a", "nx/3/a-", "nx/3/{a}", "nx/3/a*"})
        EXPECT_EQ(run({"group-add", entry}).code, 2) << entry;
}

TEST_F(GroupCommandsTest, AnEntryIsCutAtItsFirstAndItsLastSlash)
{
    done({"group-add", "A/b/c/d-1.0"});
    const Json object = run({"groups", "--json"}).objects().at(0);
    EXPECT_EQ(object["group"], "a");
    EXPECT_EQ(object["version"], "b/c");
    EXPECT_EQ(object["specifier"], "d-1.0");
    const std::string document = run({"export", "groups"}).out;
    done({"group-remove", "a/B/c/d-1.0"});
    EXPECT_EQ(run({"groups"}).out, "");
    EXPECT_EQ(run({"import", "-"}, document).code, 0);
    EXPECT_EQ(run({"groups"}).out, "a/b/c/d-1.0\n");
}

TEST_F(GroupCommandsTest, AnEntryThatIsNoneIsRemovedAsItStands)
{
    done({"group-add", "nx/3/a-1.0"});
    storeOfOthers("No entry");
    EXPECT_EQ(run({"groups"}).out, "nx/3/a-1.0\nno entry\n");
    EXPECT_EQ(run({"groups", "--json"}).objects().at(1)["group"], "no entry");
    EXPECT_EQ(run({"group-remove", "other"}).code, 2);
    done({"group-remove", "No entry"});
    EXPECT_EQ(run({"groups"}).out, "nx/3/a-1.0\n");
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
