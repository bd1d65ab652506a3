#include "apps/velmo-caps/StoreCommand.h"

#include <chrono>

namespace test {
namespace {

using testing::HasSubstr;

using ListCommandTest = StoreCommand;

TEST_F(ListCommandTest, WithoutAStoreTheListIsEmpty)
{
    done({"list"});
    done({"list", "--json"});
    done({"groups"});
    EXPECT_EQ(run({"list", "--store", folder.path("none.db")}).code, 3);
}

TEST_F(ListCommandTest, ComesInTheOrderOfAddition)
{
    for (const char* const name : {"c-1.0", "a-1.0", "b-1.0", "a-1.0"})
        done({"add", name, "--path", "/bin/true"});
    EXPECT_EQ(list(), "c-1.0\t/bin/true\na-1.0\t/bin/true\nb-1.0\t/bin/true\n");
}

TEST_F(ListCommandTest, PrintsOneObjectALineWithEveryValueWhole)
{
    const std::string odd = "a\"<>&\n\t\xC3\xA4";
    done({"add", "a-1.0", "--path", "/bin/true", "--set", "DisplayName=" + odd});
    const Json object = run({"list", "--json"}).objects().at(0);
    EXPECT_EQ(object["specifier"], "a-1.0");
    EXPECT_EQ(object["path"], "/bin/true");
    EXPECT_EQ(object["store"], "user");
    EXPECT_EQ(object["values"]["DisplayName"], odd);
}

TEST_F(ListCommandTest, CallsAnApplicationAsTheBusDoesAndSaysWhereItsEntryIsCalledOtherwise)
{
    const std::string document =
        "<Configuration escaped=\"true\"><Other velmoCode=\"/velmo/tevorotalk/a-1.0\">"
        "<Data key=\"Specifier\">B-2.0</Data><Data key=\"Path\">/bin/true</Data>"
        "</Other></Configuration>";
    EXPECT_EQ(run({"import", "-"}, document).code, 0);
    const CommandResult listed = run({"list"});
    EXPECT_EQ(listed.code, 0);
    EXPECT_EQ(listed.out, "b-2.0\t/bin/true\n");
    EXPECT_THAT(listed.err, HasSubstr("the entry 'a-1.0' says that it is 'b-2.0'"));
    const Json object = run({"list", "--json"}).objects().at(0);
    EXPECT_EQ(object["specifier"], "b-2.0");
    EXPECT_EQ(object["entry"], "a-1.0");
    EXPECT_THAT(run({"export", "B-2.0"}).out, HasSubstr("/velmo/tevorotalk/a-1.0"));
    EXPECT_THAT(run({"export", "a-1.0"}).out, HasSubstr("/velmo/tevorotalk/a-1.0"))
        << "as no other is called so";
    const CommandResult added = run({"add", "b-2.0", "--path", "/bin/false"});
    EXPECT_EQ(added.code, 0);
    EXPECT_THAT(added.err, HasSubstr("the entry 'a-1.0' says that it is 'b-2.0', too"));
    done({"remove", "b-2.0"});
    EXPECT_EQ(list(), "") << "the bus knows nobody of that name any more";
}

TEST_F(ListCommandTest, AFileOfOnesOwnStandsAlone)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    const std::string own = folder.path("own.db");
    done({"add", "b-1.0", "--path", "/bin/true", "--store", own});
    EXPECT_EQ(run({"list", "--store", own}).out, "b-1.0\t/bin/true\n");
    EXPECT_EQ(list(), "a-1.0\t/bin/true\n");
    EXPECT_EQ(run({"list", "--store", own, "--machine"}).code, 2);
}

TEST_F(ListCommandTest, SaysWhatItCouldNotReadAndPrintsTheRest)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone changes the machine's store";
    done({"add", "m-1.0", "--path", "/bin/true", "--machine"});
    done({"add", "a-1.0", "--path", "/bin/true"});
    ASSERT_EQ(::chmod(userFile().c_str(), 0622), 0);
    const CommandResult result = run({"list"});
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(result.out, "m-1.0\t/bin/true\n");
    EXPECT_THAT(result.err, HasSubstr(userFile()));
}

TEST_F(ListCommandTest, SaysThatItsOutputCouldNotBeWritten)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    PeerProcess shell({"/bin/sh", "-c", VELMO_CAPS " list >/dev/full"});
    EXPECT_EQ(shell.finish(), 4);
}

TEST_F(ListCommandTest, ExplainsItselfAndItsCommands)
{
    EXPECT_THAT(run({"--help"}).out, HasSubstr("group-remove"));
    EXPECT_THAT(run({"--version"}).out, HasSubstr("velmo-caps "));
    for (const std::vector<std::string>& arguments :
        std::vector<std::vector<std::string>>{{}, {"frobnicate"}, {"list", "x"}, {"import"}})
        EXPECT_EQ(run(arguments).code, 2);
}

} // namespace
} // namespace test
