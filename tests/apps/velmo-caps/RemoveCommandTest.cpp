#include "apps/velmo-caps/StoreCommand.h"

namespace test {
namespace {

using RemoveCommandTest = StoreCommand;

TEST_F(RemoveCommandTest, TakesAnApplicationAwayAndThenItIsNotThere)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    done({"add", "b-1.0", "--path", "/bin/true"});
    done({"remove", "A-1.0"});
    EXPECT_EQ(list(), "b-1.0\t/bin/true\n");
    EXPECT_EQ(run({"remove", "a-1.0"}).code, 3);
    EXPECT_EQ(run({"remove", "a/b"}).code, 2);
}

TEST_F(RemoveCommandTest, WithoutAStoreThereIsNothingToRemoveAndNoneIsMade)
{
    EXPECT_EQ(run({"remove", "a-1.0"}).code, 3);
    EXPECT_EQ(run({"remove", "a-1.0", "--store", folder.path("x.db")}).code, 3);
    EXPECT_FALSE(std::filesystem::exists(folder.path("user")));
    EXPECT_FALSE(std::filesystem::exists(folder.path("x.db")));
}

// As a script has it whose variable is not set.
TEST_F(RemoveCommandTest, AStoreWithoutANameIsWrongUsageAndNotTheUsersOwn)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    for (const std::vector<std::string>& arguments :
        std::vector<std::vector<std::string>>{{"remove", "a-1.0", "--store", ""},
            {"remove", "a-1.0", "-f", ""},
            {"remove", "--store", "", "a-1.0"},
            {"remove", "a-1.0", "--store="},
            {"list", "--store", ""}}) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, testing::HasSubstr("--store"));
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(list(), "a-1.0\t/bin/true\n");
}

TEST_F(RemoveCommandTest, HidesWhatTheMachineHasFromThisUser)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone changes the machine's store";
    done({"add", "a-1.0", "--path", "/bin/true", "--machine"});
    done({"remove", "a-1.0"});
    EXPECT_EQ(list(), "");
    EXPECT_EQ(run({"list", "--machine"}).out, "a-1.0\t/bin/true\n");
    done({"add", "a-1.0", "--path", "/bin/false"});
    EXPECT_EQ(list(), "a-1.0\t/bin/false\n");
    done({"remove", "a-1.0", "--machine"});
    EXPECT_EQ(list(), "a-1.0\t/bin/false\n");
}

TEST_F(RemoveCommandTest, WhatTheMachineAddsToAHiddenEntryIsHiddenToo)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone changes the machine's store";
    done({"add", "a-1.0", "--path", "/bin/true", "--machine"});
    done({"remove", "a-1.0"});
    done({"add", "a-1.0", "--path", "/bin/false", "--set", "DisplayName=A", "--machine"});
    EXPECT_EQ(list(), "");
    EXPECT_EQ(run({"remove", "a-1.0"}).code, 3);
    done({"add", "a-1.0", "--path", "/bin/true"});
    EXPECT_EQ(run({"list", "--json"}).objects().at(0)["values"]["DisplayName"], "A");
}

TEST_F(RemoveCommandTest, WhatWasHiddenComesBackWholeWhenItIsAddedAgain)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone changes the machine's store";
    done({"add", "a-1.0", "--path", "/bin/true", "--set", "DisplayName=A", "--machine"});
    const Json before = run({"list", "--json"}).objects().at(0)["values"];
    done({"remove", "a-1.0"});
    done({"add", "a-1.0", "--path", "/bin/true"});
    EXPECT_EQ(run({"list", "--json"}).objects().at(0)["values"], before);
}

TEST_F(RemoveCommandTest, TakesAPayloadAwayFromAllItsDomains)
{
    const std::string document = "<Configuration escaped=\"true\"><Payload id=\"{A}\">"
                                 "<Data key=\"QMTConfigPath\">/opt/a.xml</Data>"
                                 "<Data key=\"TevoroTalkCode\">/velmo/tevorotalk/a-1.0</Data>"
                                 "</Payload></Configuration>";
    EXPECT_EQ(run({"import", "-"}, document).code, 0);
    done({"remove", "{A}"});
    EXPECT_EQ(run({"remove", "{A}"}).code, 3);
}

} // namespace
} // namespace test
